#include "filesystem/stdio/FileStreams.h"

#include "filesystem/Failures.h"
#include "filesystem/stdio/FileDescriptors.h"
#include "filesystem/stdio/FileGuards.h"
#include "os/FilesStreams.h"

#include <cstring>
#include <memory>

namespace QzFileSystem::File
{
    namespace
    {
        QzOs::Access GetStreamAccess(OpenMode mode)
        {
            switch (mode)
            {
            case kOpenRead:
                return QzOs::Access::Read;
            case kOpenWriteNew:
            case kOpenWrite:
            case kOpenWriteNewForUpdate:
                return QzOs::Access::Write;
            case kOpenUpdate:
            case kOpenUpdateNew:
            case kOpenUpdateAlways:
                return QzOs::Access::ReadWrite;
            }
            return QzOs::Access::Read;
        }

        void WriteItem(std::FILE* stream, void const* buffer, std::uint64_t count)
        {
            if (count == 0)
                return;
            QzOs::Error const error = QzOs::WriteStream(stream, buffer, count);
            if (error != 0)
                ThrowCallFailure(error, "QzFileSystem::File::Write", ": Failed.");
        }

        std::int64_t GetWidePosition(std::FILE* stream, char const* function, char const* text)
        {
            std::int64_t position = 0;
            QzOs::Error const error = QzOs::GetStreamPosition(stream, position);
            if (error != 0)
                ThrowCallFailure(error, function, text);
            return position;
        }

        void SeekTo(std::FILE* stream, std::int64_t offset, char const* function)
        {
            QzOs::Error const error =
                offset > kLastPosition ? QzOs::kErrorOverflow : QzOs::SeekStream(stream, offset, QzOs::Origin::Start);
            if (error != 0)
                ThrowCallFailure(error, function, ": ::fseeko failed.");
        }
    }

    std::FILE* OpenStream(unsigned short const* path, OpenMode mode, ShareMode share)
    {
        ScopedDescriptor descriptor(OpenDescriptor(path, mode, share));
        std::FILE* stream = nullptr;
        QzOs::Error const error = QzOs::OpenStream(descriptor.Get(), GetStreamAccess(mode), stream);
        if (error != 0)
            ThrowCallFailure(error, "QzFileSystem::File::OpenStream", ": ::_fdopen failed for '", path, "'.");
        // The stream closes it from now on.
        static_cast<void>(descriptor.Release());
        return stream;
    }

    void CloseStream(std::FILE* stream) noexcept
    {
        if (stream)
            QzOs::CloseStream(stream);
    }

    void Copy(std::FILE* from, std::FILE* to, QzDataType::Binary& binary)
    {
        binary.Reset();
        std::size_t const pieceSize = binary.GetSize();
        do
        {
            Read(from, binary, pieceSize);
            if (binary.GetSize() != 0)
                Write(to, static_cast<void const*>(binary.GetData()), binary.GetSize());
        } while (binary.GetSize() == pieceSize && pieceSize != 0);
        Flush(to);
    }

    void Copy(std::FILE* from, unsigned short const* to)
    {
        ScopedStream const target(OpenStream(to, kOpenWriteNew, kShareDefault));
        std::unique_ptr<QzDataType::Binary> const binary(QzDataType::CreateBinary(kCopyBufferSize, nullptr));
        Copy(from, target.Get(), *binary);
    }

    std::int32_t GetSize(std::FILE* stream)
    {
        return GetSize(QzOs::ToDescriptor(stream));
    }

    void Write(std::FILE* stream, char const* text, std::uint64_t count)
    {
        WriteItem(stream, text, count != 0 ? count : std::strlen(text));
    }

    void Write(std::FILE* stream, void const* buffer, std::uint64_t count)
    {
        WriteItem(stream, buffer, count);
    }

    void Read(std::FILE* stream, QzDataType::Binary& binary, std::uint64_t maximum)
    {
        binary.Reset();
        if (maximum != 0 && maximum < binary.GetSize())
            binary.Shorten(binary.GetSize() - maximum);
        std::size_t done = 0;
        QzOs::Error const error = QzOs::ReadStream(stream, binary.GetData(), binary.GetSize(), done);
        binary.Shorten(binary.GetSize() - done);
        if (error != 0)
            ThrowCallFailure(error, "QzFileSystem::File::Read", ": ::fread failed.");
    }

    void ReadLine(std::FILE* stream, QzDataType::Binary& binary)
    {
        binary.Reset();
        std::size_t length = 0;
        QzOs::Error const error = QzOs::ReadStreamLine(stream, binary.GetData(), binary.GetSize(), length);
        binary.Shorten(binary.GetSize() - length);
        if (error != 0)
            ThrowCallFailure(error, "QzFileSystem::File::ReadLine", ": ::fgets failed.");
    }

    void Flush(std::FILE* stream)
    {
        QzOs::Error const error = QzOs::FlushStream(stream);
        if (error != 0)
            ThrowCallFailure(error, "QzFileSystem::File::Flush", ": ::fflush failed.");
    }

    void Truncate(std::FILE* stream, std::int32_t size)
    {
        Truncate(QzOs::ToDescriptor(stream), size);
    }

    std::int32_t GetPosition(std::FILE* stream)
    {
        constexpr char const* kFunction = "QzFileSystem::File::GetPosition";
        constexpr char const* kText = ": ::ftello failed.";
        std::int64_t const position = GetWidePosition(stream, kFunction, kText);
        if (position > kLastPosition)
            ThrowCallFailure(QzOs::kErrorOverflow, kFunction, kText);
        return static_cast<std::int32_t>(position);
    }

    void MovePosition(std::FILE* stream, std::int32_t offset)
    {
        constexpr char const* kFunction = "QzFileSystem::File::MovePosition";
        SeekTo(stream, GetWidePosition(stream, kFunction, ": ::fseeko failed.") + offset, kFunction);
    }

    void SetPosition(std::FILE* stream, std::int32_t offset)
    {
        SeekTo(stream, offset, "QzFileSystem::File::SetPosition");
    }
}
