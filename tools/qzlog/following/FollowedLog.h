#pragma once

#include "following/FollowedBytes.h"
#include "following/Growing.h"
#include "reading/RecordSplitter.h"

namespace QzLogTool
{
    /// The records of a log and its back-ups in order of age, and those that are added.
    class FollowedLog : public GrowingSource
    {
    public:
        /// See FollowedBytes.
        FollowedLog(std::string path, FollowedBytes::Tell tell)
            : mBytes(std::move(path), std::move(tell)), mSplitter(mBytes)
        {
        }

        /// See RecordSplitter.
        void SetNeedle(std::string needle) { mSplitter.SetNeedle(std::move(needle)); }

        void Look() override { mBytes.Look(); }

        /// A busy log may be rolled over more often than it has back-ups within one moment.
        bool IsUrgent() const override { return mBytes.HasRolledOver(); }

        bool Next(Record& record) override { return mSplitter.Next(record); }
        bool NextPart(std::string_view& text) override { return mSplitter.NextPart(text); }
        bool Again() override { return mSplitter.Again(); }

    private:
        FollowedBytes mBytes;
        RecordSplitter mSplitter;
    };
}
