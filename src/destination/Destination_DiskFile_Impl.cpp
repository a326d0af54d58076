#include "destination/Destination_DiskFile_Impl.h"

#include "destination/LossNotices.h"
#include "os/Cancellation.h"
#include "os/Fork.h"

#include <QzBase/Message.h>
#include <QzLog/MessageHeader.h>

#include <algorithm>

namespace QzLog
{
    namespace
    {
        constexpr unsigned int kLargestMaxFileSize = 2'000'000'000;
        constexpr unsigned int kLargestBackupCount = 256;
        constexpr unsigned int kLongestRetryInterval = 1'000'000'000;
    }

    Destination_DiskFile::Destination_DiskFile() = default;
    Destination_DiskFile::Destination_DiskFile(Destination_DiskFile const&) = default;
    Destination_DiskFile::Destination_DiskFile(Destination_DiskFile&&) noexcept = default;
    Destination_DiskFile& Destination_DiskFile::operator=(Destination_DiskFile const&) = default;
    Destination_DiskFile& Destination_DiskFile::operator=(Destination_DiskFile&&) noexcept = default;
    Destination_DiskFile::~Destination_DiskFile() = default;

    Destination_DiskFile_Impl::Destination_DiskFile_Impl(unsigned short const* path)
        : mLog(&mSection), mBasic(mLog), mStrict(mLog), mSection(QzSynch::ForkHold::kFile, *this)
    {
        SetFilePath(path);
    }

    Destination_DiskFile_Impl::~Destination_DiskFile_Impl()
    {
        EndReports();
    }

    void Destination_DiskFile_Impl::EndReports() noexcept
    {
        QzOs::NoCancellation const noCancellation;
        try
        {
            LossNotices notices(mLog);
            {
                Hold const hold(*this);
                mpRecovery->End(notices);
            }
            notices.Say();
        }
        catch (...)
        {
            // Without memory nothing can be reported. An observer's exception has no caller to go to.
        }
    }

    void Destination_DiskFile_Impl::SetMaxFileSize(unsigned int maxFileSize)
    {
        Look const look(*this);
        mLog.mMaxFileSize = std::min(maxFileSize, kLargestMaxFileSize);
    }

    unsigned int Destination_DiskFile_Impl::GetMaxFileSize()
    {
        Look const look(*this);
        return mLog.mMaxFileSize;
    }

    void Destination_DiskFile_Impl::SetBackupCount(unsigned int backupCount)
    {
        Look const look(*this);
        mLog.mBackupCount = std::min(backupCount, kLargestBackupCount);
    }

    unsigned int Destination_DiskFile_Impl::GetBackupCount()
    {
        Look const look(*this);
        return mLog.mBackupCount;
    }

    QzBase::ReturnWString Destination_DiskFile_Impl::GetFilePath()
    {
        Look const look(*this);
        return QzBase::ReturnWString(mLog.mPath.size(), mLog.mPath.c_str());
    }

    void Destination_DiskFile_Impl::SetRecovery(Recovery recovery)
    {
        Change const change(*this);
        LogRecovery* const pChosen = recovery == kRecoveryStrict ? static_cast<LogRecovery*>(&mStrict) : &mBasic;
        if (pChosen == mpRecovery)
            return;
        // The two open different things.
        mLog.Close();
        pChosen->PutLosses(mpRecovery->TakeLosses());
        mpRecovery = pChosen;
    }

    Recovery Destination_DiskFile_Impl::GetRecovery()
    {
        Look const look(*this);
        return mpRecovery == &mStrict ? kRecoveryStrict : kRecoveryBasic;
    }

    void Destination_DiskFile_Impl::SetRetryInterval(unsigned int seconds)
    {
        Look const look(*this);
        mLog.mRetryInterval = std::min(seconds, kLongestRetryInterval);
    }

    unsigned int Destination_DiskFile_Impl::GetRetryInterval()
    {
        Look const look(*this);
        return mLog.mRetryInterval;
    }

    void Destination_DiskFile_Impl::SetLossObserver(LossObserver* observer)
    {
        QzBase::CountedPtr<LossObserver> replaced(observer);
        Look const look(*this);
        mLog.mpObserver.swap(replaced);
    }

    void Destination_DiskFile_Impl::SetFilePath(unsigned short const* path)
    {
        Change const change(*this);
        if (mLog.mPath == path)
            return;
        mLog.mPath = path;
        mLog.Close();
        mpRecovery->Start();
    }

    QZLOG_CALL_FRAME void Destination_DiskFile_Impl::WriteMessage(char const* bodyText, MessageHeader& header)
    {
        if (QzOs::IsForking())
            return;
        QzBase::ReturnString const text =
            FormatMultiLineMessageText(header.GetMessageID(), header.GetHeaderText(), bodyText, true);
        WriteOrCount({text.c_str(), text.size()}, 1);
    }

    bool Destination_DiskFile_Impl::WriteForeignRecord(std::string_view text)
    {
        return WriteOrCount(text, 0);
    }

    bool Destination_DiskFile_Impl::WriteOrCount(std::string_view text, unsigned int messages)
    {
        LossNotices notices(mLog);
        bool isWritten = false;
        {
            Hold const hold(*this);
            isWritten = mpRecovery->Write(text, messages, notices);
        }
        notices.Say();
        return isWritten;
    }

    void Destination_DiskFile_Impl::PrepareForFork() noexcept
    {
        // A child that took over the lock without having it would write into the records of others.
        mLog.Release();
    }

    void Destination_DiskFile_Impl::GoOnInForkedChild(bool /*wasGap*/) noexcept
    {
        mLog.mCounters.Reset();
        QzOs::NoCancellation const noCancellation;
        try
        {
            // At once and not with the next message: while the child has the parent's open file, the lock of a parent
            // that was killed would stay held.
            mpRecovery->GoOnInForkedChild();
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
