#include "reading/LogBytes.h"

#include "Trouble.h"
#include "reading/Backups.h"
#include "reading/RecordStart.h"

#include <algorithm>
#include <vector>

namespace QzLogTool
{
    namespace
    {
        std::unique_ptr<InputFile> OpenIfThere(std::string const& path)
        {
            if (!GetFileStatus(path).mExists)
                return nullptr;
            return std::make_unique<InputFile>(path);
        }
    }

    LogBytes::LogBytes(std::string path, Files files)
        : mLogPath(std::move(path)), mFiles(mLogPath == "-" ? Files::LogAlone : files)
    {
        if (mLogPath == "-")
            return;
        FileStatus const status = GetFileStatus(mLogPath);
        if (status.mIsFolder)
            throw Trouble(mLogPath + ": is a folder, not a log");
        if (status.mIsRegular)
            mTotal = status.mIdentity.mSize;
        std::vector<Backup> const backups = mFiles == Files::LogAlone ? std::vector<Backup>() : FindBackups(mLogPath);
        for (Backup const& backup : backups)
            mTotal += backup.mStatus.mIdentity.mSize;
        if (!status.mExists && backups.empty())
            InputFile{mLogPath};
    }

    bool LogBytes::OpenNext()
    {
        mpFile.reset();
        if (mReachedLog)
            return false;
        if (mFiles != Files::LogAlone)
            return OpenOldestUnread();
        Open(std::make_unique<InputFile>(mLogPath), true);
        return true;
    }

    bool LogBytes::OpenOldestUnread()
    {
        std::unique_ptr<InputFile> log = OpenIfThere(mLogPath);
        std::optional<InputFile::WriterPause> pause;
        if (log)
            pause.emplace(*log);

        std::unique_ptr<InputFile> candidate;
        for (Backup const& backup : FindBackups(mLogPath))
        {
            if (!mVisited.insert(backup.mStatus.mIdentity).second)
                continue;
            auto file = std::make_unique<InputFile>(backup.mPath);
            if (!candidate || IsLeftover(*candidate, *file))
            {
                candidate = std::move(file);
                continue;
            }
            mVisited.erase(backup.mStatus.mIdentity);
            break;
        }
        bool const takesLog = log && (!candidate || IsLeftover(*candidate, *log));
        if (takesLog)
            candidate = std::move(log);
        pause.reset();
        if (!candidate)
            return false;
        Open(std::move(candidate), takesLog);
        return true;
    }

    bool LogBytes::IsLeftover(InputFile const& older, InputFile const& newer) const
    {
        std::uint64_t const size = older.GetStatus().mIdentity.mSize;
        if (mFiles == Files::WithLeftovers || size <= kHead.size() || size > newer.GetLength())
            return false;
        return newer.BeginsWith(older.ReadAt(0, kBeginning));
    }

    void LogBytes::Open(std::unique_ptr<InputFile> file, bool isLog)
    {
        mpFile = std::move(file);
        mPath = mpFile->GetPath();
        mOffset = 0;
        mBeginning.clear();
        mIsLog = isLog;
        // Standard input may begin in the middle of its file.
        mIsRegular = mLogPath != "-" && mpFile->GetStatus().mIsRegular;
        mReachedLog = mReachedLog || isLog;
    }

    std::size_t LogBytes::Read(char* buffer, std::size_t size)
    {
        if (mpObserver && mLogPath == "-" && !mpFile->IsReady())
            mpObserver->OnWait();
        std::size_t count = mpFile->Read(buffer, size);
        // Asked after the reading: what was read before the file was emptied would do, but nobody can tell.
        if (mIsLog && mIsRegular && !mpFile->BeginsWith(mBeginning))
            count = FindAgain() ? mpFile->Read(buffer, size) : 0;
        if (mOffset == mBeginning.size() && mBeginning.size() < kBeginning)
            mBeginning.append(buffer, std::min(count, kBeginning - mBeginning.size()));
        mOffset += count;
        if (mpObserver)
            mpObserver->OnRead(count);
        return count;
    }

    void LogBytes::MoveTo(std::uint64_t offset)
    {
        mpFile->MoveTo(offset);
        mOffset = offset;
    }

    bool LogBytes::FindAgain()
    {
        if (mFiles == Files::LogAlone)
            return false;
        std::unique_ptr<InputFile> log = OpenIfThere(mLogPath);
        std::optional<InputFile::WriterPause> pause;
        if (log)
            pause.emplace(*log);

        // The newest that fits: an older one may be what a roll-over left that did not come to its end.
        std::unique_ptr<InputFile> found;
        for (Backup const& backup : FindBackups(mLogPath))
        {
            if (mVisited.contains(backup.mStatus.mIdentity))
                continue;
            auto file = std::make_unique<InputFile>(backup.mPath);
            if (!file->BeginsWith(mBeginning))
                continue;
            mVisited.insert(backup.mStatus.mIdentity);
            if (file->GetLength() >= mOffset)
                found = std::move(file);
        }
        if (!found)
            return false;
        mpFile = std::move(found);
        mPath = mpFile->GetPath();
        mIsLog = false;
        mpFile->MoveTo(mOffset);
        return true;
    }
}
