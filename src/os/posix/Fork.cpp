#include "os/Fork.h"

#include <array>
#include <atomic>
#include <cstddef>

#include <pthread.h>

namespace QzOs
{
    namespace
    {
        struct Functions
        {
            void (*mpBefore)();
            void (*mpInParent)();
            void (*mpInChild)();
        };

        // All are registered with the system as one, so that no function of the host program is called in between.
        // Nothing here has a destructor, since the process may fork until it ends.
        constinit std::array<Functions, 16> gFunctions{};
        constinit std::size_t gCount = 0;
        constinit bool gIsRegistered = false;
        // Guards these, and is held around forks.
        constinit std::mutex gFunctionsLock;

        void Before()
        {
            tIsForking = true;
            gFunctionsLock.lock();
            for (std::size_t index = gCount; index-- != 0;)
                if (gFunctions[index].mpBefore)
                    gFunctions[index].mpBefore();
        }

        void After(void (*Functions::*function)())
        {
            for (std::size_t index = 0; index < gCount; ++index)
                if (gFunctions[index].*function)
                    (gFunctions[index].*function)();
            gFunctionsLock.unlock();
            tIsForking = false;
        }

        // When the library is loaded, so that no fork is missed, and before all static objects: in a child the layers
        // above need the new generation, and functions that were registered first are called first there.
        [[gnu::constructor(101)]] void WatchForks()
        {
            CallAroundFork(nullptr, nullptr, [] { gForkGeneration.fetch_add(1, std::memory_order_relaxed); });
        }
    }

    constinit std::atomic<std::uint32_t> gForkGeneration{0};
    constinit thread_local bool tIsForking = false;

    bool CallAroundFork(void (*before)(), void (*inParent)(), void (*inChild)()) noexcept
    {
        std::lock_guard const hold(gFunctionsLock);
        if (!gIsRegistered)
        {
            gIsRegistered =
                pthread_atfork(
                    Before, [] { After(&Functions::mpInParent); }, [] { After(&Functions::mpInChild); }) == 0;
        }
        if (!gIsRegistered || gCount == gFunctions.size())
            return false;
        gFunctions[gCount++] = {before, inParent, inChild};
        return true;
    }
}
