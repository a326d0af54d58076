#include "support/synch/ThreadStripe.h"

namespace QzSynch::ThreadStripeDetails
{
    constinit std::atomic<unsigned int> gThreadCount{0};
    constinit thread_local unsigned int tNumberOfThread = 0;
}
