#pragma once

#include "filter/KeptTexts.h"
#include "filter/RecordFilter.h"
#include "reading/Record.h"

#include <memory>

namespace QzLogTool
{
    /// The records of a source that a filter wants, or all of them with a mark if it keeps the others. The heads of
    /// files are left out, except one in the middle of a file, which does not belong there and becomes a loose line.
    class FilteredSource : public RecordSource
    {
    public:
        /// The filter must outlive this object.
        FilteredSource(std::unique_ptr<RecordSource> pSource, RecordFilter& filter)
            : mpSource(std::move(pSource)), mFilter(filter)
        {
        }

        bool Next(Record& record) override;
        bool NextPart(std::string_view& text) override;

    private:
        bool IsWanted(Record const& record);
        bool GiveAgain(Record& record);

        std::unique_ptr<RecordSource> const mpSource;
        RecordFilter& mFilter;

        // The record that the filter has before it, until it decides; and whether it has read on in that.
        Record const* mpExamined = nullptr;
        bool mHasReadOn = false;
        // What it has read of a record that the source cannot give again.
        KeptTexts mKept;
    };
}
