#pragma once

#include <cstdint>
#include <string>

// What the operating system knows of this process, thread and machine. Any thread may call all of it.

namespace QzOs
{
    /// The number of this process, also in a forked child. Costs a memory read.
    std::uint32_t GetProcessID();

    /// The number of the calling thread, also in a forked child. Costs a memory read.
    std::uint32_t GetThreadID();

    /// The name of this machine, bytes as the system has them.
    std::string GetComputerName();

    /// The calling thread's last system error.
    std::uint32_t GetLastError();

    /// The system's text for an error number.
    std::string DescribeError(std::uint32_t error);

    /// Fills 16 bytes with a new random globally unique identifier, most significant byte first.
    void MakeUniqueIdentifier(unsigned char (&bytes)[16]);
}
