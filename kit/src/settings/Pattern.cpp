#include "settings/Pattern.h"

#include <algorithm>
#include <utility>

namespace QzLogKit
{
    Pattern::Pattern(std::string text)
        : mHasStar(text.find('*') != text.npos),
          mMissingCharacters(-std::ranges::count_if(text, [](char unit) { return unit != '*'; })),
          mText(std::move(text))
    {
    }

    bool Pattern::Matches(std::string_view name) const
    {
        // The last star seen, and where the text that it stands for ends at present. If what follows does not match,
        // the star takes one character more; earlier stars need not be tried again.
        std::size_t star = std::string::npos;
        std::size_t taken = 0;
        std::size_t at = 0;
        for (std::size_t i = 0; i < name.size();)
        {
            if (at < mText.size() && mText[at] == '*')
            {
                star = at++;
                taken = i;
            }
            else if (at < mText.size() && mText[at] == name[i])
            {
                ++at;
                ++i;
            }
            else if (star != std::string::npos)
            {
                at = star + 1;
                i = ++taken;
            }
            else
                return false;
        }
        return mText.find_first_not_of('*', at) == std::string::npos;
    }
}
