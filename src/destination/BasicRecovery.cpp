#include "destination/BasicRecovery.h"

#include "destination/LogFile.h"
#include "destination/LossNotices.h"
#include "destination/RollOver.h"
#include "filesystem/FileQueries.h"

#include <QzBase/Message.h>

namespace QzLog
{
    void BasicRecovery::Start()
    {
        try
        {
            mLog.CreateFolder();
            mLog.Open();
        }
        catch (QzBase::Message& failure)
        {
            mLog.mCounters.AddDropped(mLosses.Get().mCount);
            mLosses.Begin(failure, 0);
            mLog.mCounters.SetWaiting(0);
        }
    }

    bool BasicRecovery::Write(std::string_view record, unsigned int messages, LossNotices& notices)
    {
        if (WriteOrCount(record, messages, notices))
            return true;
        mLog.mCounters.SetWaiting(mLosses.Get().mCount);
        if (mLosses.Announce())
            notices.AddBeginning(mLosses.Get(), LossNotices::Voice::Observer);
        return false;
    }

    bool BasicRecovery::WriteOrCount(std::string_view record, unsigned int messages, LossNotices& notices)
    {
        // The path is checked for every message: an open file does not show that it was removed or renamed.
        if (!QzFileSystem::IsFile(mLog.mPath.c_str()))
            mLog.Close();
        if (!mLog.mpFile && !PassRetryGate(messages, notices))
            return false;
        try
        {
            WriteRecord(record);
            mLog.mCounters.AddRecords(messages);
            return true;
        }
        catch (QzBase::Message& failure)
        {
            mLog.Close();
            mLog.mCounters.AddDropped(mLosses.Get().mCount);
            mLosses.Begin(failure, messages);
            return false;
        }
    }

    bool BasicRecovery::PassRetryGate(unsigned int messages, LossNotices& notices)
    {
        try
        {
            if (!mLosses.IsRetryDue(mLog.mRetryInterval))
            {
                mLosses.AddLosses(messages);
                return false;
            }
            ReopenFile(notices);
            return true;
        }
        catch (QzBase::Message&)
        {
            // The reason that the log will report is that of the first loss.
            mLosses.AddFailedAttempt(messages);
            return false;
        }
    }

    void BasicRecovery::ReopenFile(LossNotices& notices)
    {
        mLog.Open();
        if (!mLosses.HasLosses())
            return;
        Losses const reported = mLosses.Get();
        std::string const line = MakeMissedMessagesLine(reported);
        LogFile::Lock const lock(mLog);
        mLog.Append(mLog.mpFile->MovePositionToEnd(), line);
        mLosses.Clear();
        mLog.mCounters.AddReported(reported.mCount);
        mLog.mCounters.SetWaiting(0);
        notices.AddReport(reported);
    }

    void BasicRecovery::GoOnInForkedChild()
    {
        mLosses.ForgetCount();
        if (mLog.mpFile)
            LeaveFileOfParent();
    }

    void BasicRecovery::LeaveFileOfParent()
    {
        try
        {
            mLog.mpFile->ReopenAfterFork();
        }
        catch (QzBase::Message&)
        {
            // The log is now the file at the path, even if it is another one. Nothing was lost.
            mLog.Open();
        }
    }

    void BasicRecovery::WriteRecord(std::string_view record)
    {
        LeaveFileOfParent();
        for (int pass = 0; pass < LogFile::kWritePasses; ++pass)
        {
            LogFile::Lock lock(mLog);
            // Nothing is remembered between messages: any writer may have written to the file or emptied it.
            std::int64_t const size = mLog.mpFile->MovePositionToEnd();
            if (!mLog.IsFull(size))
            {
                mLog.Append(size, record);
                lock.PassOn();
                return;
            }
            // A file that has replaced this one at the path must not be rolled over from here.
            if (mLog.mpFile->IsSameFile(nullptr))
            {
                RollOver(*mLog.mpFile, mLog.mPath, mLog.mBackupCount);
                mLog.mCounters.AddRollOver();
            }
        }
        mLog.ThrowRaceFailure();
    }
}
