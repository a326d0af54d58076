#include "os/Cancellation.h"

#include <pthread.h>

namespace QzOs
{
    NoCancellation::NoCancellation() noexcept
    {
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &mPreviousState);
    }

    NoCancellation::~NoCancellation()
    {
        pthread_setcancelstate(mPreviousState, nullptr);
    }
}
