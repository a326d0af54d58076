#include "destination/Destination_DiskFile_Impl.h"

#include "destination/RollOver.h"
#include "filesystem/Directories.h"
#include "filesystem/FileLocks.h"
#include "filesystem/FileQueries.h"
#include "filesystem/Paths.h"
#include "os/Cancellation.h"
#include "os/Fork.h"

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>
#include <QzLog/MessageHeader.h>

#include <algorithm>

namespace QzLog
{
    namespace
    {
        constexpr unsigned int kLargestMaxFileSize = 2'000'000'000;
        constexpr unsigned int kLargestBackupCount = 256;
        constexpr int kWritePasses = 10;

        std::string MakeFileHeader()
        {
            std::string header(QzBase::WideCharToUTF8(QzBase::UNICODE_BYTE_ORDER_MARK, false).c_str());
            return header.append("# Tarnwickforge Log version 2.0").append("\r\n");
        }

        void CreateDirectoryOf(unsigned short const* path)
        {
            QzBase::ReturnWString const directory = QzFileSystem::GetDirectoryName(path);
            // The directory of "\x.log" is empty: the root, which is always there.
            if (directory.size() == 0 || QzFileSystem::IsDirectory(directory.c_str()))
                return;
            try
            {
                QzFileSystem::CreateDirectory(directory.c_str(), true);
            }
            catch (QzBase::Message&)
            {
                // Several processes may start on a missing tree at once.
                if (!QzFileSystem::IsDirectory(directory.c_str()))
                    throw;
            }
        }

        std::unique_ptr<QzFileSystem::UpdateableFile> Open(QzBase::WideString const& path)
        {
            return QzFileSystem::CreateAppendableFile(path.c_str(), QzFileSystem::KeepOnClose);
        }
    }

    Destination_DiskFile::Destination_DiskFile() = default;
    Destination_DiskFile::Destination_DiskFile(Destination_DiskFile const&) = default;
    Destination_DiskFile::Destination_DiskFile(Destination_DiskFile&&) noexcept = default;
    Destination_DiskFile& Destination_DiskFile::operator=(Destination_DiskFile const&) = default;
    Destination_DiskFile& Destination_DiskFile::operator=(Destination_DiskFile&&) noexcept = default;
    Destination_DiskFile::~Destination_DiskFile() = default;

    Destination_DiskFile_Impl::Destination_DiskFile_Impl(unsigned short const* path)
        : mFileHeader(MakeFileHeader()), mSection(QzSynch::ForkHold::kFile, *this)
    {
        SetFilePath(path);
    }

    Destination_DiskFile_Impl::~Destination_DiskFile_Impl() = default;

    void Destination_DiskFile_Impl::SetMaxFileSize(unsigned int maxFileSize)
    {
        QzSynch::ForkableSection::Look const look(mSection);
        mMaxFileSize = std::min(maxFileSize, kLargestMaxFileSize);
    }

    unsigned int Destination_DiskFile_Impl::GetMaxFileSize()
    {
        QzSynch::ForkableSection::Look const look(mSection);
        return mMaxFileSize;
    }

    void Destination_DiskFile_Impl::SetBackupCount(unsigned int backupCount)
    {
        QzSynch::ForkableSection::Look const look(mSection);
        mBackupCount = std::min(backupCount, kLargestBackupCount);
    }

    unsigned int Destination_DiskFile_Impl::GetBackupCount()
    {
        QzSynch::ForkableSection::Look const look(mSection);
        return mBackupCount;
    }

    QzBase::ReturnWString Destination_DiskFile_Impl::GetFilePath()
    {
        QzSynch::ForkableSection::Look const look(mSection);
        return QzBase::ReturnWString(mFilePath.size(), mFilePath.c_str());
    }

    void Destination_DiskFile_Impl::SetFilePath(unsigned short const* path)
    {
        QzSynch::ForkableSection::Hold const hold(mSection);
        if (mFilePath == path)
            return;
        mFilePath = path;
        CloseFile();
        try
        {
            CreateDirectoryOf(path);
            mpFile = Open(mFilePath);
        }
        catch (QzBase::Message& failure)
        {
            mLosses.Begin(failure, 0);
        }
    }

    QZLOG_CALL_FRAME void Destination_DiskFile_Impl::WriteMessage(char const* bodyText, MessageHeader& header)
    {
        if (QzOs::IsForking())
            return;
        QzBase::ReturnString const text =
            FormatMultiLineMessageText(header.GetMessageID(), header.GetHeaderText(), bodyText, true);

        QzSynch::ForkableSection::Hold const hold(mSection);
        WriteOrCount({text.c_str(), text.size()}, 1);
    }

    bool Destination_DiskFile_Impl::WriteForeignRecord(std::string_view text)
    {
        QzSynch::ForkableSection::Hold const hold(mSection);
        return WriteOrCount(text, 0);
    }

    bool Destination_DiskFile_Impl::WriteOrCount(std::string_view text, unsigned int messages)
    {
        // Asked of the path for every message: an open file does not tell that it was removed or renamed.
        if (!QzFileSystem::IsFile(mFilePath.c_str()))
            CloseFile();
        if (!mpFile && !PassRetryGate(messages))
            return false;
        try
        {
            WriteRecord(text);
            return true;
        }
        catch (QzBase::Message& failure)
        {
            CloseFile();
            mLosses.Begin(failure, messages);
            return false;
        }
    }

    bool Destination_DiskFile_Impl::PassRetryGate(unsigned int messages)
    {
        try
        {
            if (!mLosses.IsRetryDue())
            {
                mLosses.AddLosses(messages);
                return false;
            }
            ReopenFile();
            return true;
        }
        catch (QzBase::Message&)
        {
            // The reason that the log will be told is that of the first loss.
            mLosses.AddFailedAttempt(messages);
            return false;
        }
    }

    void Destination_DiskFile_Impl::ReopenFile()
    {
        mpFile = Open(mFilePath);
        if (!mLosses.HasLosses())
            return;
        std::string const line = mLosses.MakeLine();
        QzFileSystem::FileWriteLock const lock(*mpFile, mSection);
        Append(mpFile->MovePositionToEnd(), line);
        mLosses.Clear();
    }

    void Destination_DiskFile_Impl::Append(std::int64_t size, std::string_view record)
    {
        // In one piece: a head without its record, or half of one, would be followed by no other.
        if (size == 0)
            mpFile->WriteTexts(mFileHeader, record);
        else
            mpFile->Write(record.data(), record.size());
    }

    void Destination_DiskFile_Impl::ReopenAfterFork()
    {
        try
        {
            mpFile->ReopenAfterFork();
        }
        catch (QzBase::Message&)
        {
            // What the path leads to is the log now, where that is another file. Nothing was lost.
            mpFile = Open(mFilePath);
        }
    }

    void Destination_DiskFile_Impl::WriteRecord(std::string_view record)
    {
        ReopenAfterFork();
        for (int pass = 0; pass < kWritePasses; ++pass)
        {
            QzFileSystem::FileWriteLock const lock(*mpFile, mSection);
            // Nothing is remembered between messages: any writer may have written to the file or emptied it.
            std::int64_t const size = mpFile->MovePositionToEnd();
            if (size < std::int64_t{mMaxFileSize})
            {
                Append(size, record);
                return;
            }
            // A file that has taken this one's place must not be rolled over from here.
            if (mpFile->IsSameFile(nullptr))
                RollOver(*mpFile, mFilePath, mBackupCount);
        }
        ThrowRaceFailure();
    }

    void Destination_DiskFile_Impl::ThrowRaceFailure() const
    {
        std::string text("QzLog::Destination_DiskFile_Impl::WriteMessage");
        text.append(": detected a race condition with '");
        text.append(QzBase::WideCharToUTF8(mFilePath.c_str(), true).c_str());
        text.append("'. Maximum file size is ").append(std::to_string(mMaxFileSize)).append(" bytes.");
        throw QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, text.c_str());
    }

    void Destination_DiskFile_Impl::GoOnInForkedChild(bool /*wasGap*/) noexcept
    {
        // The parent tells in the log what it has lost itself.
        mLosses.ForgetCount();
        if (!mpFile)
            return;
        QzOs::NoCancellation const noCancellation;
        try
        {
            // At once and not with the next message: while the child has the parent's open file, a lock of a parent
            // that was killed would live on.
            ReopenAfterFork();
        }
        catch (QzBase::Message&)
        {
            // The next message tries again, and counts as lost if that fails too.
        }
        catch (std::bad_alloc const&)
        {
        }
    }
}
