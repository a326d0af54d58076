#include "support/base/MessageMemory.h"

#include "support/base/KeptMemory.h"

#include <algorithm>

namespace QzBase
{
    void MessageMemory::Assign(Message& to, Message const& from)
    {
        if (IsPart(to, from))
            to = from;
        else
            AssignInPlace(to, from);
    }

    bool MessageMemory::IsLong(Message const& message) noexcept
    {
        return CountBytes(message) > kKeptBytes;
    }

    void MessageMemory::AssignInPlace(Message& to, Message const& from)
    {
        to.mDomain = from.mDomain;
        to.mID = from.mID;
        to.mTemplate = from.mTemplate;
        to.mText = from.mText;
        to.mArguments = from.mArguments;
        to.mLocalizedTexts = from.mLocalizedTexts;
        if (to.mLowerLevels.size() != from.mLowerLevels.size())
        {
            to.mLowerLevels = from.mLowerLevels;
            return;
        }
        for (std::size_t i = 0; i < from.mLowerLevels.size(); ++i)
            AssignInPlace(to.mLowerLevels[i], from.mLowerLevels[i]);
    }

    bool MessageMemory::IsPart(Message const& message, Message const& part) noexcept
    {
        return std::any_of(message.mLowerLevels.begin(), message.mLowerLevels.end(),
            [&part](Message const& lower) { return &lower == &part || IsPart(lower, part); });
    }

    std::size_t MessageMemory::CountBytes(Message const& message) noexcept
    {
        std::size_t units = message.mTemplate.capacity() + message.mText.capacity();
        for (WideString const& argument : message.mArguments)
            units += argument.capacity();
        std::size_t bytes = units * sizeof(WideString::value_type) +
                            message.mArguments.capacity() * sizeof(WideString) +
                            message.mLowerLevels.capacity() * sizeof(Message);
        for (auto const& [languageID, text] : message.mLocalizedTexts)
            bytes += text.capacity();
        for (Message const& lower : message.mLowerLevels)
            bytes += CountBytes(lower);
        return bytes;
    }
}
