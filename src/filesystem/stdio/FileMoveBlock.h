#pragma once

#include <QzDataType/Binary.h>

#include <cstdint>
#include <cstdio>

namespace QzFileSystem::File
{
    /// Moves `count` bytes at the present position (0: all to the end of the file) to the offset `target` of
    /// the same file. The two places may overlap. The stream reads and writes; the binary is not empty. A count of 0
    /// fails in a file of more than 2^31-1 bytes. Threads and failures as in FileDescriptors.h. Used by nobody in the
    /// library itself.
    void MoveBlock(std::FILE* stream, QzDataType::Binary& binary, std::int32_t target, std::int32_t count);
}
