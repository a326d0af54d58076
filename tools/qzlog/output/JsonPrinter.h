#pragma once

#include "output/Output.h"
#include "output/RecordPrinter.h"
#include "reading/HeaderParser.h"

#include <cstdint>
#include <string>

namespace QzLogTool
{
    /// One JSON object a line for each record: the members of QzLog::MessageHeader::GetHeaderJSON and "message", whose
    /// lines are parted by LF. Lines that no record owns have the message alone. What is there only because of a record
    /// near it has "context":true.
    class JsonPrinter : public RecordPrinter
    {
    public:
        /// The output must outlive this object.
        /// \param usesUTC  shows times in UTC, and not as they are.
        JsonPrinter(Output& output, bool usesUTC) : mOutput(output), mUsesUTC(usesUTC) {}

        void Print(Record const& record, RecordSource& source) override;

    private:
        bool AppendHeader(std::int64_t moment);
        bool AppendUsualHeader(std::int64_t moment);

        Output& mOutput;
        bool const mUsesUTC;
        HeaderParser mParser;
        std::string mJson;
    };
}
