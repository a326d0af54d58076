#include "masking/SensitiveTags.h"

#include <memory>

namespace
{
    std::string GetPattern(std::string_view tag)
    {
        std::string pattern;
        pattern.reserve(tag.size() + 2);
        return std::move(pattern.append("\"").append(tag).append("\""));
    }
}

namespace QzLog
{
    constinit SensitiveTagList gHTTPSensitiveTags;

    SensitiveTag::SensitiveTag(std::string_view tag) : mFinder(GetPattern(tag)) {}

    void SensitiveTagList::Append(std::string_view tag)
    {
        auto added = std::make_unique<SensitiveTag>(tag);
        std::atomic<SensitiveTag*>* place = &mpFirst;
        SensitiveTag* present = nullptr;
        while (
            !place->compare_exchange_strong(present, added.get(), std::memory_order_release, std::memory_order_acquire))
        {
            if (present->mFinder.GetPattern() == added->mFinder.GetPattern())
                return;
            place = &present->mpNext;
            present = nullptr;
        }
        static_cast<void>(added.release());
    }
}
