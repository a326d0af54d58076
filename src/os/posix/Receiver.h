#pragma once

#include <atomic>
#include <cstdint>

namespace QzOs::Posix
{
    /// How long one message may wait for somebody outside the process: a second from its first wait. A message that
    /// need not wait does not read the clock. For one thread.
    class MessageDeadline
    {
    public:
        /// 0 when it is over. The first call begins the second.
        std::int64_t GetNanosecondsLeft() noexcept;

    private:
        bool mHasBegun = false;
        std::int64_t mEnd = 0;
    };

    /// Somebody outside the process who takes its messages, and may stall. A message waits until its deadline. After
    /// one has waited in vain, later messages do not wait until the receiver has taken something: a stalled receiver
    /// costs the program a second once, and not with each message. Any thread.
    class Receiver
    {
    public:
        constexpr Receiver() noexcept = default;
        Receiver(Receiver const&) = delete;
        Receiver& operator=(Receiver const&) = delete;

        /// Waits until the descriptor takes something, or has failed. False when the message is to be given up.
        /// Signals do not make the time longer.
        bool WaitForRoom(int descriptor, MessageDeadline& deadline) noexcept;

        /// The same for what cannot be waited for: a moment.
        bool WaitAMoment(MessageDeadline& deadline) noexcept;

        /// To be called when the receiver has taken something.
        void HasTaken() noexcept { mStandsStill.store(false, std::memory_order_relaxed); }

    private:
        /// Rounded up; 0 when there is nothing to wait for.
        int GetMillisecondsLeft(MessageDeadline& deadline) const noexcept;
        bool GiveUp() noexcept;

        std::atomic<bool> mStandsStill{false};
    };
}
