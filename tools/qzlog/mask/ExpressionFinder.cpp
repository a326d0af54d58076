#include "mask/ExpressionFinder.h"

#include "Trouble.h"

#include <algorithm>
#include <vector>

namespace QzLogTool
{
    namespace
    {
        RE2::Options MakeExpressionOptions()
        {
            RE2::Options options;
            options.set_log_errors(false);
            return options;
        }
    }

    ExpressionFinder::ExpressionFinder(std::string const& expression, Check check)
        : mExpression("(?m:" + expression + ')', MakeExpressionOptions()), mCheck(check)
    {
        if (expression.empty())
            throw Trouble("--regex: an expression is empty");
        // Alone, too: half a bracket may fit to what stands around it.
        RE2 const alone(expression, MakeExpressionOptions());
        for (RE2 const* const pExpression : {&alone, &mExpression})
            if (!pExpression->ok())
                throw Trouble("--regex: '" + expression + "' is no regular expression: " + pExpression->error());
    }

    bool ExpressionFinder::Find(std::string_view text, std::size_t from, Secret& secret) const
    {
        re2::StringPiece const all(text.data(), text.size());
        std::vector<re2::StringPiece> groups(static_cast<std::size_t>(mExpression.NumberOfCapturingGroups()) + 1);
        while (from <= text.size() && mExpression.Match(all, from, text.size(), RE2::UNANCHORED, groups.data(),
                                          static_cast<int>(groups.size())))
        {
            auto const taken = std::find_if(groups.begin() + 1, groups.end(),
                [](re2::StringPiece const& group) { return group.data() != nullptr; });
            re2::StringPiece const value = taken == groups.end() ? groups[0] : *taken;
            secret.mBegin = static_cast<std::size_t>(value.data() - text.data());
            secret.mEnd = secret.mBegin + value.size();
            secret.mQuote.clear();
            if (!value.empty() && (!mCheck || mCheck({value.data(), value.size()})))
                return true;
            // Of a longer match that did not pass, a part may.
            from = static_cast<std::size_t>(groups[0].data() - text.data()) + 1;
        }
        return false;
    }
}
