#pragma once

#include "os/Files.h"

#include <cstddef>
#include <cstdio>

// Streams of the C runtime over open files. Results as in Files.h. The C runtime orders threads that use one
// stream. Where these write out what is buffered, the limit of file sizes is an error and nothing else.

namespace QzOs
{
    /// A binary stream over a descriptor, which belongs to the stream on success. It reads and writes what `access`
    /// says and begins where the descriptor stands, wherever that is; it never moves to the end by itself.
    Error OpenStream(int descriptor, Access access, std::FILE*& stream);

    /// The stream is closed afterwards, whatever the result. No point of cancellation.
    Error CloseStream(std::FILE* stream);

    /// The descriptor under a stream; -1 for null.
    int ToDescriptor(std::FILE* stream);

    /// Writes all of it.
    Error WriteStream(std::FILE* stream, void const* buffer, std::size_t count);

    /// Reads until `count` bytes or the end of the file.
    Error ReadStream(std::FILE* stream, void* buffer, std::size_t count, std::size_t& done);

    /// Reads a line, its LF included, and a zero byte after it, `size` bytes at most. Gives the length up to
    /// the first zero byte; 0 is the end of the file.
    Error ReadStreamLine(std::FILE* stream, unsigned char* buffer, std::size_t size, std::size_t& length);

    /// Returns when all that was written is on the disk, or where else the stream leads.
    Error FlushStream(std::FILE* stream);

    Error SeekStream(std::FILE* stream, std::int64_t offset, Origin origin);
    Error GetStreamPosition(std::FILE* stream, std::int64_t& position);
}
