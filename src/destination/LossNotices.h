#pragma once

#include "destination/Losses.h"

#include <QzBase/CountedPtr.h>
#include <QzBase/WideString.h>
#include <QzLog/LossObserver.h>

#include <vector>

namespace QzLog
{
    class LogFile;

    /// Notices of losses for others than the log: for the observer and the debug output. The thread that holds the
    /// destination's section collects them, and gives them out after it has left the section.
    class LossNotices
    {
    public:
        enum class Voice
        {
            Observer,
            ObserverAndDebugOutput
        };

        explicit LossNotices(LogFile const& log) : mLog(log) {}

        void AddBeginning(Losses const& losses, Voice voice);
        void AddReport(Losses losses);

        /// Losses that the log will not report.
        void AddEnd(Losses losses);

        /// Gives out all of them, also if an observer throws; the first exception then leaves.
        void Say();

    private:
        enum class Kind
        {
            Beginning,
            BeginningAloud,
            Report,
            End
        };

        struct Notice
        {
            Kind mKind;
            Losses mLosses;
        };

        void Add(Kind kind, Losses losses);
        void Say(Notice const& notice) const;
        void SayQuietly(Notice const& notice) const noexcept;

        LogFile const& mLog;
        // Copies of what the section guards.
        QzBase::WideString mPath;
        QzBase::CountedPtr<LossObserver> mpObserver;
        std::vector<Notice> mNotices;
    };
}
