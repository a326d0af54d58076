#pragma once

#include "mask/SecretFinder.h"

#include <re2/re2.h>

namespace QzLogTool
{
    /// Finds what a regular expression matches; the first of its groups that took part, if it has groups.
    class ExpressionFinder : public SecretFinder
    {
    public:
        using Check = bool (*)(std::string_view value);

        /// Throws Trouble when the expression is none or empty.
        ///
        /// \param expression  in the syntax of RE2; ^ and $ are the ends of lines.
        /// \param check       what a match must pass too; may be null.
        explicit ExpressionFinder(std::string const& expression, Check check = nullptr);

        bool Find(std::string_view text, std::size_t from, Secret& secret) const override;

    private:
        RE2 const mExpression;
        Check const mCheck;
    };
}
