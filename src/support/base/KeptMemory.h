#pragma once

#include <cstddef>
#include <string>

// What a thread uses again for message after message keeps its memory, so that a message allocates nothing; but not
// that of a long one. Long messages are rare, and every thread has many such texts.

namespace QzBase
{
    /// How many bytes each of them keeps.
    inline constexpr std::size_t kKeptBytes = 64 * 1024;

    /// For a string or a vector.
    template <class Container>
    void EmptyAndKeepMemory(Container& container) noexcept
    {
        if (container.capacity() > kKeptBytes / sizeof(typename Container::value_type))
            Container().swap(container);
        container.clear();
    }

    /// For a text that has just been set.
    inline void GiveBackSpareMemory(std::string& text)
    {
        if (text.capacity() > kKeptBytes && text.size() <= kKeptBytes)
            text.shrink_to_fit();
    }
}
