// Bytes as a compressed log: they give the same whatever the pieces, or fail in words.

#include "Fuzz.h"
#include "Trouble.h"
#include "reading/Decompressor.h"

#include <string_view>

namespace
{
    using namespace QzLogTool;

    constexpr std::size_t kMost = 1 << 16;

    /// What was made before the end, or before a failure.
    std::string Decompress(std::string_view bytes, std::size_t pieceSize)
    {
        std::string made;
        std::size_t at = 0;
        auto const readMore = [&](char* buffer, std::size_t size)
        {
            std::size_t const count = bytes.copy(buffer, std::min(size, pieceSize), at);
            at += count;
            return count;
        };
        try
        {
            auto const pDecompressor = Decompressor::Make(bytes.substr(0, Decompressor::kGlance), readMore);
            std::string buffer(std::min(pieceSize, kMost), '\0');
            while (made.size() < kMost)
            {
                std::size_t const count = pDecompressor->Read(buffer.data(), buffer.size());
                Fuzz::Check(count <= buffer.size(), "no more than there is room");
                if (count == 0)
                    return made + "\nend";
                made.append(buffer, 0, count);
            }
        }
        catch (Trouble& trouble)
        {
            Fuzz::Check(*trouble.what() != '\0', "a failure has words");
            return made;
        }
        return made.substr(0, kMost);
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const bytes(data, data + size);
    if (!Decompressor::IsCompressed(std::string_view(bytes).substr(0, Decompressor::kGlance)))
        return 0;
    std::string const whole = Decompress(bytes, kMost);
    std::string const pieces = Decompress(bytes, 3);
    // How much comes before damage that is near depends on the pieces.
    Fuzz::Check(whole.starts_with(pieces) || pieces.starts_with(whole), "the bytes do not depend on the pieces");
    return 0;
}
