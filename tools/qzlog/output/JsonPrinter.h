#pragma once

#include "output/Output.h"
#include "output/RecordPrinter.h"
#include "reading/HeaderParser.h"

#include <string>

namespace QzLogTool
{
    /// One JSON object a line for each record: the members of QzLog::MessageHeader::GetHeaderJSON and "message", whose
    /// lines are parted by LF. Lines that no record owns have the message alone.
    class JsonPrinter : public RecordPrinter
    {
    public:
        /// The output must outlive this object.
        explicit JsonPrinter(Output& output) : mOutput(output) {}

        void Print(Record const& record, RecordSource& source) override;

    private:
        bool AppendHeader();
        bool AppendUsualHeader();
        void AppendText(std::string_view text);

        Output& mOutput;
        HeaderParser mParser;
        std::string mJson;
        bool mOwesLineEnd = false;
    };
}
