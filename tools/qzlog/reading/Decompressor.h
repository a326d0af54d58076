#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>

namespace QzLogTool
{
    /// Makes the bytes again that gzip, zstd or xz have compressed. Operations throw Trouble, without a path, when the
    /// compressed bytes are damaged or end too early.
    class Decompressor
    {
    public:
        /// Reads on in the compressed bytes; 0 at their end.
        using ReadMore = std::function<std::size_t(char* buffer, std::size_t size)>;

        /// How many bytes IsCompressed wants to see.
        static constexpr std::size_t kGlance = 6;

        /// Whether what begins so is compressed.
        static bool IsCompressed(std::string_view beginning);

        /// Throws Trouble when this program was built without the library that it takes.
        static std::unique_ptr<Decompressor> Make(std::string_view beginning, ReadMore readMore);

        virtual ~Decompressor() = default;

        /// The bytes that follow; 0 at the end.
        virtual std::size_t Read(char* buffer, std::size_t size) = 0;
    };
}
