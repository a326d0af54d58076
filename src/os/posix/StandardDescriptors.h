#pragma once

#include "os/posix/Kernel.h"

// A program may be started with some of the descriptors 0 to 2 closed, and the kernel gives the lowest free number to
// whatever is opened next. A log that became descriptor 2 would then be the standard error of everybody: perror,
// assert and the debug output would write into it, at a position of their own and without its lock. So every
// descriptor that this library opens is opened through OpenAboveStandard.

namespace QzOs::Posix
{
    /// Occupies those of the descriptors 0 to 2 that are free, for its life, with something that can be neither read
    /// nor written. So a file does not have such a number even while it is being opened. A fork waits while they are
    /// being occupied or freed, but not in between. In a forked child they are free again.
    class StandardDescriptorsHold
    {
    public:
        StandardDescriptorsHold() noexcept;
        ~StandardDescriptorsHold();
        StandardDescriptorsHold(StandardDescriptorsHold const&) = delete;
        StandardDescriptorsHold& operator=(StandardDescriptorsHold const&) = delete;
    };

    /// Moves a descriptor from 0 to 2 to a number above, in case the program closed one meanwhile. On failure it is
    /// closed, and the result is -1 with errno set.
    int MoveAboveStandard(int descriptor) noexcept;

    /// Makes a call that returns a new descriptor or -1, again after a signal. The descriptor is above 2.
    template <class Open>
    int OpenAboveStandard(Open&& open)
    {
        StandardDescriptorsHold const hold;
        return MoveAboveStandard(RetryOnSignal(open));
    }
}
