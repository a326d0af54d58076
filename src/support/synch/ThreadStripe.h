#pragma once

#include <array>
#include <atomic>
#include <cstddef>

// Objects that many threads write to, spread over cache lines: each thread always writes to the same one.

namespace QzSynch
{
    inline constexpr std::size_t kCacheLine = 64;

    namespace ThreadStripeDetails
    {
        /// The highest bit is set if the calling thread has a number.
        inline constexpr unsigned int kIsAssigned = 0x80000000;

        // Initial-exec, since every message uses it: no call of the dynamic linker.
        [[gnu::tls_model("initial-exec")]] extern constinit thread_local unsigned int tNumberOfThread;

        extern constinit std::atomic<unsigned int> gThreadCount;

        /// Threads are numbered in the order of their first call. A thread keeps its number, also in a forked
        /// child.
        inline unsigned int GetNumberOfThread() noexcept
        {
            // Without a call, for which those who come here would have to save registers.
            if (tNumberOfThread == 0) [[unlikely]]
                tNumberOfThread = gThreadCount.fetch_add(1, std::memory_order_relaxed) | kIsAssigned;
            return tNumberOfThread;
        }
    }

    /// `count` objects, a power of two, each on cache lines of its own; one alone is not. More threads than objects
    /// share them in turn, so an object still needs atomic members.
    template <class T, std::size_t count>
    class ThreadStripes
    {
    public:
        static_assert((count & (count - 1)) == 0 && count < ThreadStripeDetails::kIsAssigned);

        /// The calling thread's object: always the same one.
        T& OfThisThread() noexcept { return mStripes[ThreadStripeDetails::GetNumberOfThread() % count]; }

        auto begin() noexcept { return mStripes.begin(); }
        auto end() noexcept { return mStripes.end(); }

    private:
        struct alignas(count == 1 ? alignof(T) : kCacheLine) Stripe : T
        {
        };

        std::array<Stripe, count> mStripes{};
    };
}
