#pragma once

#include "reading/Record.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace QzLogTool
{
    /// The last records of a source, which it reads to its end. It holds that many records, however long they are.
    class LastRecords : public RecordSource
    {
    public:
        LastRecords(std::unique_ptr<RecordSource> pSource, std::uint64_t count);

        bool Next(Record& record) override;
        bool NextPart(std::string_view&) override { return false; }

    private:
        struct Kept
        {
            Record mRecord;
            std::string mText;
        };

        void Collect();

        std::unique_ptr<RecordSource> mpSource;
        std::uint64_t const mCount;
        std::deque<Kept> mKept;
        Kept mCurrent;
    };
}
