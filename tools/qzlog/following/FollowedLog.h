#pragma once

#include "following/FollowedBytes.h"
#include "reading/RecordSplitter.h"

namespace QzLogTool
{
    /// The records of a log and its back-ups in order of age, and those that are added. Next gives no more when all is
    /// given that the last look has found; it gives more after the next look.
    class FollowedLog : public RecordSource
    {
    public:
        /// See FollowedBytes.
        FollowedLog(std::string path, FollowedBytes::Tell tell)
            : mBytes(std::move(path), std::move(tell)), mSplitter(mBytes)
        {
        }

        /// See RecordSplitter.
        void SetNeedle(std::string needle) { mSplitter.SetNeedle(std::move(needle)); }

        void Look() { mBytes.Look(); }
        bool HasRolledOver() const { return mBytes.HasRolledOver(); }

        bool Next(Record& record) override { return mSplitter.Next(record); }
        bool NextPart(std::string_view& text) override { return mSplitter.NextPart(text); }
        bool Again() override { return mSplitter.Again(); }

    private:
        FollowedBytes mBytes;
        RecordSplitter mSplitter;
    };
}
