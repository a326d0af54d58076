#pragma once

#include "destination/Losses.h"

#include <QzBase/CountedPtr.h>
#include <QzBase/WideString.h>
#include <QzLog/LossObserver.h>

#include <vector>

namespace QzLog
{
    class LogFile;

    /// What is to be said outside the log about losses: gathered by the thread that has the destination's section, and
    /// said by it when it has left.
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

        /// Losses that nobody will report.
        void AddEnd(Losses losses);

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

        LogFile const& mLog;
        // Copies of what the section guards.
        QzBase::WideString mPath;
        QzBase::CountedPtr<LossObserver> mpObserver;
        std::vector<Notice> mNotices;
    };
}
