#include "reading/InputFile.h"

#include "Trouble.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <limits>
#include <string_view>

namespace QzLogTool
{
    namespace
    {
        FileStatus Translate(struct stat const& status)
        {
            FileStatus result;
            result.mExists = true;
            result.mIsFolder = S_ISDIR(status.st_mode);
            result.mIsRegular = S_ISREG(status.st_mode);
            result.mIdentity = {status.st_dev, status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec,
                static_cast<std::uint64_t>(status.st_size)};
            return result;
        }

        int Open(std::string const& path)
        {
            if (path == "-")
                return STDIN_FILENO;
            int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
            if (descriptor < 0)
                throw MakeSystemTrouble(path, errno);
            return descriptor;
        }

        InputFile::WriterPause::State PauseWriters(int descriptor)
        {
            using State = InputFile::WriterPause::State;
            // Not waited for in the system: nobody could interrupt that.
            constexpr timespec kNap = {0, 100'000};
            constexpr int kNaps = 5'000;
            for (int nap = 0; nap < kNaps; ++nap)
            {
                if (flock(descriptor, LOCK_SH | LOCK_NB) == 0)
                    return State::Held;
                if (errno != EWOULDBLOCK && errno != EINTR)
                    return State::Impossible;
                nanosleep(&kNap, nullptr);
            }
            return State::Busy;
        }
    }

    FileStatus GetFileStatus(std::string const& path)
    {
        struct stat status;
        if (stat(path.c_str(), &status) == 0)
            return Translate(status);
        if (errno == ENOENT || errno == ENOTDIR)
            return FileStatus();
        throw MakeSystemTrouble(path, errno);
    }

    void AllowManyFiles()
    {
        rlimit limit;
        if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
            return;
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }

    InputFile::InputFile(std::string path) : mPath(std::move(path)), mDescriptor(Open(mPath))
    {
        char beginning[Decompressor::kGlance];
        ssize_t const count = pread(mDescriptor, beginning, sizeof beginning, 0);
        std::string_view const text(beginning, count > 0 ? static_cast<std::size_t>(count) : 0);
        if (Decompressor::IsCompressed(text))
            mCompressedBeginning = text;
    }

    InputFile::~InputFile()
    {
        if (mDescriptor != STDIN_FILENO)
            close(mDescriptor);
    }

    FileStatus InputFile::GetStatus() const
    {
        struct stat status;
        if (fstat(mDescriptor, &status) != 0)
            throw MakeSystemTrouble(mPath, errno);
        return Translate(status);
    }

    std::uint64_t InputFile::GetLength() const
    {
        return !IsCompressed() ? GetStatus().mIdentity.mSize : std::numeric_limits<std::uint64_t>::max();
    }

    bool InputFile::IsReady() const
    {
        pollfd waited{mDescriptor, POLLIN, 0};
        return poll(&waited, 1, 0) != 0;
    }

    std::size_t InputFile::Read(char* buffer, std::size_t size)
    {
        if (IsCompressed())
        {
            std::size_t const count = ReadPlainAt(mPosition, buffer, size);
            mPosition += count;
            return count;
        }
        for (;;)
        {
            ssize_t const count = read(mDescriptor, buffer, size);
            if (count >= 0)
                return static_cast<std::size_t>(count);
            if (errno != EINTR)
                throw MakeSystemTrouble(mPath, errno);
        }
    }

    std::string InputFile::ReadAt(std::uint64_t offset, std::size_t size) const
    {
        std::string text(size, '\0');
        text.resize(ReadAt(offset, text.data(), size));
        return text;
    }

    std::size_t InputFile::ReadAt(std::uint64_t offset, char* buffer, std::size_t size) const
    {
        if (!IsCompressed())
            return ReadStoredAt(offset, buffer, size);
        std::size_t length = 0;
        while (std::size_t const count = ReadPlainAt(offset + length, buffer + length, size - length))
            length += count;
        return length;
    }

    /// Of a compressed file; fewer bytes than asked for do not mean the end, 0 does.
    std::size_t InputFile::ReadPlainAt(std::uint64_t offset, char* buffer, std::size_t size) const
    {
        if (size == 0)
            return 0;
        try
        {
            if (!mpDecompressor || offset < mPlainOffset)
            {
                auto const readMore = [this](char* to, std::size_t room)
                {
                    std::size_t const count = ReadStoredAt(mStoredOffset, to, room);
                    mStoredOffset += count;
                    return count;
                };
                mStoredOffset = mPlainOffset = 0;
                mpDecompressor = Decompressor::Make(mCompressedBeginning, readMore);
            }
            while (mPlainOffset < offset)
            {
                char passed[4096];
                std::size_t const room =
                    static_cast<std::size_t>(std::min<std::uint64_t>(offset - mPlainOffset, sizeof passed));
                std::size_t const count = mpDecompressor->Read(passed, room);
                if (count == 0)
                    return 0;
                mPlainOffset += count;
            }
            std::size_t const count = mpDecompressor->Read(buffer, size);
            mPlainOffset += count;
            return count;
        }
        catch (Trouble const& trouble)
        {
            throw Trouble(mPath + ": " + trouble.what());
        }
    }

    std::size_t InputFile::ReadStoredAt(std::uint64_t offset, char* buffer, std::size_t size) const
    {
        std::size_t length = 0;
        while (length < size)
        {
            ssize_t const count =
                pread(mDescriptor, buffer + length, size - length, static_cast<off_t>(offset + length));
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                throw MakeSystemTrouble(mPath, errno);
            if (count == 0)
                break;
            length += static_cast<std::size_t>(count);
        }
        return length;
    }

    void InputFile::MoveTo(std::uint64_t offset)
    {
        mPosition = offset;
        if (!IsCompressed() && lseek(mDescriptor, static_cast<off_t>(offset), SEEK_SET) < 0)
            throw MakeSystemTrouble(mPath, errno);
    }

    InputFile::WriterPause::WriterPause(InputFile const& file)
        : mDescriptor(file.mDescriptor), mState(PauseWriters(mDescriptor))
    {
    }

    InputFile::WriterPause::~WriterPause()
    {
        flock(mDescriptor, LOCK_UN);
    }
}
