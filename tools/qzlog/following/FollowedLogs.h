#pragma once

#include "following/ChangeWatch.h"
#include "following/FollowedBytes.h"
#include "following/Growing.h"

namespace QzLogTool
{
    /// The records of a log and its back-ups in order of age, and those that are added. See FollowedBytes and, for the
    /// needle, RecordSplitter.
    GrowingSource FollowLog(std::string path, FollowedBytes::Tell tell, Needle const& needle = {});

    /// Log files that are followed.
    class FollowedLogs : public GrowingSources
    {
    public:
        /// \param needle  see RecordSplitter.
        FollowedLogs(std::vector<std::string> paths, Needle needle);

        std::vector<GrowingSource> FindNew() override;
        void Wait() override { mWatch.Wait(); }

    private:
        std::vector<std::string> mPaths;
        Needle const mNeedle;
        ChangeWatch mWatch;
    };
}
