#pragma once

#include <cstddef>
#include <string>

// Texts and vectors that a thread reuses for every message keep their memory, so that a message allocates nothing.
// The memory of long messages is not kept: they are rare, and every thread has many such texts.

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
