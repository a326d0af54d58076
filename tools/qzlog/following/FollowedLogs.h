#pragma once

#include "following/ChangeWatch.h"
#include "following/FollowedLog.h"

namespace QzLogTool
{
    /// Log files that are followed.
    class FollowedLogs : public GrowingSources
    {
    public:
        /// \param needle  see RecordSplitter.
        FollowedLogs(std::vector<std::string> paths, std::string needle);

        std::vector<std::unique_ptr<GrowingSource>> FindNew() override;
        void Wait() override { mWatch.Wait(); }

    private:
        std::vector<std::string> mPaths;
        std::string const mNeedle;
        ChangeWatch mWatch;
    };
}
