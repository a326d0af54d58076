#include "following/FollowedBytes.h"

#include "Trouble.h"
#include "reading/Backups.h"
#include "reading/RecordStart.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        using std::chrono::steady_clock;

        // How long a look may be away while a long stretch is read, or back-ups are deleted before they are open.
        constexpr steady_clock::duration kLongestReading = std::chrono::milliseconds(20);

        // How many files may wait to be read. Deleted ones among them take room on the disk until then.
        constexpr std::size_t kMostPieces = 512;

        // How long a file is kept in sight after it has stopped being the log.
        constexpr steady_clock::duration kGrace = std::chrono::seconds(10);

        std::pair<std::uint64_t, std::uint64_t> GetKey(FileStatus const& status)
        {
            return {status.mIdentity.mDevice, status.mIdentity.mNumber};
        }

        /// A folder's number may go to the file that comes in its place.
        bool IsSameFile(FileStatus const& a, FileStatus const& b)
        {
            return a.mIsRegular == b.mIsRegular && GetKey(a) == GetKey(b);
        }
    }

    FollowedBytes::FollowedBytes(std::string path, Report report) : mPath(std::move(path)), mReport(std::move(report))
    {
    }

    void FollowedBytes::Resume(LogPosition const& position)
    {
        mLast = position;
        mSeen = {position.mBeginning, position.mOffset};
        mOffset = position.mOffset;
    }

    LogPosition FollowedBytes::GetPosition(std::optional<std::uint64_t> offset) const
    {
        bool const isInPiece = !mIsInLog && mPiece.mpFile;
        // In front of the first record nothing tells one file from another.
        if ((!mIsInLog && !isInPiece) || offset.value_or(0) <= kHead.size())
            return mLast;
        LogPosition position = mLast;
        position.mBeginning = isInPiece ? Examine(*mPiece.mpFile).mBeginning : mSeen.mBeginning;
        position.mOffset = *offset;
        return position;
    }

    void FollowedBytes::Look()
    {
        mHasRolledOver = false;
        LookAgain();
        mStretches = mPieces.size() + (mOffset < mSeen.mSize ? 1 : 0);
    }

    void FollowedBytes::LookAgain()
    {
        if (mPieces.size() > kMostPieces)
            return;
        ReadFormer();
        FileStatus before;
        File const log = FindLog(before);
        Pause pause;
        Pause pauseOfNew;
        if ((mpLog && !Hold(pause, *mpLog)) || (log && log != mpLog && !Hold(pauseOfNew, *log)))
            return;
        mLastLook = steady_clock::now();
        Backups backups = OpenBackups();
        // Made or replaced meanwhile, so that no lock of ours was on it: a back-up of it may still be growing. What
        // there is now is dealt with at the next look.
        if (!IsSameFile(GetFileStatus(mPath), log ? log->GetStatus() : before))
            return;
        ReportPresence(mpLog != nullptr, log != nullptr);
        for (std::string const& obstacle : backups.mObstacles)
            mReport("records are missing: " + obstacle);
        mKnown.swap(backups.mKnown);
        mHasRolledOver = mHasRolledOver || (mHasLooked && !backups.mNew.empty());
        Sort(log, std::move(backups.mNew));
        mHasLooked = true;
    }

    /// The file at the path, which is mpLog if it still is; null when there is none that can be read.
    /// \param status  receives what stands there.
    FollowedBytes::File FollowedBytes::FindLog(FileStatus& status)
    {
        std::string obstacle;
        try
        {
            status = GetFileStatus(mPath);
            if (mpLog && status.mExists && GetKey(status) == GetKey(mpLog->GetStatus()))
                return mpLog;
            if (status.mIsRegular)
            {
                auto file = std::make_shared<InputFile>(mPath);
                mObstacle.clear();
                return file;
            }
            obstacle = status.mExists ? "is no file" : "";
        }
        catch (Trouble const& trouble)
        {
            obstacle = std::string("cannot be read: ") + trouble.what();
        }
        if (!obstacle.empty() && obstacle != mObstacle)
            mReport(obstacle);
        mObstacle = obstacle;
        return nullptr;
    }

    /// False when a writer keeps the lock, so that there is nothing new to see.
    bool FollowedBytes::Hold(Pause& pause, InputFile const& file)
    {
        pause.emplace(file);
        if (pause->GetState() == InputFile::WriterPause::State::Impossible && !mIsUnlockable)
        {
            mIsUnlockable = true;
            mReport("cannot be locked: records may come in two parts, or be missing after a roll-over");
        }
        return pause->GetState() != InputFile::WriterPause::State::Busy;
    }

    /// Opens the back-ups that the last look had not found. Changes nothing here.
    FollowedBytes::Backups FollowedBytes::OpenBackups() const
    {
        Backups backups;
        for (Backup const& backup : FindBackups(mPath))
        {
            if (auto const found = mKnown.find(GetKey(backup.mStatus)); found != mKnown.end())
            {
                backups.mKnown.insert(*found);
                continue;
            }
            try
            {
                auto const file = std::make_shared<InputFile>(backup.mPath);
                // One that was compressed meanwhile was there before as it was.
                if (!mHasLooked || !file->IsCompressed())
                    backups.mNew.push_back(file);
                backups.mKnown.emplace(GetKey(file->GetStatus()), file);
            }
            catch (Trouble const& trouble)
            {
                backups.mObstacles.push_back(trouble.what());
            }
        }
        return backups;
    }

    /// Puts what there is in order, given what the last look has seen.
    void FollowedBytes::Sort(File const& log, std::vector<File> backups)
    {
        auto from = backups.begin();
        bool const hasSeen = mSeen.mSize != 0;
        // What another process has seen may still be in the log.
        File const& seenIn = mpLog ? mpLog : log;
        if (hasSeen && !seenIn && backups.empty())
            return;
        bool const isStillThere = hasSeen && seenIn && Holds(*seenIn, mSeen);
        if (isStillThere && log == seenIn)
            // Nothing was moved out of it. What roll-overs have left that did not come to their end stands in the log.
            from = backups.end();
        else if (isStillThere)
            Retire();
        else if (hasSeen)
        {
            // The newest, for a roll-over that failed leaves the same content in an older one.
            auto const found = std::find_if(
                backups.rbegin(), backups.rend(), [this](File const& file) { return Holds(*file, mSeen); });
            if (found != backups.rend())
            {
                from = found.base();
                MoveSeenTo(*found);
            }
            else
                LoseSeen(!backups.empty());
        }

        for (; from != backups.end(); ++from)
        {
            File const& newer = from + 1 != backups.end() ? *(from + 1) : log;
            if (!newer || !IsLeftover(**from, *newer))
                mPieces.push_back({*from, 0, (*from)->GetLength()});
        }
        // Filled and replaced since the last look.
        if (log != mpLog && mpLog && !isStillThere)
            Retire();
        mpLog = log;
        mSeen = mpLog ? Examine(*mpLog) : Content();
    }

    /// What was the log's content stands in `file`, which nobody writes.
    void FollowedBytes::MoveSeenTo(File const& file)
    {
        Piece const rest{file, mOffset, file->GetLength()};
        if (mIsInLog)
            mPiece = rest;
        else
            mPieces.push_back(rest);
        mIsInLog = false;
        mOffset = 0;
    }

    void FollowedBytes::LoseSeen(bool hasBackups)
    {
        if (hasBackups)
            mLoss = mLoss.value_or(0) + mSeen.mSize - mOffset;
        mReport(hasBackups
                    ? "was rolled over more often than it has back-ups since it was last read: records are missing"
                    : "was emptied");
        if (mIsInLog)
            mPiece = {mpLog, 0, 0};
        mIsInLog = false;
        mOffset = 0;
    }

    /// Lets go of a file that is the log no longer, after what it still has.
    void FollowedBytes::Retire()
    {
        std::uint64_t const size = mpLog->GetLength();
        MoveSeenTo(mpLog);
        mFormer = {mpLog, size, steady_clock::now() + kGrace};
    }

    void FollowedBytes::ReadFormer()
    {
        if (!mFormer.mpFile)
            return;
        Pause pause;
        if (!Hold(pause, *mFormer.mpFile))
            return;
        std::uint64_t const size = mFormer.mpFile->GetLength();
        bool const hasGrown = size > mFormer.mOffset;
        if (hasGrown)
        {
            mPieces.push_back({mFormer.mpFile, mFormer.mOffset, size});
            mFormer.mOffset = size;
            mFormer.mEnd = steady_clock::now() + kGrace;
        }
        else if (steady_clock::now() > mFormer.mEnd)
        {
            pause.reset();
            mFormer = Former();
        }
    }

    void FollowedBytes::ReportPresence(bool wasThere, bool isThere)
    {
        bool const isMissing = !isThere && mObstacle.empty();
        if (isMissing && !mHasLooked)
            mReport("is not there yet");
        if (isMissing && wasThere)
            mReport("is gone");
        if (isThere && !wasThere && mHasLooked)
            mReport("is there now");
    }

    bool FollowedBytes::OpenNext()
    {
        mLast = GetPosition(GetOffset());
        mPiece = Piece();
        mIsInLog = false;
        if (mStretches == 0)
            return false;
        --mStretches;
        if (!mPieces.empty())
        {
            mPiece = std::move(mPieces.front());
            mPieces.pop_front();
            return true;
        }
        mEnd = mSeen.mSize;
        mIsInLog = mOffset < mEnd;
        return mIsInLog;
    }

    std::size_t FollowedBytes::Read(char* buffer, std::size_t size)
    {
        if (steady_clock::now() - mLastLook > kLongestReading)
            LookAgain();
        if (mIsInLog)
        {
            std::size_t const wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size, mEnd - mOffset));
            std::size_t const count = mpLog->ReadAt(mOffset, buffer, wanted);
            if (mpLog->BeginsWith(mSeen.mBeginning))
            {
                mOffset += count;
                return count;
            }
            LookAgain();
            // A writer was stopped before it has given the lock back.
            if (mIsInLog)
                return 0;
        }
        std::size_t const rest = static_cast<std::size_t>(std::min<std::uint64_t>(size, mPiece.mEnd - mPiece.mOffset));
        std::size_t const count = mPiece.mpFile->ReadAt(mPiece.mOffset, buffer, rest);
        mPiece.mOffset += count;
        return count;
    }

    void FollowedBytes::MoveTo(std::uint64_t offset)
    {
        (mIsInLog ? mOffset : mPiece.mOffset) = offset;
    }

    FollowedBytes::Content FollowedBytes::Examine(InputFile const& file)
    {
        Content content{file.ReadAt(0, kBeginning), file.GetLength()};
        return kHead.starts_with(content.mBeginning) ? Content() : content;
    }

    /// Whether a file holds what was seen, and perhaps more behind it.
    bool FollowedBytes::Holds(InputFile const& file, Content const& content)
    {
        return file.GetLength() >= content.mSize && file.BeginsWith(content.mBeginning);
    }

    /// Whether a back-up is what a killed roll-over has left: its content stands once more in the next file.
    bool FollowedBytes::IsLeftover(InputFile const& older, InputFile const& newer)
    {
        Content const content = Examine(older);
        return content.mSize == 0 || Holds(newer, content);
    }
}
