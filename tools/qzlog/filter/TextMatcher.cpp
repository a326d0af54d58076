#include "filter/TextMatcher.h"

#include "Trouble.h"
#include "filter/RequiredText.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        /// Bytes are compared; every text has the empty part in it.
        bool Contains(std::string_view text, std::string const& part)
        {
            return memmem(text.data(), text.size(), part.data(), part.size()) != nullptr;
        }

        re2::StringPiece ToPiece(std::string_view text)
        {
            return {text.data(), text.size()};
        }

        /// An expression that matches each record, header included and line end not, whose message is one line and
        /// matches `expression`: the start of a line is in another place there. Empty when it is not that easy.
        std::string MakeForRecord(std::string const& expression)
        {
            std::string result = expression.starts_with('^') ? expression.substr(1) : expression;
            for (std::size_t i = 0; i < result.size(); ++i)
            {
                bool const isNegation = i > 0 && result[i - 1] == '[';
                if ((result[i] == '^' && !isNegation) || result.compare(i, 2, "\\A") == 0)
                    return std::string();
            }
            return result;
        }

        void AddAlternative(std::string& to, std::string const& expression)
        {
            to += (to.empty() ? "(?m)(?:" : "|(?:") + expression + ')';
        }

        RE2::Options MakeOptions(bool ignoresCase)
        {
            RE2::Options options;
            options.set_log_errors(false);
            options.set_case_sensitive(!ignoresCase);
            // Many expressions of many characters: the automaton may take more than the default of 8 MB.
            options.set_max_mem(std::int64_t{64} << 20);
            return options;
        }
    }

    TextMatcher::TextMatcher(
        std::vector<std::string> const& texts, std::vector<std::string> const& expressions, bool ignoresCase)
        : mTexts(texts)
    {
        FindNeedle(expressions, ignoresCase);
        std::string all;
        std::string allForRecord;
        bool isForRecord = true;
        for (std::string const& expression : expressions)
        {
            // Alone first: half a bracket may fit to that of the next.
            RE2 const alone(ToPiece(expression), MakeOptions(ignoresCase));
            if (!alone.ok())
                throw Trouble("--regex: '" + expression + "' is no regular expression: " + alone.error());
            AddAlternative(all, expression);
            std::string const forRecord = MakeForRecord(expression);
            AddAlternative(allForRecord, forRecord);
            isForRecord = isForRecord && !forRecord.empty();
        }
        if (ignoresCase)
        {
            for (std::string const& text : texts)
                AddAlternative(all, RE2::QuoteMeta(ToPiece(text)));
            for (std::string const& text : texts)
                AddAlternative(allForRecord, RE2::QuoteMeta(ToPiece(text)));
            mTexts.clear();
        }
        if (all.empty())
            return;
        mpExpression = std::make_unique<RE2>(ToPiece(all), MakeOptions(ignoresCase));
        if (!mpExpression->ok())
            throw Trouble("--regex: the expressions are too large: " + mpExpression->error());
        if (isForRecord)
            mpForRecord = std::make_unique<RE2>(ToPiece(allForRecord), MakeOptions(ignoresCase));
        if (mpForRecord && !mpForRecord->ok())
            mpForRecord.reset();
    }

    void TextMatcher::FindNeedle(std::vector<std::string> const& expressions, bool ignoresCase)
    {
        // A shorter one is everywhere.
        constexpr std::size_t kShortest = 3;
        if (mTexts.size() + expressions.size() != 1)
            return;
        std::string const text = expressions.empty() ? mTexts[0] : FindRequiredText(expressions[0]);
        std::string const part = ignoresCase ? FindCaseBlindPart(text) : text;
        if (part.size() >= kShortest || (expressions.empty() && !ignoresCase))
            mNeedle = ignoresCase ? Needle(part, true) : Needle(part);
    }

    bool TextMatcher::Matches(std::string_view message) const
    {
        auto const contains = [message](std::string const& text) { return Contains(message, text); };
        if (IsEmpty() || std::any_of(mTexts.begin(), mTexts.end(), contains))
            return true;
        if (!mpExpression)
            return false;
        if (message.find('\r') != std::string_view::npos)
        {
            mLines.clear();
            for (std::size_t i = 0; i < message.size(); ++i)
                if (message.compare(i, 2, "\r\n") != 0)
                    mLines += message[i];
            message = mLines;
        }
        return RE2::PartialMatch(ToPiece(message), *mpExpression);
    }

    bool TextMatcher::MayMatch(std::string_view record) const
    {
        auto const contains = [record](std::string const& text) { return Contains(record, text); };
        bool const mayMatchExpression =
            mpExpression && (!mpForRecord || RE2::PartialMatch(ToPiece(record), *mpForRecord));
        return IsEmpty() || mayMatchExpression || std::any_of(mTexts.begin(), mTexts.end(), contains);
    }

    bool TextMatcher::Find(std::string_view line, std::size_t from, std::size_t& at, std::size_t& length) const
    {
        at = std::string_view::npos;
        for (std::string const& text : mTexts)
        {
            std::size_t const found = line.find(text, from);
            if (found < at && !text.empty())
            {
                at = found;
                length = text.size();
            }
        }
        re2::StringPiece match;
        bool const matches =
            mpExpression && mpExpression->Match(ToPiece(line), from, line.size(), RE2::UNANCHORED, &match, 1);
        if (matches && !match.empty() && static_cast<std::size_t>(match.data() - line.data()) < at)
        {
            at = static_cast<std::size_t>(match.data() - line.data());
            length = match.size();
        }
        return at != std::string_view::npos;
    }
}
