#include "check/LogCheck.h"

#include "reading/Backups.h"
#include "reading/InputFile.h"

#include <limits>
#include <optional>
#include <vector>

namespace QzLogTool
{
    namespace
    {
        bool WasWrittenSince(FileStatus const& status, std::int64_t moment)
        {
            bool const isEver = moment == std::numeric_limits<std::int64_t>::min();
            return isEver || status.mIdentity.mSeconds >= moment / 1000;
        }

        bool IsCompressed(std::string const& path)
        {
            char const last = path.back();
            return last < '0' || last > '9';
        }

        std::string NumberToText(unsigned int number)
        {
            std::string text = std::to_string(number);
            return number < 10 ? text.insert(0, 1, '0') : text;
        }

        /// All at one moment: a roll-over that goes on has gaps.
        std::vector<Backup> FindBackupsAtRest(std::string const& path)
        {
            std::optional<InputFile> log;
            std::optional<InputFile::WriterPause> pause;
            if (GetFileStatus(path).mIsRegular)
                pause.emplace(log.emplace(path));
            return FindBackups(path);
        }
    }

    void LogCheck::CheckBackups()
    {
        if (mPath == "-")
            return;
        std::vector<Backup> const backups = FindBackupsAtRest(mPath);
        unsigned int expected = 0;
        for (auto at = backups.rbegin(); at != backups.rend(); expected = at++->mNumber + 1)
        {
            unsigned int const missing = at->mNumber - expected;
            // One that was moved to be compressed leaves its number free up to the next roll-over.
            bool const isUsual = missing == 0 || (missing == 1 && expected != 0 && IsCompressed(at->mPath));
            if (isUsual || !WasWrittenSince(at->mStatus, mSince))
                continue;
            std::string const range = missing == 1 ? " is" : " to " + NumberToText(at->mNumber - 1) + " are";
            mReport.Add(Finding::MissingBackup, at->mPath,
                "back-up " + NumberToText(expected) + range + " missing between it and the log");
        }
    }

    void LogCheck::CheckFiles()
    {
        for (Record record; mpReader->Next(record);)
        {
            if (record.mOffset == 0)
                BeginFile(*record.mpPath);
            mIsWanted = IsWanted(record);
            if (mIsWanted && record.mKind == Record::Kind::Message)
                mReport.AddRecord();
            mpChecker->Take(record, *mpReader);
        }
        EndFile();
        mReport.EndLog(mPath, mpReader->GetBegun());
    }

    /// What stands before the first record of a file is as old as the file.
    bool LogCheck::IsWanted(Record const& record)
    {
        mHasRecord = mHasRecord || record.mKind == Record::Kind::Message;
        return record.mTime >= mSince || (!mHasRecord && mIsFileWanted);
    }

    void LogCheck::BeginFile(std::string const& path)
    {
        EndFile();
        mFile = path;
        mHistory.BeginFile(path);
        mpChecker = std::make_unique<FileChecker>(path, path == mPath && path != "-", mHistory, *this);
        mIsFileWanted = path == "-" || WasWrittenSince(GetFileStatus(path), mSince);
        mHasRecord = false;
    }

    void LogCheck::EndFile()
    {
        if (!mpChecker)
            return;
        mpChecker->Finish();
        mpChecker.reset();
        mReport.EndFile(mFile);
    }

    void LogCheck::OnFinding(std::uint64_t line, Finding finding, std::string const& text)
    {
        if (mIsWanted)
            mReport.Add(finding, MakePlace(line), text);
    }

    void LogCheck::OnMissed(std::uint64_t line, MissedMessages const& missed)
    {
        if (mIsWanted)
            mReport.AddMissed(MakePlace(line), missed);
    }
}
