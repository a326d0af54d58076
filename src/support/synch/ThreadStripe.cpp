#include "support/synch/ThreadStripe.h"

#include <atomic>

namespace QzSynch::ThreadStripeDetails
{
    namespace
    {
        constinit std::atomic<unsigned int> gThreadCount{0};
    }

    constinit thread_local unsigned int tNumberOfThread = 0;

    unsigned int AssignNumber() noexcept
    {
        return tNumberOfThread = gThreadCount.fetch_add(1, std::memory_order_relaxed) | kIsAssigned;
    }
}
