#pragma once

namespace QzOs
{
    /// The waiting of a thread that tries for something before it goes to sleep until it is woken. To be woken, and
    /// to wake, costs more than writing a record takes, and whoever is woken mostly comes too late. So the first wait
    /// is as long as a record or two, spent awake; the ones behind it are short naps, rare enough that a thread at
    /// work goes on undisturbed meanwhile.
    class Backoff
    {
    public:
        /// Waits for the next look. False, and no wait, when there have been enough. No point of cancellation.
        bool Wait() noexcept;

    private:
        int mWaits = 0;
    };
}
