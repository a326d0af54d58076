#pragma once

#include "filesystem/stdio/OpenModes.h"

#include <QzDataType/Binary.h>

#include <cstdint>
#include <cstdio>

// Files by streams of the C runtime. Threads, widths and failures as in FileDescriptors.h. Used by nobody in the
// library itself: it makes the family complete.

namespace QzFileSystem::File
{
    /// A new binary stream over a new descriptor. Closed with CloseStream.
    std::FILE* OpenStream(unsigned short const* path, OpenMode mode, ShareMode share);

    /// Writes what is buffered and closes it. Null is ignored.
    void CloseStream(std::FILE* stream) noexcept;

    /// Copies from the present position to the end through the binary, then flushes the target.
    void Copy(std::FILE* from, std::FILE* to, QzDataType::Binary& binary);

    /// The same to a new file at a path, which it replaces.
    void Copy(std::FILE* from, unsigned short const* to);

    /// The low 32 bits of the size of the file, without what the stream still buffers.
    std::int32_t GetSize(std::FILE* stream);

    /// Writes `count` bytes of the text, or all of it if `count` is 0.
    void Write(std::FILE* stream, char const* text, std::uint64_t count);

    void Write(std::FILE* stream, void const* buffer, std::uint64_t count);

    /// Reads at most `maximum` bytes if that is not 0, else the binary's full size. The binary ends up as
    /// long as what came, 0 at the end of the file.
    void Read(std::FILE* stream, QzDataType::Binary& binary, std::uint64_t maximum);

    /// Reads a line, its LF included, at most one byte less than the binary's full size. Length 0 is the end
    /// of the file. Bytes after a zero byte of the line are skipped and not counted.
    void ReadLine(std::FILE* stream, QzDataType::Binary& binary);

    /// Returns when all that was written is on the disk.
    void Flush(std::FILE* stream);

    /// Makes the file that long; a longer one gets zero bytes. The position stays.
    void Truncate(std::FILE* stream, std::int32_t size);

    std::int32_t GetPosition(std::FILE* stream);

    /// Moves by `offset` from the present position.
    void MovePosition(std::FILE* stream, std::int32_t offset);

    /// Moves to `offset` from the start.
    void SetPosition(std::FILE* stream, std::int32_t offset);
}
