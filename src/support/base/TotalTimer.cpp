#include <QzBase/TotalTimer.h>

#include "os/Calls.h"

#include <utility>

namespace QzBase
{
    TotalTimer::Timer::Timer(TotalTimer& total) : mpTotal(&total), mStart(QzOs::gCalls.mpGetMonotonicNanoseconds()) {}

    void TotalTimer::Timer::Stop() noexcept
    {
        if (TotalTimer* const total = std::exchange(mpTotal, nullptr))
            total->mTotal += QzOs::gCalls.mpGetMonotonicNanoseconds() - mStart;
    }
}
