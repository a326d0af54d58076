#include "filesystem/HandleFile.h"

#include "filesystem/Directories.h"
#include "filesystem/Failures.h"
#include "filesystem/FileChanges.h"
#include "filesystem/stdio/FileDescriptors.h"
#include "os/Cancellation.h"
#include "os/FilesByPath.h"
#include "os/Fork.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace QzFileSystem
{
    namespace
    {
        constexpr std::uint64_t kPieceSize = 0x100000;

        constexpr char const* kWriteFailure = "Failed to write %1 bytes to file '%2'.";
        constexpr char const* kReadFailure = "Failed to read %1 bytes from file '%2'.";

        unsigned long ToNumber(std::uint64_t count)
        {
            return count;
        }

        /// How many bytes of a block the line at its start has: its LF belongs to it, a zero byte does not.
        std::size_t MeasureLine(unsigned char const* data, std::size_t size)
        {
            if (void const* const lineFeed = std::memchr(data, '\n', size))
                return static_cast<std::size_t>(static_cast<unsigned char const*>(lineFeed) - data) + 1;
            if (void const* const zero = std::memchr(data, 0, size))
                return static_cast<std::size_t>(static_cast<unsigned char const*>(zero) - data);
            return size;
        }
    }

    HandleFile::HandleFile(
        unsigned short const* path, CloseDisposition disposition, QzOs::Access access, char const* ownerName)
        : mDisposition(disposition),
          mPath(path),
          mAccess(access),
          mForkGeneration(QzOs::GetForkGeneration()),
          mOwnerName(ownerName)
    {
        QzOs::Error const error =
            QzOs::OpenFile(path, access, QzOs::Creation::OpenAlways, QzOs::Sharing::ReadWriteDelete, mHandle);
        if (error != 0)
            ThrowOpenFailure(error);
    }

    HandleFile::~HandleFile()
    {
        if (mHandle == QzOs::kNoFile)
            return;
        QzOs::NoCancellation const noCancellation;
        // A forked child that ends must not empty or delete a file that its parent is at work on.
        bool const isOwn = mForkGeneration == QzOs::GetForkGeneration();
        if (isOwn && (mDisposition == EmptyOnClose || mDisposition == DeleteOnClose))
            QzOs::SetFileSize(mHandle, 0);
        QzOs::CloseFile(mHandle);
        if (isOwn && mDisposition == DeleteOnClose)
            DeleteFile(mPath.c_str(), nullptr);
    }

    bool HandleFile::IsSameFile(QzBase::Message* err) const
    {
        QzOs::FileIdentity own;
        QzOs::Error const error = QzOs::GetFileIdentity(mHandle, own);
        if (error != 0)
        {
            if (err)
                Report(err, MakeAttributesFailure(error, GetPathToReport().c_str()));
            return false;
        }
        // A path that cannot be asked about leads to no file, which simply is another one.
        QzOs::FileIdentity atPath;
        return QzOs::GetFileIdentity(mPath.c_str(), atPath) == 0 && atPath == own;
    }

    bool HandleFile::IsAtPath()
    {
        QzOs::FileIdentity identity;
        if (!mIdentity && QzOs::GetFileIdentity(mHandle, identity) == 0)
            mIdentity = identity;
        return mIdentity && QzOs::GetFileIdentity(mPath.c_str(), identity) == 0 && identity == *mIdentity;
    }

    bool HandleFile::IsReplaced() const
    {
        QzOs::FileIdentity own{};
        QzOs::FileIdentity found{};
        QzOs::FileKind kind;
        return QzOs::GetFileIdentity(mHandle, own) == 0 && QzOs::FindFile(mPath.c_str(), kind, found) == 0 &&
               (kind == QzOs::FileKind::None || found != own);
    }

    void HandleFile::RefuseSpecialFile() const
    {
        if (!QzOs::IsPlainFile(mHandle))
            throw MakeSpecialFileFailure(mPath.c_str());
    }

    std::int64_t HandleFile::GetSize() const
    {
        std::int64_t size = 0;
        QzOs::Error const error = QzOs::GetFileSize(mHandle, size);
        if (error != 0)
            throw MakeFailure(error, "Failed to get size of file '%1'.", GetPathToReport().c_str());
        return size;
    }

    std::int64_t HandleFile::GetPosition() const
    {
        std::int64_t position = 0;
        QzOs::Error const error = QzOs::SeekFile(mHandle, 0, QzOs::Origin::Position, position);
        if (error != 0)
            throw MakeFailure(error, "Failed to get current position of file '%1'.", GetPathToReport().c_str());
        return position;
    }

    std::int64_t HandleFile::Seek(std::int64_t offset, QzOs::Origin origin) const
    {
        std::int64_t position = 0;
        QzOs::Error const error = QzOs::SeekFile(mHandle, offset, origin, position);
        if (error != 0)
            throw MakeFailure(error, "Failed to set current position of file '%1'.", GetPathToReport().c_str());
        return position;
    }

    void HandleFile::Read(void* buffer, std::uint64_t count) const
    {
        unsigned char* data = static_cast<unsigned char*>(buffer);
        while (count != 0)
        {
            std::uint64_t const piece = std::min(count, kPieceSize);
            std::uint64_t done = 0;
            QzOs::Error const error = QzOs::ReadFile(mHandle, data, piece, done);
            if (error != 0)
                throw MakeFailure(error, kReadFailure, ToNumber(piece), GetPathToReport().c_str());
            if (done < piece)
                throw MakeShortFailure(kReadFailure, ToNumber(piece - done), GetPathToReport().c_str());
            data += piece;
            count -= piece;
        }
    }

    std::uint32_t HandleFile::ReadUInt32() const
    {
        unsigned char bytes[4];
        Read(bytes, sizeof(bytes));
        std::uint32_t value = 0;
        for (int i = 3; i >= 0; --i)
            value = value << 8 | bytes[i];
        return value;
    }

    void HandleFile::ReadBinary(QzDataType::Binary& binary, std::uint64_t maximum) const
    {
        binary.Reset();
        if (maximum != 0 && maximum < binary.GetSize())
            binary.Shorten(binary.GetSize() - maximum);
        std::uint64_t const asked = binary.GetSize();
        std::uint64_t done = 0;
        QzOs::Error const error = QzOs::ReadFile(mHandle, binary.GetData(), asked, done);
        if (error != 0)
            throw MakeFailure(error, kReadFailure, ToNumber(asked), GetPathToReport().c_str());
        binary.Shorten(asked - done);
    }

    void HandleFile::ReadLine(QzDataType::Binary& binary) const
    {
        ReadBinary(binary, 0);
        if (binary.GetSize() == 0)
            return;
        std::size_t const behind = binary.GetSize() - MeasureLine(binary.GetData(), binary.GetSize());
        if (behind == 0)
            return;
        Seek(-static_cast<std::int64_t>(behind), QzOs::Origin::Position);
        binary.Shorten(behind);
    }

    void HandleFile::Write(void const* buffer, std::uint64_t count) const
    {
        unsigned char const* data = static_cast<unsigned char const*>(buffer);
        while (count != 0)
        {
            std::uint64_t const piece = std::min(count, kPieceSize);
            std::uint64_t done = 0;
            QzOs::Error const error = QzOs::WriteFile(mHandle, data, piece, done);
            CheckWrite(error, piece, done);
            data += piece;
            count -= piece;
        }
    }

    void HandleFile::CheckWrite(QzOs::Error error, std::uint64_t asked, std::uint64_t done) const
    {
        if (error != 0)
            throw MakeFailure(error, kWriteFailure, ToNumber(asked), GetPathToReport().c_str());
        if (done < asked)
            throw MakeShortFailure(kWriteFailure, ToNumber(asked - done), GetPathToReport().c_str());
    }

    void HandleFile::WriteText(char const* text, std::uint64_t count) const
    {
        Write(text, count != 0 ? count : std::strlen(text));
    }

    void HandleFile::WriteTexts(std::string_view first, std::string_view second) const
    {
        std::string_view const beginning = second.substr(0, kPieceSize - first.size());
        std::uint64_t done = 0;
        QzOs::Error const error = QzOs::WriteFile(mHandle, first, beginning, done);
        CheckWrite(error, first.size() + beginning.size(), done);
        second.remove_prefix(beginning.size());
        Write(second.data(), second.size());
    }

    void HandleFile::WriteUInt32(std::uint32_t value) const
    {
        unsigned char bytes[4];
        for (unsigned char& byte : bytes)
        {
            byte = static_cast<unsigned char>(value & 0xFF);
            value >>= 8;
        }
        Write(bytes, sizeof(bytes));
    }

    void HandleFile::Flush() const
    {
        QzOs::Error const error = QzOs::FlushFile(mHandle);
        if (error != 0)
            throw MakeFailure(error, "Failed to flush file '%1'.", GetPathToReport().c_str());
    }

    void HandleFile::Truncate() const
    {
        std::int64_t position = 0;
        QzOs::Error error = QzOs::SeekFile(mHandle, 0, QzOs::Origin::Position, position);
        if (error == 0)
            error = QzOs::SetFileSize(mHandle, position);
        if (error != 0)
            throw MakeFailure(error, "Failed to truncate file '%1'.", GetPathToReport().c_str());
    }

    void HandleFile::Close()
    {
        QzOs::Error const error = QzOs::CloseFile(std::exchange(mHandle, QzOs::kNoFile));
        if (error != 0)
            throw MakeFailure(error, "Failed to close handle of file '%1'.", GetPathToReport().c_str());
    }

    bool HandleFile::Lock(bool exclusive, QzOs::LockWait wait) const
    {
        QzOs::Error const error = QzOs::LockFile(mHandle, exclusive, wait);
        if (error == QzOs::kLockTaken)
            return false;
        if (error != 0)
            throw MakeFailure(error, "Failed to lock file '%1'.", GetPathToReport().c_str());
        return true;
    }

    void HandleFile::Unlock() noexcept
    {
        if (mHandle == QzOs::kNoFile || QzOs::UnlockFile(mHandle) == 0)
            return;
        // Kept until the next message, the lock would hold up all others. It belongs to what is open, and goes with it.
        QzOs::NoCancellation const noCancellation;
        QzOs::FileHandle own = QzOs::kNoFile;
        QzOs::OpenAgain(mHandle, mPath.c_str(), mAccess, own);
        QzOs::CloseFile(std::exchange(mHandle, own));
    }

    void HandleFile::ReopenAfterFork()
    {
        std::uint32_t const generation = QzOs::GetForkGeneration();
        if (mForkGeneration == generation || mHandle == QzOs::kNoFile)
            return;
        QzOs::FileHandle own = QzOs::kNoFile;
        QzOs::Error const error = QzOs::OpenAgain(mHandle, mPath.c_str(), mAccess, own);
        if (error != 0)
            ThrowOpenFailure(error);
        // The parent's open file, and the lock on it, live on in the parent.
        QzOs::CloseFile(std::exchange(mHandle, own));
        mForkGeneration = generation;
    }

    int HandleFile::OpenDescriptorOfCopy(unsigned short const* path) const
    {
        QzOs::FileHandle copy = QzOs::kNoFile;
        QzOs::Error const error = QzOs::ReplaceFile(path, mHandle, copy);
        if (error != 0)
            File::ThrowOpenFailure(error, path);
        return QzOs::ToDescriptor(copy);
    }

    void HandleFile::OffloadCopy(int descriptor, std::int64_t smallestSize) const
    {
        std::int64_t size = 0;
        if (QzOs::GetFileSize(mHandle, size) == 0 && size >= smallestSize)
            QzOs::OffloadCopy(mHandle, QzOs::FromDescriptor(descriptor));
    }

    void HandleFile::ThrowOpenFailure(QzOs::Error error) const
    {
        ThrowCallFailure(
            error, "QzFileSystem::", mOwnerName, "::", mOwnerName, ": ::CreateFileW failed for '", mPath.c_str(), "'.");
    }

    /// The absolute path, as far as it can be determined.
    QzBase::ReturnWString HandleFile::GetPathToReport() const
    {
        try
        {
            return GetAbsolutePath(mPath.c_str());
        }
        catch (QzBase::Message&)
        {
            // Without a current directory the failure at hand is still the one to report.
            return mPath.c_str();
        }
    }
}
