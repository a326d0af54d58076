#include "destination/LossNotices.h"

#include "destination/Destination_DebugOutput_Impl.h"
#include "destination/LogFile.h"
#include "os/Cancellation.h"

#include <QzBase/Conversions.h>

#include <string>
#include <utility>

namespace QzLog
{
    LossObserver::~LossObserver() = default;

    void LossNotices::AddBeginning(Losses const& losses, Voice voice)
    {
        Add(voice == Voice::Observer ? Kind::Beginning : Kind::BeginningAloud, losses);
    }

    void LossNotices::AddReport(Losses losses)
    {
        if (mLog.mpObserver)
            Add(Kind::Report, std::move(losses));
    }

    void LossNotices::AddEnd(Losses losses)
    {
        Add(Kind::End, std::move(losses));
    }

    void LossNotices::Add(Kind kind, Losses losses)
    {
        if (mNotices.empty())
        {
            mPath = mLog.mPath;
            mpObserver = mLog.mpObserver;
        }
        mNotices.push_back({kind, std::move(losses)});
    }

    void LossNotices::Say()
    {
        auto next = mNotices.begin();
        try
        {
            while (next != mNotices.end())
                Say(*next++);
        }
        catch (...)
        {
            QzOs::NoCancellation const noCancellation;
            while (next != mNotices.end())
                SayQuietly(*next++);
            throw;
        }
    }

    void LossNotices::SayQuietly(Notice const& notice) const noexcept
    {
        try
        {
            Say(notice);
        }
        catch (...)
        {
            // The first exception is the one that the caller gets.
        }
    }

    void LossNotices::Say(Notice const& notice) const
    {
        Losses const& losses = notice.mLosses;
        auto const write = [this](std::string text, std::string const& reason)
        {
            text.append(QzBase::WideCharToUTF8(mPath.c_str(), true).c_str()).append("': ").append(reason);
            Destination_DebugOutput_Impl::WriteLine(std::move(text));
        };
        LossRun const run{mPath.c_str(), losses.mCount, losses.mSince, losses.mReason.c_str()};
        switch (notice.mKind)
        {
        case Kind::BeginningAloud:
            write("QzLog: messages are being lost, log file '", losses.mReason);
            [[fallthrough]];
        case Kind::Beginning:
            if (mpObserver)
                mpObserver->OnLossesBegan(run);
            break;
        case Kind::Report:
            mpObserver->OnLossesReported(run);
            break;
        case Kind::End:
            write("QzLog: " + std::to_string(losses.mCount) + " messages lost and not reported, log file '",
                losses.mReason);
            break;
        }
    }
}
