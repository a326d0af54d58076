#include "filesystem/stdio/FileDescriptors.h"

#include "filesystem/Failures.h"
#include "filesystem/stdio/FileGuards.h"
#include "os/Files.h"

#include <iterator>
#include <memory>

namespace QzFileSystem::File
{
    namespace
    {
        struct OpenRule
        {
            QzOs::Access mAccess;
            QzOs::Creation mCreation;
        };

        /// By OpenMode.
        constexpr OpenRule kOpenRules[] = {
            {QzOs::Access::Read, QzOs::Creation::OpenExisting},
            {QzOs::Access::Write, QzOs::Creation::CreateAlways},
            {QzOs::Access::Write, QzOs::Creation::OpenAlways},
            {QzOs::Access::ReadWrite, QzOs::Creation::OpenExisting},
            {QzOs::Access::ReadWrite, QzOs::Creation::CreateAlways},
            {QzOs::Access::ReadWrite, QzOs::Creation::OpenAlways},
            {QzOs::Access::Write, QzOs::Creation::CreateAlways},
        };

        QzOs::Sharing ToSharing(OpenMode mode, ShareMode share)
        {
            switch (share)
            {
            case kShareDefault:
                return mode == kOpenRead ? QzOs::Sharing::ReadWrite : QzOs::Sharing::Read;
            case kShareRead:
                return QzOs::Sharing::Read;
            case kShareReadWrite:
                return QzOs::Sharing::ReadWrite;
            case kShareNothing:
                break;
            }
            return QzOs::Sharing::Nothing;
        }

        /// Throws what becomes of a failure: a descriptor without an open file has a text of its own.
        template <class... Pieces>
        [[noreturn]] void ThrowFailure(char const* function, int descriptor, QzOs::Error error, Pieces const&... pieces)
        {
            if (error == QzOs::kErrorInvalidHandle)
                ThrowCallFailure(error, function, ": Invalid file handle #", descriptor, ".");
            ThrowCallFailure(error, function, pieces...);
        }

        void Lock(char const* function, int descriptor, bool exclusive, bool wait)
        {
            QzOs::Error error = QzOs::LockFile(
                QzOs::FromDescriptor(descriptor), exclusive, wait ? QzOs::LockWait::Endless : QzOs::LockWait::None);
            if (error == QzOs::kLockTaken)
                error = QzOs::kErrorLocked;
            if (error != 0)
                ThrowFailure(function, descriptor, error, ": Failed to lock file #", descriptor, ".");
        }

        QzOs::Error SeekTo(int descriptor, std::int64_t offset, std::int32_t& position)
        {
            if (offset > kLastPosition)
                return QzOs::kErrorOverflow;
            std::int64_t reached = 0;
            QzOs::Error const error =
                QzOs::SeekFile(QzOs::FromDescriptor(descriptor), offset, QzOs::Origin::Start, reached);
            position = static_cast<std::int32_t>(reached);
            return error;
        }

        std::int64_t GetWidePosition(int descriptor, char const* function)
        {
            std::int64_t position = 0;
            QzOs::Error const error =
                QzOs::SeekFile(QzOs::FromDescriptor(descriptor), 0, QzOs::Origin::Position, position);
            if (error != 0)
                ThrowCallFailure(error, function, ": ::lseek failed.");
            return position;
        }
    }

    int OpenDescriptor(unsigned short const* path, OpenMode mode, ShareMode share)
    {
        QzOs::FileHandle handle = QzOs::kNoFile;
        QzOs::Error error = QzOs::kErrorInvalid;
        if (mode < std::size(kOpenRules))
            error = QzOs::OpenFile(
                path, kOpenRules[mode].mAccess, kOpenRules[mode].mCreation, ToSharing(mode, share), handle);
        if (error != 0)
            ThrowOpenFailure(error, path);
        return QzOs::ToDescriptor(handle);
    }

    void ThrowOpenFailure(int error, unsigned short const* path)
    {
        ThrowCallFailure(error, "QzFileSystem::File::OpenDescriptor", ": ::CreateFileW failed for '", path, "'.");
    }

    std::int64_t WriteDescriptor(int descriptor, void const* buffer, std::uint64_t count)
    {
        std::uint64_t done = 0;
        QzOs::Error const error = QzOs::WriteFile(QzOs::FromDescriptor(descriptor), buffer, count, done);
        QzOs::SetLastError(error);
        return error == 0 ? static_cast<std::int64_t>(done) : -1;
    }

    bool CloseDescriptor(int descriptor) noexcept
    {
        return descriptor == -1 || QzOs::CloseDescriptor(descriptor) == 0;
    }

    void Copy(int from, int to, QzDataType::Binary& binary)
    {
        binary.Reset();
        std::size_t const pieceSize = binary.GetSize();
        for (;;)
        {
            std::uint64_t read = 0;
            QzOs::Error error = QzOs::ReadFile(QzOs::FromDescriptor(from), binary.GetData(), pieceSize, read);
            if (error != 0)
                ThrowCallFailure(error, "QzFileSystem::File::Copy", ": ::read failed for file #", from, ".");
            if (read == 0)
                break;

            std::uint64_t written = 0;
            error = QzOs::WriteFile(QzOs::FromDescriptor(to), binary.GetData(), read, written);
            if (error == 0 && written != read)
                error = QzOs::kErrorNoSpace;
            if (error != 0)
                ThrowCallFailure(error, "QzFileSystem::File::Copy", ": ::write failed for file #", to, ".");
        }
        Flush(to);
    }

    void Copy(int from, unsigned short const* to)
    {
        ScopedDescriptor const target(OpenDescriptor(to, kOpenWriteNew, kShareDefault));
        std::unique_ptr<QzDataType::Binary> const binary(QzDataType::CreateBinary(kCopyBufferSize, nullptr));
        Copy(from, target.Get(), *binary);
    }

    std::int32_t GetSize(int descriptor)
    {
        constexpr char const* kFunction = "QzFileSystem::File::GetSize";
        std::int64_t size = 0;
        QzOs::Error error = QzOs::GetFileSize(QzOs::FromDescriptor(descriptor), size);
        std::uint32_t const lowBits = static_cast<std::uint32_t>(size);
        // In 32 bits this size is the sign of a failure.
        if (error == 0 && lowBits == 0xFFFFFFFF)
            error = QzOs::kErrorOverflow;
        if (error != 0)
            ThrowFailure(kFunction, descriptor, error, ": ::GetFileSize failed for #", descriptor, ".");
        return static_cast<std::int32_t>(lowBits);
    }

    void Flush(int descriptor)
    {
        QzOs::Error const error = QzOs::FlushFile(QzOs::FromDescriptor(descriptor));
        if (error != 0)
            ThrowCallFailure(error, "QzFileSystem::File::Flush", ": ::_commit failed.");
    }

    void Truncate(int descriptor, std::int32_t size)
    {
        QzOs::Error const error = QzOs::SetFileSize(QzOs::FromDescriptor(descriptor), size);
        if (error != 0)
            ThrowCallFailure(error, "QzFileSystem::File::Truncate", ": ", "::_chsize", " failed.");
    }

    std::int32_t GetPosition(int descriptor)
    {
        constexpr char const* kFunction = "QzFileSystem::File::GetPosition";
        std::int64_t const position = GetWidePosition(descriptor, kFunction);
        if (position > kLastPosition)
            ThrowCallFailure(QzOs::kErrorOverflow, kFunction, ": ::lseek failed.");
        return static_cast<std::int32_t>(position);
    }

    std::int32_t MovePosition(int descriptor, std::int32_t offset)
    {
        constexpr char const* kFunction = "QzFileSystem::File::MovePosition";
        std::int32_t position = 0;
        QzOs::Error const error = SeekTo(descriptor, GetWidePosition(descriptor, kFunction) + offset, position);
        if (error != 0)
            ThrowCallFailure(error, kFunction, ": ::lseek failed.");
        return position;
    }

    std::int32_t SetPosition(int descriptor, std::int32_t offset)
    {
        std::int32_t position = 0;
        QzOs::Error const error = SeekTo(descriptor, offset, position);
        if (error != 0)
            ThrowCallFailure(error, "QzFileSystem::File::SetPosition", ": ::lseek failed.");
        return position;
    }

    void WriteLock(int descriptor, bool wait)
    {
        Lock("QzFileSystem::File::WriteLock", descriptor, true, wait);
    }

    void ReadLock(int descriptor, bool wait)
    {
        Lock("QzFileSystem::File::ReadLock", descriptor, false, wait);
    }

    bool Unlock(int descriptor)
    {
        QzOs::Error const error = QzOs::UnlockFile(QzOs::FromDescriptor(descriptor));
        if (error == QzOs::kErrorInvalidHandle)
            ThrowFailure("QzFileSystem::File::Unlock", descriptor, error);
        return error == 0;
    }
}
