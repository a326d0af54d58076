#pragma once

#include "filter/TextMatcher.h"
#include "output/Output.h"
#include "output/RecordPrinter.h"
#include "reading/HeaderParser.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace QzLogTool
{
    /// Records as they are in the log, with LF as line end. With colours, the header is dimmed and what was searched
    /// for is highlighted. A line "--" stands where records around those that were searched for are left out. On a
    /// terminal nothing that a message holds can control it.
    class TextPrinter : public RecordPrinter
    {
    public:
        /// Both must outlive this object.
        /// \param usesUTC  shows times in UTC, and not as they are.
        TextPrinter(Output& output, TextMatcher const& marked, bool usesColor, bool usesUTC);

        void Print(Record const& record, RecordSource& source) override;

    private:
        void PrintText(std::string_view text);
        void Flush();
        void EndLine();
        void AppendTime(std::string_view time, std::int64_t moment);
        void AppendHeader(std::string_view header, std::int64_t moment);
        void AppendMarked(std::string_view line);
        void AppendText(std::string_view text);

        Output& mOutput;
        TextMatcher const& mMarked;
        bool const mUsesColor;
        bool const mUsesUTC;
        HeaderParser mParser;
        std::string mText;
        bool mIsInLine = false;
    };
}
