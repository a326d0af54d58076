#pragma once

#include "Trouble.h"
#include "following/Growing.h"

#include <functional>
#include <memory>
#include <vector>

namespace QzLogTool
{
    /// Follows sources that grow, look after look. What one look has found comes in order of time; a record that was
    /// written meanwhile to a source that had been looked at comes with the next.
    class Follower
    {
    public:
        /// Puts a filter and the like around a source.
        using Wrap = std::function<std::unique_ptr<RecordSource>(std::unique_ptr<RecordSource>)>;
        using Report = std::function<void(Trouble const&)>;

        /// \param sources  must outlive this object.
        /// \param report  gets each trouble once. A source that has met one is not followed any more.
        Follower(GrowingSources& sources, Wrap wrap, Report report);

        /// What has come since the last look. It must not outlive this object, nor the next look.
        std::unique_ptr<RecordSource> Look();

        /// How far the sources have come, not counting the records that Look's source still holds.
        std::vector<LogPosition> GetPositions() const;

        /// Waits until there may be more, or an EndRequest is made.
        void Wait();

    private:
        struct Followed
        {
            Growth* mpGrowth;
            std::unique_ptr<RecordSource> mpWrapped;
        };

        GrowingSources& mSources;
        Wrap const mWrap;
        Report const mReport;
        std::vector<Followed> mFollowed;
        bool mIsUrgent = false;
    };
}
