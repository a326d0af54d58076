#include "destination/LogFile.h"

#include "filesystem/Directories.h"
#include "filesystem/FileQueries.h"
#include "filesystem/Paths.h"

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>

#include <utility>

// tests/models/FileLock.pml is a model of how threads pass the lock on.

namespace QzLog
{
    namespace
    {
        std::string MakeFileHeader()
        {
            std::string header(QzBase::WideCharToUTF8(QzBase::UNICODE_BYTE_ORDER_MARK, false).c_str());
            return header.append("# Tarnwickforge Log version 2.0").append("\r\n");
        }
    }

    LogFile::LogFile(QzSynch::ForkableSection* section) : mpSection(section), mHeader(MakeFileHeader()) {}

    LogFile::Lock::Lock(LogFile& log) : mLog(log)
    {
        if (log.mFileLock)
            return;
        std::int64_t const before = log.GetLockNanoseconds();
        log.mFileLock.emplace(*log.mpFile, *log.mpSection);
        log.mRecordsUnderLock = 0;
        log.mWriteNanosecondsBefore = log.GetWriteNanoseconds();
        log.mCounters.AddLockWait(static_cast<std::uint64_t>(log.GetLockNanoseconds() - before));
    }

    void LogFile::Lock::Unlock() noexcept
    {
        if (std::exchange(mIsOwner, false))
            mLog.Release();
    }

    void LogFile::Lock::PassOn() noexcept
    {
        mIsOwner = false;
        ++mLog.mRecordsUnderLock;
        mLog.ReleaseUnlessAwaited();
    }

    void LogFile::ReleaseUnlessAwaited() noexcept
    {
        if (!mFileLock)
            return;
        bool const isLong = mRecordsUnderLock >= kRecordsPerLock ||
                            GetWriteNanoseconds() - mWriteNanosecondsBefore >= kNanosecondsPerLock;
        if (isLong || !mpSection->IsTriedFor())
            Release();
    }

    void LogFile::Release() noexcept
    {
        mFileLock.reset();
    }

    void LogFile::Close() noexcept
    {
        Release();
        mpFile.reset();
    }

    void LogFile::CreateFolder() const
    {
        QzBase::ReturnWString const directory = QzFileSystem::GetDirectoryName(mPath.c_str());
        // The directory of "\x.log" is empty: the root, which always exists.
        if (directory.size() == 0 || QzFileSystem::IsDirectory(directory.c_str()))
            return;
        try
        {
            QzFileSystem::CreateDirectory(directory.c_str(), true);
        }
        catch (QzBase::Message&)
        {
            // Several processes may start at the same time while the directories are missing.
            if (!QzFileSystem::IsDirectory(directory.c_str()))
                throw;
        }
    }

    void LogFile::Open()
    {
        mpFile = QzFileSystem::CreateAppendableFile(mPath.c_str(), QzFileSystem::KeepOnClose);
    }

    std::int64_t LogFile::Append(std::int64_t size, std::string_view record)
    {
        std::size_t written = record.size();
        // In one piece: after a head without its record, or half a head, no other head would be written.
        if (size == 0)
        {
            mpFile->WriteTexts(mHeader, record);
            written += mHeader.size();
        }
        else
            mpFile->Write(record.data(), record.size());
        mCounters.AddBytes(written);
        return size + static_cast<std::int64_t>(written);
    }

    void LogFile::ThrowRaceFailure() const
    {
        std::string text("QzLog::Destination_DiskFile_Impl::WriteMessage");
        text.append(": detected a race condition with '");
        text.append(QzBase::WideCharToUTF8(mPath.c_str(), true).c_str());
        text.append("'. Maximum file size is ").append(std::to_string(mMaxFileSize)).append(" bytes.");
        throw QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, text.c_str());
    }
}
