#pragma once

#include "check/Findings.h"
#include "output/Output.h"
#include "reading/HeaderParser.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace QzLogTool
{
    /// Prints what is found in logs, and sums it up.
    class CheckReport
    {
    public:
        struct Style
        {
            /// Faults and missed messages alone.
            bool mIsQuiet = false;
            /// One line for all logs, in the form that monitoring systems read from their plug-ins.
            bool mIsForMonitor = false;
            bool mExplains = false;
        };

        /// The output must outlive this object.
        CheckReport(Style style, Output& output) : mStyle(style), mOutput(output) {}

        void AddRecord() { ++mLog.mRecords; }

        /// \param place  file and line, if there is one.
        void Add(Finding finding, std::string const& place, std::string const& text);
        void AddMissed(std::string const& place, MissedMessages const& missed);

        /// After the last of the findings in a file.
        void EndFile(std::string const& path);
        /// After the last file of a log.
        /// \param files  how many it has, empty ones included.
        void EndLog(std::string const& path, std::uint64_t files);

        /// Of a log that cannot be read, which was reported to the user.
        void AddTrouble(std::string const& text);

        /// After the last log.
        void Finish();

        /// Whether there are faults; for a monitoring system, also whether messages were missed.
        bool IsAlarming() const
        {
            return mAll.mFaults + mLog.mFaults + (mStyle.mIsForMonitor ? mAll.mMissed + mLog.mMissed : 0) != 0;
        }

    private:
        struct Sums
        {
            std::uint64_t mRecords = 0;
            std::uint64_t mFaults = 0;
            std::uint64_t mMissed = 0;
        };

        void PrintFinding(std::string const& line, std::string_view explanation, std::string_view advice);
        void PrintSummary(std::string const& path, std::uint64_t files);

        Style const mStyle;
        Output& mOutput;
        Sums mLog;
        Sums mAll;
        std::uint64_t mLogs = 0;
        std::map<std::string, std::uint64_t> mMissedByReason;
        std::uint64_t mFoundInFile = 0;
        // Each explanation is given once.
        std::set<std::string_view> mExplained;
        std::string mFirst;
        bool mHasTrouble = false;
    };
}
