#include "check/RecordHistory.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kThreads = std::size_t{1} << 14;
        constexpr std::size_t kRecords = std::size_t{1} << 16;

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
            std::uint64_t hash = threadHash ^ static_cast<std::uint64_t>(time);
            std::uint64_t words[4] = {text.size()};
            std::size_t const count = std::min(text.size(), 3 * kWord);
            std::memcpy(words + 1, text.data() + (text.size() - count), count);
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

    RecordHistory::RecordHistory() : mThreads(kThreads), mSeen(kRecords) {}

    RecordHistory::Order RecordHistory::Take(
        HeaderParser const& parser, std::string_view text, std::int64_t time, std::uint64_t line)
    {
        std::uint64_t const threadHash = Hash(GetThread(parser.GetFields()));
        std::uint64_t const hash = HashRecord(threadHash, time, text) | 1;
        // The lowest bit is always set.
        Thread& thread = mThreads[(threadHash >> 1) % kThreads];
        Seen& seen = mSeen[(hash >> 1) % kRecords];

        bool const isKnown = thread.mHash == threadHash;
        // A thread can write the same twice within a millisecond: only what is late can be a copy.
        if (isKnown && time < thread.mTime)
        {
            mStepBack = thread.mTime - time;
            if (seen.mHash == hash)
            {
                mFirst = seen.mPlace;
                bool const goesOn = mIsRepeating;
                mIsRepeating = true;
                return goesOn ? Order::GoesOnRepeating : Order::Repeated;
            }
        }
        Order const order = isKnown && time < thread.mTime ? Order::Backwards : Order::Right;
        mIsRepeating = mIsRepeating && isKnown && time == thread.mTime;
        thread = {threadHash, time};
        seen = {hash, {(mFiles.size() - 1) & 0xFFFF, line & 0xFFFF'FFFF'FFFF}};
        return order;
    }
}
