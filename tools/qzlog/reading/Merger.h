#pragma once

#include "reading/Record.h"

#include <memory>
#include <vector>

namespace QzLogTool
{
    /// Several sources as one, in order of time. Each source keeps its own order, also where its times go back, and
    /// at the same time the earlier source goes first.
    class Merger : public RecordSource
    {
    public:
        explicit Merger(std::vector<std::unique_ptr<RecordSource>> sources);

        bool Next(Record& record) override;
        bool NextPart(std::string_view& text) override;

    private:
        struct Waiting
        {
            Record mRecord;
            std::size_t mSource;
        };

        void Await(std::size_t source);
        static bool IsLater(Waiting const& a, Waiting const& b);

        std::vector<std::unique_ptr<RecordSource>> mSources;
        // A heap, the earliest record on top. mCurrent is the source that gave last; its next record is not asked
        // for before it has to be, because that ends the last one.
        std::vector<Waiting> mWaiting;
        std::size_t mCurrent = 0;
        bool mHasCurrent = false;
        bool mHasBegun = false;
    };
}
