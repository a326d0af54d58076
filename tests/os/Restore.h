#pragma once

#include "os/Calls.h"
#include "os/posix/Kernel.h"

namespace QzTest
{
    /// Puts back what a test has replaced of the calls of the system.
    struct Restore
    {
        ~Restore()
        {
            QzOs::gCalls = mCalls;
            QzOs::Posix::gKernel = mKernel;
        }

        QzOs::Calls const mCalls = QzOs::gCalls;
        QzOs::Posix::Kernel const mKernel = QzOs::Posix::gKernel;
    };
}
