#pragma once

#include "filesystem/stdio/OpenModes.h"

#include <QzDataType/Binary.h>

#include <cstddef>
#include <cstdint>
#include <limits>

// Files by descriptors of the C runtime. The functions have no state; who uses one descriptor in several threads
// orders the calls. Positions and sizes are 32 bits wide: beyond 2^31-1 a position fails. All failures are thrown
// QzBase::Message and leave the file open and as far as it got; closing is the caller's matter, except for what a
// function opened itself. The library itself uses WriteDescriptor, CloseDescriptor and ThrowOpenFailure; the rest makes
// the family complete.

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

    /// One write. Returns how many bytes were written, which may be fewer than asked, or -1 with the reason
    /// in QzBase::GetLastError.
    std::int64_t WriteDescriptor(int descriptor, void const* buffer, std::uint64_t count);

    /// Closes it and returns whether closing reported no failure of what was written. -1 is ignored.
    bool CloseDescriptor(int descriptor) noexcept;

    /// Copies from the present position to the end through the binary, then flushes the target.
    void Copy(int from, int to, QzDataType::Binary& binary);

    /// The same to a new file at a path, which it replaces.
    void Copy(int from, unsigned short const* to);

    /// The low 32 bits of the size of the file.
    std::int32_t GetSize(int descriptor);

    /// Returns when all that was written is on the disk.
    void Flush(int descriptor);

    /// Makes the file that long; a longer one gets zero bytes. The position stays.
    void Truncate(int descriptor, std::int32_t size);

    std::int32_t GetPosition(int descriptor);

    /// Moves by `offset` from the present position. Returns the new one.
    std::int32_t MovePosition(int descriptor, std::int32_t offset);

    /// Moves to `offset` from the start. Returns the new position.
    std::int32_t SetPosition(int descriptor, std::int32_t offset);

    /// The locks on the whole file, exclusive and shared. With `wait` they wait without a time-out; without
    /// it a lock that somebody else has is a failure. Mind that the operations of file objects have a flag
    /// of the opposite sense.
    void WriteLock(int descriptor, bool wait);
    void ReadLock(int descriptor, bool wait);

    /// Releases the lock. Returns whether that worked.
    bool Unlock(int descriptor);
}
