#pragma once

#include "filter/TextMatcher.h"
#include "output/Output.h"
#include "output/RecordPrinter.h"
#include "reading/HeaderParser.h"

#include <string>
#include <string_view>

namespace QzLogTool
{
    /// Records as they are in the log, with LF as line end. With colours, the header is dimmed and what was searched
    /// for is highlighted. On a terminal nothing that a message holds can control it.
    class TextPrinter : public RecordPrinter
    {
    public:
        /// Both must outlive this object.
        TextPrinter(Output& output, TextMatcher const& marked, bool usesColor);

        void Print(Record const& record, RecordSource& source) override;

    private:
        void PrintText(std::string_view text);
        void EndLine();
        void AppendHeader(std::string_view header);
        void AppendMarked(std::string_view line);
        void AppendText(std::string_view text);

        Output& mOutput;
        TextMatcher const& mMarked;
        bool const mUsesColor;
        HeaderParser mParser;
        std::string mText;
        bool mIsInLine = false;
    };
}
