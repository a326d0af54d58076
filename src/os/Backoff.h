#pragma once

namespace QzOs
{
    /// How a thread waits between attempts, before it sleeps until it is woken. Waking a thread, and being woken, costs
    /// more than writing a record, and a woken thread is mostly too late. So the first wait is as long as a record or
    /// two take, spent awake. The next ones are short sleeps, with so few attempts that a thread at work is not
    /// disturbed.
    class Backoff
    {
    public:
        /// Waits until the next attempt. After enough waits it returns false at once. No point of cancellation.
        bool Wait() noexcept;

    private:
        int mWaits = 0;
    };
}
