#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Looks for bytes of some kind, sixteen at a time. Blocks are the vectors of the compiler, on any processor.

namespace QzLogTool
{
    using ByteBlock [[gnu::vector_size(16)]] = unsigned char;

    inline ByteBlock FillBlock(char c)
    {
        return ByteBlock{} + static_cast<unsigned char>(c);
    }

    /// What a comparison of two blocks gives: all bits of each byte that meets it.
    using ByteMask [[gnu::vector_size(16)]] = signed char;

    /// The first byte for which a test holds; `end` when there is none.
    /// \param test  gives the mask of two blocks: bytes, and in the second the bytes that follow them. A NUL follows
    ///              the last byte.
    template <class Test>
    char const* FindByte(char const* from, char const* end, Test const& test)
    {
        using Halves [[gnu::vector_size(16)]] = std::uint64_t;
        constexpr std::size_t kSize = sizeof(ByteBlock);
        auto const find = [&test](char const* at)
        {
            ByteBlock bytes;
            ByteBlock following;
            std::memcpy(&bytes, at, kSize);
            std::memcpy(&following, at + 1, kSize);
            return std::bit_cast<Halves>(ByteMask(test(bytes, following)));
        };
        auto const getFirst = [](Halves mask)
        {
            constexpr bool kIsLittle = std::endian::native == std::endian::little;
            std::uint64_t const half = mask[0] != 0 ? mask[0] : mask[1];
            int const bits = kIsLittle ? std::countr_zero(half) : std::countl_zero(half);
            return static_cast<std::size_t>(bits) / 8 + (mask[0] != 0 ? 0 : kSize / 2);
        };

        for (; static_cast<std::size_t>(end - from) > kSize; from += kSize)
            if (Halves const mask = find(from); (mask[0] | mask[1]) != 0)
                return from + getFirst(mask);
        char rest[kSize + 1] = {};
        std::size_t const length = static_cast<std::size_t>(end - from);
        std::memcpy(rest, from, length);
        Halves const mask = find(rest);
        std::size_t const at = (mask[0] | mask[1]) != 0 ? getFirst(mask) : length;
        return at < length ? from + at : end;
    }
}
