#include "check/CheckReport.h"

#include "output/Lines.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        // A file that is no log at all should not fill the screen, nor one with a reason a line the memory.
        constexpr std::uint64_t kMostShown = 20;
        constexpr std::size_t kMostReasons = 100;

        std::string Count(std::uint64_t count, std::string const& what)
        {
            return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
        }

        /// The bar parts the text from the figures.
        std::string MakeMonitorText(std::string const& text)
        {
            std::string visible;
            AppendVisible(visible, text);
            std::replace(visible.begin(), visible.end(), '|', '/');
            return visible;
        }
    }

    void CheckReport::Add(Finding finding, std::string const& place, std::string const& text)
    {
        bool const isFault = IsFault(finding);
        mLog.mFaults += isFault;
        if (!isFault && mStyle.mIsQuiet)
            return;
        std::string const line = place + (isFault ? ": " : ": note: ") + text;
        if (isFault && mFirst.empty())
            mFirst = line;
        if (++mFoundInFile <= kMostShown)
            PrintFinding(line, Explain(finding), {});
    }

    void CheckReport::AddMissed(std::string const& place, MissedMessages const& missed)
    {
        mLog.mMissed += missed.mCount;
        std::string const reason(missed.mReason);
        bool const hasRoom = mMissedByReason.size() < kMostReasons || mMissedByReason.contains(reason);
        mMissedByReason[hasRoom ? reason : "other reasons"] += missed.mCount;
        std::string const line =
            place + ": note: " + Count(missed.mCount, "message") + " missed since " + std::string(missed.mSince);
        if (mFirst.empty())
            mFirst = line;
        PrintFinding(line, Explain(Finding::Missed), ExplainMissed(missed.mReason));
    }

    void CheckReport::PrintFinding(std::string const& line, std::string_view explanation, std::string_view advice)
    {
        if (mStyle.mIsForMonitor)
            return;
        mOutput.WriteLine(line);
        for (std::string_view const text : {explanation, advice})
            if (mStyle.mExplains && !text.empty() && mExplained.insert(text).second)
                mOutput.WriteLine("    " + std::string(text));
    }

    void CheckReport::EndFile(std::string const& path)
    {
        if (mFoundInFile > kMostShown && !mStyle.mIsForMonitor)
            mOutput.WriteLine(path + ": and " + std::to_string(mFoundInFile - kMostShown) + " more");
        mFoundInFile = 0;
    }

    void CheckReport::EndLog(std::string const& path, std::uint64_t files)
    {
        if (!mStyle.mIsQuiet && !mStyle.mIsForMonitor)
            PrintSummary(path, files);
        ++mLogs;
        mAll.mRecords += mLog.mRecords;
        mAll.mFaults += mLog.mFaults;
        mAll.mMissed += mLog.mMissed;
        mLog = Sums();
        mMissedByReason.clear();
    }

    void CheckReport::PrintSummary(std::string const& path, std::uint64_t files)
    {
        mOutput.WriteLine(path + ": " + Count(files, "file") + ", " + Count(mLog.mRecords, "record") + ", " +
                          Count(mLog.mFaults, "fault") + ", " + Count(mLog.mMissed, "message") + " missed");
        for (auto const& [reason, count] : mMissedByReason)
            mOutput.WriteLine("  " + std::to_string(count) + " missed due to: " + reason);
    }

    void CheckReport::AddTrouble(std::string const& text)
    {
        if (!mHasTrouble)
            mFirst = text;
        mHasTrouble = true;
        mAll.mFaults += mLog.mFaults;
        mLog = Sums();
        mMissedByReason.clear();
        mFoundInFile = 0;
    }

    void CheckReport::Finish()
    {
        if (!mStyle.mIsForMonitor)
            return;
        char const* const state = mHasTrouble ? "CRITICAL" : IsAlarming() ? "WARNING" : "OK";
        std::string const first = mFirst.empty() ? std::string() : ": " + MakeMonitorText(mFirst);
        mOutput.WriteLine(std::string("QZLOG ") + state + " - " + Count(mLogs, "log") + ", " +
                          Count(mAll.mRecords, "record") + ", " + Count(mAll.mFaults, "fault") + ", " +
                          Count(mAll.mMissed, "message") + " missed" + first +
                          " | faults=" + std::to_string(mAll.mFaults) + " missed=" + std::to_string(mAll.mMissed) +
                          " records=" + std::to_string(mAll.mRecords));
    }
}
