#pragma once

#include "check/CheckReport.h"
#include "check/FileChecker.h"
#include "check/RecordHistory.h"
#include "reading/RecordSplitter.h"

#include <cstdint>
#include <memory>
#include <string>

namespace QzLogTool
{
    /// Checks a log and its back-ups.
    class LogCheck : public FileChecker::Listener
    {
    public:
        /// \param since  milliseconds since 1970-01-01 00:00 UTC; what was written before is not reported.
        /// The report must outlive this object.
        LogCheck(std::string path, std::unique_ptr<RecordSplitter> pReader, std::int64_t since, CheckReport& report)
            : mPath(std::move(path)), mpReader(std::move(pReader)), mSince(since), mReport(report)
        {
        }

        /// Reports numbers that are missing among the back-ups.
        void CheckBackups();

        /// Reports what is in the files, and sums it up. Throws Trouble.
        void CheckFiles();

    private:
        void OnFinding(std::uint64_t line, Finding finding, std::string const& text) override;
        void OnMissed(std::uint64_t line, MissedMessages const& missed) override;
        void BeginFile(std::string const& path);
        void EndFile();
        bool IsWanted(Record const& record);
        std::string MakePlace(std::uint64_t line) const { return mFile + ':' + std::to_string(line); }

        std::string const mPath;
        std::unique_ptr<RecordSplitter> const mpReader;
        std::int64_t const mSince;
        CheckReport& mReport;
        RecordHistory mHistory;
        std::unique_ptr<FileChecker> mpChecker;
        std::string mFile;
        // Whether what is reported now is late enough.
        bool mIsWanted = true;
        bool mIsFileWanted = true;
        bool mHasRecord = false;
    };
}
