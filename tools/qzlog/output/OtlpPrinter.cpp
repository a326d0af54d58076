#include "output/OtlpPrinter.h"

#include "Characters.h"
#include "output/JsonMessage.h"
#include "output/Lines.h"
#include "time/Moments.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace QzLogTool
{
    namespace
    {
        /// The member "attributes", whose values are texts or integers of 64 bits; as a text, too, where the bytes
        /// of a header are no number that fits. Absent ones are left out.
        class Attributes
        {
        public:
            explicit Attributes(std::string& json) : mJson(json) { mJson += "\"attributes\":["; }

            void AddText(std::string_view key, std::string_view value)
            {
                if (!value.empty())
                    Add(key, "stringValue", value);
            }

            void AddNumber(std::string_view key, std::string_view value)
            {
                constexpr std::size_t kMost = 18; // more can be too large
                std::string_view const digits = value.substr(value.starts_with('-') ? 1 : 0);
                bool const isNumber = !digits.empty() && digits.size() <= kMost &&
                                      std::all_of(digits.begin(), digits.end(), IsDigit) &&
                                      (digits == "0" || digits[0] != '0');
                if (!value.empty())
                    Add(key, isNumber ? "intValue" : "stringValue", value);
            }

            void Finish() { mJson += ']'; }

        private:
            void Add(std::string_view key, std::string_view kind, std::string_view value)
            {
                mJson += mJson.ends_with('[') ? "{\"key\":\"" : ",{\"key\":\"";
                ((((mJson += key) += "\",\"value\":{\"") += kind) += "\":\"");
                AppendJson(mJson, value);
                mJson += "\"}}";
            }

            std::string& mJson;
        };

        /// The number of the data model for logs; 0 when it is not known.
        int GetSeverity(std::string_view dispatcher)
        {
            constexpr struct
            {
                std::string_view mDispatcher;
                int mNumber;
            } kSeverities[] = {{"Trace", 1}, {"Debug", 5}, {"Info", 9}, {"Warning", 13}, {"Error", 17}, {"Fatal", 21}};
            for (auto const& severity : kSeverities)
                if (severity.mDispatcher == dispatcher)
                    return severity.mNumber;
            return 0;
        }

        /// So many hexadecimal digits, in lower case, that are not all 0.
        bool IsID(std::string_view text)
        {
            auto const isHex = [](char c) { return IsDigit(c) || (c >= 'a' && c <= 'f'); };
            return std::all_of(text.begin(), text.end(), isHex) &&
                   text.find_first_not_of('0') != std::string_view::npos;
        }

        struct TraceContext
        {
            std::string_view mTrace;
            std::string_view mSpan;
        };

        /// False when the session is none.
        bool ReadTraceContext(std::string_view session, TraceContext& context)
        {
            constexpr std::string_view kStart = "trace=";
            constexpr std::size_t kTrace = 32;
            constexpr std::size_t kSpan = 16;
            if (session.size() != kStart.size() + kTrace + 1 + kSpan || !session.starts_with(kStart))
                return false;
            session.remove_prefix(kStart.size());
            context = {session.substr(0, kTrace), session.substr(kTrace + 1)};
            return session[kTrace] == '-' && IsID(context.mTrace) && IsID(context.mSpan);
        }

        void AppendNanoseconds(std::string& json, std::string_view key, std::int64_t milliseconds)
        {
            ((json += '"') += key) += "\":\"";
            (json += std::to_string(milliseconds)) += milliseconds == 0 ? "\"," : "000000\",";
        }
    }

    void OtlpPrinter::Print(Record const& record, RecordSource& source)
    {
        std::string_view text = record.mText;
        bool const hasHeader = record.mKind == Record::Kind::Message && mParser.Parse(text);
        mJson.assign("{\"resourceLogs\":[{");
        if (hasHeader)
            AppendResource();
        mJson += "\"scopeLogs\":[{";
        if (hasHeader)
        {
            mJson += "\"scope\":{\"name\":\"";
            AppendJson(mJson, mParser.GetFields().mLogger);
            mJson += "\"},";
        }
        mJson += "\"logRecords\":[{";
        AppendTimes(record);
        if (hasHeader)
        {
            AppendSeverity();
            AppendAttributes();
            AppendTrace();
            text.remove_prefix(mParser.GetLength());
            if (text.starts_with(' '))
                text.remove_prefix(1);
        }
        mJson += "\"body\":{\"stringValue\":\"";
        AppendMessage(mJson, text, source, mOutput);
        mJson += "\"}}]}]}]}\n";
        mOutput.Write(mJson);
    }

    void OtlpPrinter::AppendResource()
    {
        HeaderFields const& fields = mParser.GetFields();
        mJson += "\"resource\":{";
        Attributes attributes(mJson);
        attributes.AddText("host.name", fields.mHost);
        attributes.AddText("service.name", fields.mServer);
        attributes.AddNumber("process.pid", fields.mProcess);
        attributes.Finish();
        mJson += "},";
    }

    /// A loose line has a time to keep its place, which is not its own.
    void OtlpPrinter::AppendTimes(Record const& record)
    {
        // Nanoseconds are counted from 1970 on, in 64 bits.
        constexpr std::int64_t kLatest = std::numeric_limits<std::int64_t>::max() / 1'000'000;
        bool const hasTime = record.mKind == Record::Kind::Message && record.mTime >= 0 && record.mTime <= kLatest;
        if (hasTime)
            AppendNanoseconds(mJson, "timeUnixNano", record.mTime);
        AppendNanoseconds(mJson, "observedTimeUnixNano", GetNow());
    }

    void OtlpPrinter::AppendSeverity()
    {
        std::string_view const dispatcher = mParser.GetFields().mDispatcher;
        if (int const number = GetSeverity(dispatcher))
            (mJson += "\"severityNumber\":") += std::to_string(number) + ',';
        mJson += "\"severityText\":\"";
        AppendJson(mJson, dispatcher);
        mJson += "\",";
    }

    void OtlpPrinter::AppendAttributes()
    {
        HeaderFields const& fields = mParser.GetFields();
        TraceContext context;
        Attributes attributes(mJson);
        attributes.AddNumber("thread.id", fields.mThread);
        attributes.AddText("user.id", fields.mUser);
        if (!ReadTraceContext(fields.mSession, context))
            attributes.AddText("session.id", fields.mSession);
        attributes.AddText("qzlog.object_id", fields.mObject);
        if (!fields.mMessageID.empty())
            attributes.AddText("qzlog.message_id", "0x" + std::string(fields.mMessageID));
        if (fields.mSourceFile.data())
        {
            attributes.AddText("code.file.path", fields.mSourceFile);
            attributes.AddText("code.function.name", fields.mSourceFunction);
            attributes.AddNumber("code.line.number", std::to_string(fields.mSourceLine));
        }
        attributes.Finish();
        mJson += ',';
    }

    void OtlpPrinter::AppendTrace()
    {
        TraceContext context;
        if (!ReadTraceContext(mParser.GetFields().mSession, context))
            return;
        ((mJson += "\"traceId\":\"") += context.mTrace) += "\",\"spanId\":\"";
        (mJson += context.mSpan) += "\",";
    }
}
