#include "os/ProcessCopy.h"

#include <array>
#include <cstddef>

#include <pthread.h>

namespace QzOs
{
    namespace
    {
        struct Functions
        {
            void (*mpBefore)();
            void (*mpAfterInOriginal)();
            void (*mpAfterInCopy)();
        };

        // All are registered with the system as one, so that they are called without the host program's in between.
        // Nothing here has a destructor, since the process may be copied to its very end.
        constinit std::array<Functions, 16> gFunctions{};
        constinit std::size_t gCount = 0;
        constinit bool gIsRegistered = false;
        // Guards these, and is held around copies.
        constinit std::mutex gLock;

        void Before()
        {
            tIsCopyingProcess = true;
            gLock.lock();
            for (std::size_t index = gCount; index-- != 0;)
                if (gFunctions[index].mpBefore)
                    gFunctions[index].mpBefore();
        }

        void After(void (*Functions::*function)())
        {
            for (std::size_t index = 0; index < gCount; ++index)
                if (gFunctions[index].*function)
                    (gFunctions[index].*function)();
            gLock.unlock();
            tIsCopyingProcess = false;
        }
    }

    constinit thread_local bool tIsCopyingProcess = false;

    bool CallAroundProcessCopy(void (*before)(), void (*afterInOriginal)(), void (*afterInCopy)()) noexcept
    {
        std::lock_guard const hold(gLock);
        if (!gIsRegistered)
        {
            gIsRegistered = pthread_atfork(
                                Before, [] { After(&Functions::mpAfterInOriginal); },
                                [] { After(&Functions::mpAfterInCopy); }) == 0;
        }
        if (!gIsRegistered || gCount == gFunctions.size())
            return false;
        gFunctions[gCount++] = {before, afterInOriginal, afterInCopy};
        return true;
    }
}
