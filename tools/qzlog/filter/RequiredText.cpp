#include "filter/RequiredText.h"

#include "Characters.h"

#include <cstddef>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kUnclear = std::string_view::npos;

        bool IsLetterOrDigit(char c)
        {
            return IsDigit(c) || IsLetter(c);
        }

        /// Behind the class of characters that begins at `at`.
        std::size_t SkipClass(std::string_view expression, std::size_t at)
        {
            ++at;
            at += at < expression.size() && expression[at] == '^';
            at += at < expression.size() && expression[at] == ']';
            while (at < expression.size() && expression[at] != ']')
            {
                std::size_t const name = expression.substr(at, 2) == "[:" ? expression.find(":]", at + 2) : kUnclear;
                at = name != kUnclear ? name + 2 : at + (expression[at] == '\\' ? 2 : 1);
            }
            return at < expression.size() ? at + 1 : kUnclear;
        }

        /// Behind the group that begins at `at`.
        std::size_t SkipGroup(std::string_view expression, std::size_t at)
        {
            // Flags may change what follows the group.
            std::string_view const begin = expression.substr(at, 3);
            if (begin.starts_with("(?") && begin != "(?:" && begin != "(?P")
                return kUnclear;
            ++at;
            while (at < expression.size() && expression[at] != ')')
            {
                char const c = expression[at];
                if (expression.substr(at, 2) == "\\Q")
                    return kUnclear;
                at = c == '(' ? SkipGroup(expression, at) : c == '[' ? SkipClass(expression, at) : at + 1 + (c == '\\');
                if (at == kUnclear)
                    return kUnclear;
            }
            return at < expression.size() ? at + 1 : kUnclear;
        }

        class Runs
        {
        public:
            void Add(char c) { mRun += c; }

            /// What is repeated need not be there, or not behind what stands before it.
            void DropLastCharacter()
            {
                while (!mRun.empty() && ContinuesCharacter(mRun.back()))
                    mRun.pop_back();
                if (!mRun.empty())
                    mRun.pop_back();
                End();
            }

            void End()
            {
                if (mRun.size() > mLongest.size())
                    mLongest = mRun;
                mRun.clear();
            }

            std::string const& GetLongest() const { return mLongest; }

        private:
            std::string mRun;
            std::string mLongest;
        };
    }

    std::string FindRequiredText(std::string_view expression)
    {
        constexpr std::string_view kClasses = "dDsSwWbBAz";
        constexpr std::string_view kEnds = ".^$+\r\n";
        Runs runs;
        for (std::size_t at = 0; at < expression.size();)
        {
            char const c = expression[at];
            char const next = at + 1 < expression.size() ? expression[at + 1] : '\0';
            if (c == '|')
                return std::string();
            if (c == '(' || c == '[')
            {
                runs.End();
                at = c == '(' ? SkipGroup(expression, at) : SkipClass(expression, at);
                if (at == kUnclear)
                    return std::string();
                continue;
            }
            if (c == '\\' && IsLetterOrDigit(next) && kClasses.find(next) == std::string_view::npos)
                return std::string();
            if (c == '*' || c == '?' || c == '{')
            {
                runs.DropLastCharacter();
                std::size_t const end = c == '{' ? expression.find_first_not_of("0123456789,", at + 1) : at;
                // Not a count of repetitions, so all of it is a text.
                if (end == kUnclear || (c == '{' && expression[end] != '}'))
                    return std::string();
                at = end;
            }
            else if (kEnds.find(c) != std::string_view::npos || (c == '\\' && IsLetterOrDigit(next)))
                runs.End();
            else
                runs.Add(c == '\\' ? next : c);
            at += c == '\\' ? 2 : 1;
        }
        runs.End();
        return runs.GetLongest();
    }

    std::string FindCaseBlindPart(std::string_view text)
    {
        // The Kelvin sign and the long s are other cases of K and S.
        constexpr std::string_view kOthers = "kKsS\r\n";
        Runs runs;
        for (char const c : text)
            if ((c & 0x80) != 0 || kOthers.find(c) != std::string_view::npos)
                runs.End();
            else
                runs.Add(c);
        runs.End();
        return runs.GetLongest();
    }
}
