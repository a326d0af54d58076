#pragma once

#include "reading/Needle.h"

#include <re2/re2.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace QzLogTool
{
    /// Finds fixed texts and regular expressions. RE2 takes time in proportion to the text whatever the expression, and
    /// a bounded stack: logs hold texts of megabytes, from strangers.
    class TextMatcher
    {
    public:
        /// Throws Trouble if an expression is invalid. With `ignoresCase` the case of letters does not count.
        TextMatcher(
            std::vector<std::string> const& texts, std::vector<std::string> const& expressions, bool ignoresCase);

        /// Whether there is nothing to search for; then everything matches.
        bool IsEmpty() const { return mTexts.empty() && mpExpression == nullptr; }

        /// A text that is in every record whose message matches; empty if there is none.
        Needle const& GetNeedle() const { return mNeedle; }

        /// Whether a message matches. Lines end with LF or CR LF; "^" and "$" are the ends of each.
        bool Matches(std::string_view message) const;

        /// Whether a record of one line, given with its header and without line end, may match. Cheaper than a
        /// search in its message.
        bool MayMatch(std::string_view record) const;

        /// The first place in a line, from `from` on, that matches. False when there is none.
        bool Find(std::string_view line, std::size_t from, std::size_t& at, std::size_t& length) const;

    private:
        void FindNeedle(std::vector<std::string> const& expressions, bool ignoresCase);

        std::vector<std::string> mTexts;
        Needle mNeedle;
        std::unique_ptr<RE2> mpExpression;
        // The same for MayMatch; null if it can exclude nothing.
        std::unique_ptr<RE2> mpForRecord;
        mutable std::string mLines;
    };
}
