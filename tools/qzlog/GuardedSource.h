#pragma once

#include "Troubles.h"
#include "output/Progress.h"
#include "reading/Record.h"

#include <memory>

namespace QzLogTool
{
    /// Ends where its source throws Trouble.
    class GuardedSource : public RecordSource
    {
    public:
        /// The other two must outlive this object.
        GuardedSource(std::unique_ptr<RecordSource> pSource, Progress& progress, Troubles& troubles)
            : mpSource(std::move(pSource)), mProgress(progress), mTroubles(troubles)
        {
        }

        bool Next(Record& record) override
        {
            return Guard([&] { return mpSource->Next(record); });
        }
        bool NextPart(std::string_view& text) override
        {
            return Guard([&] { return mpSource->NextPart(text); });
        }

    private:
        template <class Action>
        bool Guard(Action const& action)
        {
            if (mHasEnded)
                return false;
            try
            {
                return action();
            }
            catch (Trouble const& trouble)
            {
                mProgress.Hide();
                mTroubles.Report(trouble);
                mHasEnded = true;
                return false;
            }
        }

        std::unique_ptr<RecordSource> const mpSource;
        Progress& mProgress;
        Troubles& mTroubles;
        bool mHasEnded = false;
    };
}
