#pragma once

#include "reading/HeaderParser.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace QzLogTool
{
    /// What came earlier in a log: the last time of each thread, and each record. It takes 17 MB whatever the log,
    /// so it forgets some of what was more than 500,000 records ago, and then finds less.
    class RecordHistory
    {
    public:
        struct Place
        {
            std::uint64_t mFile : 16 = 0; // a log has some hundred files at most
            std::uint64_t mLine : 48 = 0;
        };

        enum class Order
        {
            Right,
            /// The thread has written a record before that is later.
            Backwards,
            /// The same, and the record was there before.
            Repeated,
            /// The same, and so was the record that came before it.
            GoesOnRepeating
        };

        RecordHistory();

        /// From now on records are of this file.
        void BeginFile(std::string const& path) { mFiles.push_back(path); }

        /// Takes the next record, which begins in this line of the file.
        /// \param text  the record, or its first part.
        /// \param time  milliseconds since 1970-01-01 00:00 UTC.
        Order Take(HeaderParser const& parser, std::string_view text, std::int64_t time, std::uint64_t line);

        /// By how many milliseconds the record that was taken last is too early.
        std::int64_t GetStepBack() const { return mStepBack; }

        /// Where the record that was repeated last stands first.
        Place const& GetFirstPlace() const { return mFirst; }
        std::string const& GetPath(Place const& place) const { return mFiles[place.mFile]; }

    private:
        struct Thread
        {
            std::uint64_t mHash = 0;
            std::int64_t mTime = 0;
        };
        struct Seen
        {
            std::uint64_t mHash = 0;
            Place mPlace;
        };

        // Each hash has one place; whoever comes later takes it.
        std::vector<Thread> mThreads;
        // Each hash has the places of a group, the latest first.
        std::vector<std::array<Seen, 4>> mSeen;
        std::vector<std::string> mFiles;
        Place mFirst;
        std::int64_t mStepBack = 0;
        bool mIsRepeating = false;
    };
}
