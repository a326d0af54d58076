#pragma once

#include "following/ChangeWatch.h"
#include "following/CursorFile.h"
#include "following/FollowedBytes.h"
#include "following/Growing.h"

namespace QzLogTool
{
    /// The records of a log and its back-ups in order of age, and those that are added. See FollowedBytes and, for the
    /// needle, RecordSplitter.
    /// \param position  where to go on; its log need not be set.
    GrowingSource FollowLog(std::string path, FollowedBytes::Report const& report, Needle const& needle = {},
        LogPosition const& position = {});

    /// Log files that are followed.
    class FollowedLogs : public GrowingSources
    {
    public:
        /// \param needle  see RecordSplitter.
        /// \param pCursor  says where to go on; may be null. It must outlive this object.
        FollowedLogs(std::vector<std::string> paths, Needle needle, CursorFile const* pCursor);

        std::vector<GrowingSource> FindNew() override;
        void Wait() override { mWatch.Wait(); }

    private:
        std::vector<std::string> mPaths;
        Needle const mNeedle;
        CursorFile const* const mpCursor;
        ChangeWatch mWatch;
    };
}
