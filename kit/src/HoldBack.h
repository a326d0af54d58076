#pragma once

#include "ForkSafeLock.h"
#include "HoldBackKey.h"
#include "MillisecondClock.h"

#include <QzLog/Timestamp.h>
#include <QzLogKit/RateLimit.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace QzLogKit
{
    /// "Held back 2 messages of <what> since <time>"
    std::string HeldBackText(std::uint64_t count, std::string_view what, QzLog::Timestamp const& since);

    /// Counts messages per key and period, and keeps what is to be said about those that were held back until somebody
    /// takes it. `Origin` is what is to be known of the first message that was held back. Any thread.
    template <class Origin>
    class HoldBack
    {
    public:
        /// One period of one key.
        struct Window
        {
            Window(HoldBackKey const& key, std::int64_t begin)
                : mFirst(key.GetFirst()),
                  mSecond(key.GetSecond()),
                  mKey(mFirst, mSecond, key.GetNumber()),
                  mBegin(begin)
            {
            }

            std::string const mFirst;
            std::string const mSecond;
            HoldBackKey const mKey; // of these texts
            std::int64_t const mBegin;
            std::atomic<std::uint64_t> mCount{0};
            Window* mpNextInBucket = nullptr;
            typename std::list<Window>::iterator mPlace;
            // Written once, by the thread that counts the first message that is held back, under the lock for readers.
            QzLog::Timestamp mSince;
            Origin mOrigin;
        };

        using Windows = std::list<Window>;

        explicit HoldBack(RateLimit limit)
            : mLimit(limit.mMessages),
              mPeriod(std::clamp<std::int64_t>(limit.mPeriod.count(), 0, std::int64_t{1} << 52))
        {
        }

        /// Counts a message, and says whether it passes.
        template <class GetOrigin>
        bool Admits(HoldBackKey const& key, QzLog::Timestamp const& time, GetOrigin getOrigin)
        {
            std::int64_t const now = mClock.GetMilliseconds(time);
            if (now < mNextEnd.load(std::memory_order_relaxed) && mForkCount == ForkSafeLock::GetForkCount())
            {
                ForkSafeLock::ReadHold const hold(mLock);
                Window* const found = *Find(key);
                if (found && !IsOver(*found, now))
                    return CountIn(*found, time, getOrigin);
            }
            return AdmitsFirst(key, time, now, getOrigin);
        }

        /// Ends the windows that are over by then.
        void EndOver(QzLog::Timestamp const& time)
        {
            std::int64_t const now = mClock.GetMilliseconds(time);
            if (now < mNextEnd.load(std::memory_order_relaxed))
                return;
            Windows dropped;
            ForkSafeLock::WriteHold const hold(mLock);
            FollowFork(dropped);
            EndOver(now, dropped);
        }

        /// Ends all windows that have something to say.
        void EndAll()
        {
            Windows dropped;
            ForkSafeLock::WriteHold const hold(mLock);
            FollowFork(dropped);
            for (auto window = mWindows.begin(); window != mWindows.end();)
            {
                auto const next = std::next(window);
                if (GetHeldBack(*window) > 0)
                    End(window, dropped);
                window = next;
            }
        }

        /// Whether SayAll has something to say.
        bool HasEnded() const { return mHasEnded.load(std::memory_order_relaxed); }

        /// Gives what is to be said to `say`, one ended window after the other, with no lock held. What `say` throws
        /// at is kept.
        template <class Say>
        [[gnu::cold, gnu::noinline]] void SayAll(Say say)
        {
            while (HasEnded())
            {
                Windows taken;
                {
                    Windows dropped;
                    ForkSafeLock::WriteHold const hold(mLock);
                    FollowFork(dropped);
                    if (!mEnded.empty())
                        taken.splice(taken.end(), mEnded, mEnded.begin());
                    mHasEnded.store(!mEnded.empty(), std::memory_order_relaxed);
                }
                if (taken.empty())
                    return;
                try
                {
                    say(taken.front(), GetHeldBack(taken.front()));
                }
                catch (...)
                {
                    ForkSafeLock::WriteHold const hold(mLock);
                    mEnded.splice(mEnded.begin(), taken);
                    mHasEnded.store(true, std::memory_order_relaxed);
                    throw;
                }
            }
        }

    private:
        std::uint64_t GetHeldBack(Window const& window) const
        {
            std::uint64_t const count = window.mCount.load(std::memory_order_relaxed);
            return count > mLimit ? count - mLimit : 0;
        }

        /// Also if the clock has been set back by more than a period.
        bool IsOver(Window const& window, std::int64_t now) const
        {
            return now >= window.mBegin + mPeriod || now < window.mBegin - mPeriod;
        }

        template <class GetOrigin>
        bool CountIn(Window& window, QzLog::Timestamp const& time, GetOrigin& getOrigin)
        {
            std::uint64_t const before = window.mCount.fetch_add(1, std::memory_order_relaxed);
            if (before == mLimit) [[unlikely]]
                Begin(window, time, getOrigin);
            return before < mLimit;
        }

        /// The first message of a window is held back.
        template <class GetOrigin>
        [[gnu::cold, gnu::noinline]] void Begin(Window& window, QzLog::Timestamp const& time, GetOrigin& getOrigin)
        {
            window.mSince = time;
            window.mOrigin = getOrigin();
        }

        /// The way of the first message of a window, and of the first one after the end of any window.
        template <class GetOrigin>
        [[gnu::cold, gnu::noinline]] bool AdmitsFirst(
            HoldBackKey const& key, QzLog::Timestamp const& time, std::int64_t now, GetOrigin& getOrigin)
        {
            Windows dropped;
            ForkSafeLock::WriteHold const hold(mLock);
            FollowFork(dropped);
            EndOver(now, dropped);
            Window* found = *Find(key);
            if (found && IsOver(*found, now))
            {
                End(found->mPlace, dropped);
                found = nullptr;
            }
            if (!found)
                found = &Add(key, now);
            SetNextEnd();
            return CountIn(*found, time, getOrigin);
        }

        /// Where the window of the key hangs, or would hang. Under the lock.
        Window** Find(HoldBackKey const& key)
        {
            Window** place = &mBuckets[key.GetHash() & (mBuckets.size() - 1)];
            while (*place && !((*place)->mKey == key))
                place = &(*place)->mpNextInBucket;
            return place;
        }

        // Under the lock for writing, as what follows. `dropped` gets what nothing is to be said about, and is to be
        // destroyed without the lock.

        Window& Add(HoldBackKey const& key, std::int64_t now)
        {
            if (mWindows.size() >= mBuckets.size())
            {
                mBuckets = std::vector<Window*>(2 * mBuckets.size());
                for (Window& window : mWindows)
                {
                    window.mpNextInBucket = nullptr;
                    *Find(window.mKey) = &window;
                }
            }
            Window& window = mWindows.emplace_back(key, now);
            window.mPlace = std::prev(mWindows.end());
            *Find(key) = &window;
            return window;
        }

        void EndOver(std::int64_t now, Windows& dropped)
        {
            while (!mWindows.empty() && IsOver(mWindows.front(), now))
                End(mWindows.begin(), dropped);
            SetNextEnd();
        }

        void SetNextEnd()
        {
            mNextEnd.store(mWindows.empty() ? kNever : mWindows.front().mBegin + mPeriod, std::memory_order_relaxed);
        }

        void End(typename Windows::iterator window, Windows& dropped)
        {
            *Find(window->mKey) = window->mpNextInBucket;
            bool const isSilent = GetHeldBack(*window) == 0;
            Windows& target = isSilent ? dropped : mEnded;
            target.splice(target.end(), mWindows, window);
            if (!isSilent)
                mHasEnded.store(true, std::memory_order_relaxed);
        }

        /// What the parent counted is the parent's to say.
        void FollowFork(Windows& dropped)
        {
            if (mForkCount == ForkSafeLock::GetForkCount())
                return;
            mForkCount = ForkSafeLock::GetForkCount();
            std::fill(mBuckets.begin(), mBuckets.end(), nullptr);
            dropped.splice(dropped.end(), mWindows);
            dropped.splice(dropped.end(), mEnded);
            mHasEnded.store(false, std::memory_order_relaxed);
        }

        static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

        ForkSafeLock mLock;
        std::uint64_t const mLimit;
        std::int64_t const mPeriod; // in milliseconds
        std::atomic<unsigned int> mForkCount{ForkSafeLock::GetForkCount()};
        /// When the oldest window ends, in milliseconds since 1970 UTC.
        std::atomic<std::int64_t> mNextEnd{kNever};
        std::atomic<bool> mHasEnded{false};
        MillisecondClock mClock;
        /// In the order of their beginnings.
        Windows mWindows;
        Windows mEnded;
        /// The windows of mWindows by the hash of their keys; a power of two. A map of the standard library takes three
        /// times as long.
        std::vector<Window*> mBuckets = std::vector<Window*>(16);
    };
}
