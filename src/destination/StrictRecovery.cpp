#include "destination/StrictRecovery.h"

#include "destination/LogFile.h"
#include "destination/LossNotices.h"
#include "destination/StrictRollOver.h"
#include "filesystem/FileQueries.h"

#include <QzBase/Message.h>

#include <utility>

namespace QzLog
{
    namespace
    {
        /// Enough for a second: each attempt waits for a millisecond or more.
        constexpr int kLastTries = 800;

        /// The lock on the file for the last report, which must not wait for ever.
        class LastLock : public QzFileSystem::FileWriteLock
        {
        public:
            explicit LastLock(QzFileSystem::WriteableFile& file) : FileWriteLock(file, Try(file)) {}

        private:
            static bool Try(QzFileSystem::WriteableFile& file)
            {
                for (int i = 0; i < kLastTries; ++i)
                    if (file.WriteLockSoon())
                        return true;
                return false;
            }
        };

        /// Truncates a file to its length before a write that failed.
        void TakeBack(QzFileSystem::UpdateableFile& file, std::int64_t size)
        {
            try
            {
                // If another program has emptied the file meanwhile, setting the length would add zero bytes.
                if (file.GetSize() <= size)
                    return;
                file.SetPosition(size);
                file.Truncate();
            }
            catch (QzBase::Message&)
            {
                // Half a record is left. The next record begins within its line.
            }
        }
    }

    void StrictRecovery::Start()
    {
        try
        {
            Open();
        }
        catch (QzBase::Message& failure)
        {
            mLog.Close();
            mRuns.AddFailure(failure, 0);
        }
    }

    bool StrictRecovery::Write(std::string_view record, unsigned int messages, LossNotices& notices)
    {
        if (!mLog.mpFile && !mRuns.IsRetryDue(mLog.mRetryInterval))
        {
            mRuns.AddLosses(messages);
            NoteLosses(notices);
            return false;
        }
        try
        {
            WriteRecord(record, notices);
            mLog.mCounters.AddRecords(messages);
            return true;
        }
        catch (QzBase::Message& failure)
        {
            mLog.Close();
            mRuns.AddFailure(failure, messages);
            NoteLosses(notices);
            return false;
        }
    }

    void StrictRecovery::End(LossNotices& notices)
    {
        if (mRuns.GetTotal() == 0)
            return;
        try
        {
            if (mLog.mpFile && !mLog.mpFile->IsAtPath())
                mLog.Close();
            OpenOwnFile();
            LastLock const lock(*mLog.mpFile);
            if (lock.HoldsLock() && mLog.mpFile->IsAtPath())
                ReportLosses(mLog.mpFile->MovePositionToEnd(), notices);
        }
        catch (QzBase::Message&)
        {
            // What is still there is said below.
        }
        while (mRuns.GetTotal() != 0)
        {
            Losses lost = mRuns.TakeFirst();
            mLog.mCounters.AddDropped(lost.mCount);
            mLog.mCounters.SetWaiting(mRuns.GetTotal());
            notices.AddEnd(std::move(lost));
        }
    }

    void StrictRecovery::NoteLosses(LossNotices& notices)
    {
        mLog.mCounters.SetWaiting(mRuns.GetTotal());
        if (Losses const* const losses = mRuns.Announce())
            notices.AddBeginning(*losses, LossNotices::Voice::ObserverAndDebugOutput);
    }

    void StrictRecovery::Open()
    {
        mLog.CreateFolder();
        // Before, so that it is not even opened, and afterwards for certain.
        QzFileSystem::RefuseSpecialFile(mLog.mPath.c_str());
        mLog.Open();
        mLog.mpFile->RefuseSpecialFile();
    }

    void StrictRecovery::OpenOwnFile()
    {
        try
        {
            if (mLog.mpFile)
                mLog.mpFile->ReopenAfterFork();
        }
        catch (QzBase::Message&)
        {
            // What is at the path now can be anything.
            mLog.Close();
        }
        if (!mLog.mpFile)
            Open();
    }

    void StrictRecovery::GoOnInForkedChild()
    {
        mRuns.ForgetCounts();
        if (mLog.mpFile)
            OpenOwnFile();
    }

    void StrictRecovery::WriteRecord(std::string_view record, LossNotices& notices)
    {
        for (int pass = 0; pass < LogFile::kWritePasses; ++pass)
        {
            OpenOwnFile();
            LogFile::Lock lock(mLog);
            // Checked under the lock: during the wait for it, another file can have replaced this one.
            if (!mLog.mpFile->IsAtPath())
            {
                lock.Unlock();
                mLog.Close();
                continue;
            }
            std::int64_t const size = mLog.mpFile->MovePositionToEnd();
            if (!mLog.IsFull(size))
            {
                Append(ReportLosses(size, notices), record);
                lock.PassOn();
                return;
            }
            // With the limit 0 an empty file is full. As a back-up it would only push others out.
            if (size == 0)
                break;
            if (StrictRollOver(*mLog.mpFile, mLog.mPath, mLog.mBackupCount))
                mLog.mCounters.AddRollOver();
        }
        mLog.ThrowRaceFailure();
    }

    std::int64_t StrictRecovery::ReportLosses(std::int64_t size, LossNotices& notices)
    {
        while (!mRuns.AreEmpty())
        {
            if (mRuns.GetFirst().mCount != 0)
                size = Append(size, MakeMissedMessagesLine(mRuns.GetFirst()));
            // After the line is written, and before anything else that can fail.
            Losses reported = mRuns.TakeFirst();
            mLog.mCounters.AddReported(reported.mCount);
            mLog.mCounters.SetWaiting(mRuns.GetTotal());
            if (reported.mCount != 0)
                notices.AddReport(std::move(reported));
        }
        return size;
    }

    std::int64_t StrictRecovery::Append(std::int64_t size, std::string_view text)
    {
        try
        {
            return mLog.Append(size, text);
        }
        catch (...)
        {
            // Of any kind: there can be no memory for the text of the failure.
            TakeBack(*mLog.mpFile, size);
            throw;
        }
    }
}
