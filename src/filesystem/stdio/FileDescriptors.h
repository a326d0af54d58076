#pragma once

#include "filesystem/stdio/OpenModes.h"

#include <QzDataType/Binary.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>

// Files by descriptors and streams of the C runtime. The functions have no state; who uses one descriptor or
// stream in several threads orders the calls. Positions and sizes are 32 bits wide: beyond 2^31-1 a position
// fails. All failures are thrown QzBase::Message and leave the file open and as far as it got; closing
// is the caller's matter, except for what a function opened itself.

namespace QzFileSystem::File
{
    /// The buffer of the copies that make one of their own, in bytes.
    inline constexpr std::size_t kCopyBufferSize = 16384;

    /// The last position that these functions reach.
    inline constexpr std::int32_t kLastPosition = std::numeric_limits<std::int32_t>::max();

    /// A new descriptor, at position 0 and closed on exec. Closed with CloseDescriptor.
    int OpenDescriptor(unsigned short const* path, OpenMode mode, ShareMode share);

    /// The failure of OpenDescriptor, by the system's error number.
    [[noreturn]] void ThrowOpenFailure(int error, unsigned short const* path);

    /// A new binary stream over a new descriptor. Closed with CloseStream.
    std::FILE* OpenStream(unsigned short const* path, OpenMode mode, ShareMode share);

    /// One write. Returns how many bytes were written, which may be fewer than asked, or -1 with the reason
    /// in QzBase::GetLastError.
    std::int64_t WriteDescriptor(int descriptor, void const* buffer, std::uint64_t count);

    /// Closes it and returns whether that told no failure of what was written. -1 is ignored.
    bool CloseDescriptor(int descriptor) noexcept;

    /// Writes what is buffered and closes it. Null is ignored.
    void CloseStream(std::FILE* stream) noexcept;

    /// Copy from the present position to the end through the binary, then Flush of the target.
    void Copy(int from, int to, QzDataType::Binary& binary);
    void Copy(std::FILE* from, std::FILE* to, QzDataType::Binary& binary);

    /// The same to a new file at a path, which it replaces.
    void Copy(int from, unsigned short const* to);
    void Copy(std::FILE* from, unsigned short const* to);

    /// The low 32 bits of the size of the file, without what the stream still buffers.
    std::int32_t GetSize(int descriptor);
    std::int32_t GetSize(std::FILE* stream);

    /// Writes `count` bytes of the text, or all of it if `count` is 0.
    void Write(std::FILE* stream, char const* text, std::uint64_t count);

    void Write(std::FILE* stream, void const* buffer, std::uint64_t count);

    /// Reads at most `maximum` bytes if that is not 0, else the binary's full size. The binary ends up as
    /// long as what came, 0 at the end of the file.
    void Read(std::FILE* stream, QzDataType::Binary& binary, std::uint64_t maximum);

    /// Reads a line, its LF included, at most one byte less than the binary's full size. Length 0 is the end
    /// of the file. Bytes behind a zero byte of the line are passed but not counted.
    void ReadLine(std::FILE* stream, QzDataType::Binary& binary);

    /// Return when all that was written is on the disk.
    void Flush(int descriptor);
    void Flush(std::FILE* stream);

    /// Makes the file that long; a longer one gets zero bytes. The position stays.
    void Truncate(int descriptor, std::int32_t size);
    void Truncate(std::FILE* stream, std::int32_t size);

    std::int32_t GetPosition(int descriptor);
    std::int32_t GetPosition(std::FILE* stream);

    /// Moves by `offset` from the present position; with a descriptor returns the new one.
    std::int32_t MovePosition(int descriptor, std::int32_t offset);
    void MovePosition(std::FILE* stream, std::int32_t offset);

    /// Moves to `offset` from the start; with a descriptor returns the new position.
    std::int32_t SetPosition(int descriptor, std::int32_t offset);
    void SetPosition(std::FILE* stream, std::int32_t offset);

    /// Moves `count` bytes at the present position (0: all to the end of the file) to the offset `target` of
    /// the same file. The two places may overlap. The stream reads and writes; the binary is not empty. A count of 0
    /// fails in a file of more than 2^31-1 bytes.
    void MoveBlock(std::FILE* stream, QzDataType::Binary& binary, std::int32_t target, std::int32_t count);

    /// The locks on the whole file, exclusive and shared. With `wait` they wait without a time-out; without
    /// it a lock that somebody else has is a failure. Mind that the operations of file objects have a flag
    /// of the opposite sense.
    void WriteLock(int descriptor, bool wait);
    void ReadLock(int descriptor, bool wait);

    /// Gives the lock up. Returns whether that worked.
    bool Unlock(int descriptor);
}
