#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace QzLogTool
{
    /// A value to be replaced, from the first of its bytes up to and without the second.
    struct Secret
    {
        std::size_t mBegin = 0;
        std::size_t mEnd = 0;
        /// What the mask needs around it where the value had no quotes of its own, and JSON wants some.
        std::string mQuote;
    };

    /// Finds values of one kind. Any bytes can stand in a text.
    class SecretFinder
    {
    public:
        virtual ~SecretFinder() = default;

        /// The first value at or after a place. False when there is none.
        virtual bool Find(std::string_view text, std::size_t from, Secret& secret) const = 0;
    };
}
