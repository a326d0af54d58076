#pragma once

#include <atomic>
#include <cstdint>

namespace QzOs::Posix
{
    /// The end of the time that one message may wait outside of the process: a second from the moment in which it has
    /// to wait at all, so that the others do not read the clock. For one thread.
    class MessageDeadline
    {
    public:
        /// 0 when it is over. The first call begins the second.
        std::int64_t GetNanosecondsLeft() noexcept;

    private:
        bool mHasBegun = false;
        std::int64_t mEnd = 0;
    };

    /// Somebody outside of the process who takes its messages, and may stand still. A message waits for him until its
    /// deadline. When one has waited in vain the messages behind it do not wait at all, until he has taken something:
    /// a receiver that stands still costs the program a second once, and not with each message. Any thread.
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
