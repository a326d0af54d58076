#pragma once

#include "masking/PatternFinder.h"

#include <atomic>

namespace QzLog
{
    /// A tag with what the search for it needs: the pattern is the tag in quotes.
    struct SensitiveTag
    {
        explicit SensitiveTag(std::string_view tag);

        PatternFinder mFinder;
        std::atomic<SensitiveTag*> mpNext = nullptr;
    };

    /// A list of tags that only grows. A tag is complete before it is linked in, and stays for the life of
    /// the process, so readers need no lock and never see half of one. Constant-initialised and never
    /// destroyed: static objects may mask before and after everything else.
    class SensitiveTagList
    {
    public:
        /// Null while the list is empty; the next ones follow by mpNext.
        SensitiveTag const* GetFirst() const noexcept { return mpFirst.load(std::memory_order_acquire); }

        /// Puts `tag` at the end of the list, unless it stands there already: a second pass over a text
        /// for the same tag changes nothing. Throws std::bad_alloc.
        void Append(std::string_view tag);

    private:
        std::atomic<SensitiveTag*> mpFirst = nullptr;
    };

    extern SensitiveTagList gHTTPSensitiveTags;
}
