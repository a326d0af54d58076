#pragma once

#include "output/Output.h"
#include "output/RecordPrinter.h"
#include "reading/HeaderParser.h"

#include <string>
#include <string_view>

namespace QzLogTool
{
    /// Each record as a line of OTLP in JSON, as the OpenTelemetry collector's file exporter writes it and its file
    /// receiver reads it: a "resourceLogs" with one log record. Attributes have the names of the semantic conventions
    /// where there is one:
    ///
    ///     host, server, process             resource: host.name, service.name, process.pid
    ///     logger                            name of the scope
    ///     dispatcher                        severityText; severityNumber for Trace, Debug, Info, Warning, Error, Fatal
    ///     thread, user, session             thread.id, user.id, session.id
    ///     object, message ID                qzlog.object_id, qzlog.message_id
    ///     source location                   code.file.path, code.function.name, code.line.number
    ///
    /// A session of the form "trace=" 32HEXDIG "-" 16HEXDIG, in lower case and with an ID that is not zero in both
    /// places, is the trace and the span of the record instead. Lines that no record owns have a body alone.
    class OtlpPrinter : public RecordPrinter
    {
    public:
        /// The output must outlive this object.
        explicit OtlpPrinter(Output& output) : mOutput(output) {}

        void Print(Record const& record, RecordSource& source) override;

    private:
        void AppendResource();
        void AppendTimes(Record const& record);
        void AppendSeverity();
        void AppendAttributes();
        void AppendTrace();

        Output& mOutput;
        HeaderParser mParser;
        std::string mJson;
    };
}
