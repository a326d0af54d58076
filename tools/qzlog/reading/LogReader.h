#pragma once

#include "reading/LogBytes.h"
#include "reading/RecordSplitter.h"

namespace QzLogTool
{
    /// The records of a log and its back-ups in order of age.
    class LogReader : public RecordSource
    {
    public:
        /// See LogBytes.
        LogReader(std::string path, LogBytes::Files files) : mBytes(std::move(path), files), mSplitter(mBytes) {}

        LogBytes& GetBytes() { return mBytes; }

        /// See RecordSplitter.
        void SetNeedle(std::string needle) { mSplitter.SetNeedle(std::move(needle)); }

        bool Next(Record& record) override { return mSplitter.Next(record); }
        bool NextPart(std::string_view& text) override { return mSplitter.NextPart(text); }
        bool Again() override { return mSplitter.Again(); }

    private:
        LogBytes mBytes;
        RecordSplitter mSplitter;
    };
}
