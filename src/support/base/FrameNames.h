#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace QzBase
{
    /// Addresses inside the calls that the calling thread is in, innermost first: each lies in the instruction
    /// that made the next call, so that its line is the one of the call. Frames inside this operation may be
    /// among them. Any thread.
    std::vector<std::uintptr_t> CollectFrames();

    /// "function at file:line"; without debug information "function in module+0x1234", and without a name
    /// "module+0x1234". The offset counts from the load address of the module. UTF-8 if the names are. The first
    /// call of a process reads the debug information, which takes some tenths of a second. Any thread.
    std::string DescribeFrame(std::uintptr_t address);
}
