#include "check/RecordHistory.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kThreads = std::size_t{1} << 14;
        constexpr std::size_t kGroups = std::size_t{1} << 18;

        /// Never 0, which stands for nothing.
        std::uint64_t Hash(std::string_view text)
        {
            return std::hash<std::string_view>()(text) | 1;
        }

        /// Of what distinguishes records of a thread: time, length, and how the text ends.
        std::uint64_t HashRecord(std::uint64_t threadHash, std::int64_t time, std::string_view text)
        {
            constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15; // odd, with bits all over
            constexpr std::size_t kWord = sizeof(std::uint64_t);
            std::uint64_t hash = threadHash;
            // Time and length each have a word of their own: records that follow each other differ little in both.
            std::uint64_t words[5] = {static_cast<std::uint64_t>(time), text.size()};
            std::size_t const count = std::min(text.size(), 3 * kWord);
            std::memcpy(words + 2, text.data() + (text.size() - count), count);
            for (std::uint64_t const word : words)
                hash = (hash ^ word ^ (hash >> 32)) * kFactor;
            return hash ^ (hash >> 32);
        }

        /// Host, server, process and thread as they stand in the header, one after the other.
        std::string_view GetThread(HeaderFields const& fields)
        {
            char const* const begin = fields.mHost.data();
            return {begin, static_cast<std::size_t>(fields.mThread.data() + fields.mThread.size() - begin)};
        }
    }

    RecordHistory::RecordHistory() : mThreads(kThreads), mSeen(kGroups) {}

    RecordHistory::Order RecordHistory::Take(
        HeaderParser const& parser, std::string_view text, std::int64_t time, std::uint64_t line)
    {
        std::uint64_t const threadHash = Hash(GetThread(parser.GetFields()));
        std::uint64_t const hash = HashRecord(threadHash, time, text) | 1;
        // The lowest bit is always set.
        Thread& thread = mThreads[(threadHash >> 1) % kThreads];
        std::array<Seen, 4>& group = mSeen[(hash >> 1) % kGroups];

        bool const isKnown = thread.mHash == threadHash;
        bool const isLate = isKnown && time < thread.mTime;
        Place const place{(mFiles.size() - 1) & 0xFFFF, line & 0xFFFF'FFFF'FFFF};
        auto const seen = std::ranges::find(group, hash, &Seen::mHash);
        bool const isThere = seen != group.end();
        // A thread can write the same twice within a millisecond: only what is late can be a copy, and what stands in
        // the same line of another file.
        bool const isCopy =
            isThere && (isLate || (isKnown && time == thread.mTime && seen->mPlace.mLine == place.mLine &&
                                      seen->mPlace.mFile != place.mFile));
        if (isLate)
            mStepBack = thread.mTime - time;
        // A full group may have forgotten the record, so its absence does not end a copy.
        if (mIsRepeating && (isCopy || (isLate && !isThere && group.back().mHash != 0)))
            return Order::GoesOnRepeating;
        if (isCopy)
        {
            mFirst = seen->mPlace;
            mIsRepeating = true;
            return Order::Repeated;
        }
        mIsRepeating = mIsRepeating && isKnown && time == thread.mTime;
        thread = {threadHash, time};
        std::ranges::copy_backward(group.begin(), group.end() - 1, group.end());
        group.front() = {hash, place};
        return isLate ? Order::Backwards : Order::Right;
    }
}
