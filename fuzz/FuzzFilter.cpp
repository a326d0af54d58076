// Expression, text, record: whoever is told not to look closely loses nothing. What every match has is in each match,
// and a record that cannot match does not.

#include "Fuzz.h"
#include "Trouble.h"
#include "filter/RecordFilter.h"
#include "filter/RequiredText.h"

namespace
{
    using namespace QzLogTool;

    void CheckMatcher(TextMatcher const& matcher, std::string const& record)
    {
        std::string_view const line = std::string_view(record).substr(0, record.find_first_of("\r\n"));
        HeaderParser parser;
        bool const hasHeader = parser.Parse(line);
        std::string_view const message = hasHeader ? parser.GetMessage() : line;
        bool const matches = matcher.Matches(message);
        Fuzz::Check(!matches || matcher.MayMatch(line), "what matches may match");
        Fuzz::Check(!matches || matcher.GetNeedle().IsIn(message), "the needle is in what matches");
        std::size_t at = 0;
        std::size_t length = 0;
        for (std::size_t from = 0; matcher.Find(message, from, at, length); from = at + length)
            Fuzz::Check(at >= from && length > 0 && at + length <= message.size(), "a place is within the line");
    }

    void CheckFilter(FilterOptions const& options, Record const& record)
    {
        RecordFilter filter(options);
        struct : RecordSource
        {
            bool Next(Record&) override { return false; }
            bool NextPart(std::string_view&) override { return false; }
        } none;
        bool const isWanted = filter.IsWanted(record, none);
        Fuzz::Check(!isWanted || filter.GetNeedle().IsIn(record.mText), "the filter's needle is in each wanted record");
        FilterOptions inverted = options;
        inverted.mIsInverted = !options.mIsInverted;
        Fuzz::Check(RecordFilter(inverted).IsWanted(record, none) != isWanted, "inverted means the opposite");
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const [expression, text, logger, record] = Fuzz::TakeTexts<4>(data, size);
    for (bool const ignoresCase : {false, true})
    {
        FilterOptions options;
        options.mIgnoresCase = ignoresCase;
        if (!expression.empty())
            options.mExpressions = {expression};
        if (!text.empty())
            options.mTexts = {text};
        try
        {
            CheckMatcher(TextMatcher(options.mTexts, options.mExpressions, ignoresCase), record);
            if (!logger.empty())
                options.mLoggers = {logger};
            Record whole;
            whole.mKind = Record::Kind::Message;
            whole.mText = record;
            whole.mTime = 0;
            CheckFilter(options, whole);
        }
        catch (Trouble&)
        {
            // No regular expression.
        }
    }
    return 0;
}
