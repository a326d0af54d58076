#include "os/Unicode.h"

#include <utf8/unchecked.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace QzOs
{
    namespace
    {
        constexpr std::uint32_t kReplacement = 0xFFFD;
        // A byte that is not UTF-8 becomes this unit plus the byte.
        constexpr std::uint32_t kByteUnits = 0xDC00;

        bool IsASCII(char byte)
        {
            return static_cast<unsigned char>(byte) < 0x80;
        }
        bool IsHighSurrogate(std::uint32_t unit)
        {
            return unit >= 0xD800 && unit <= 0xDBFF;
        }
        bool IsLowSurrogate(std::uint32_t unit)
        {
            return unit >= 0xDC00 && unit <= 0xDFFF;
        }
        bool StandsForByte(std::uint32_t unit)
        {
            return unit >= kByteUnits + 0x80 && unit <= kByteUnits + 0xFF;
        }

        constexpr std::uint64_t kHighBitsOfBytes = 0x8080808080808080;
        constexpr std::uint64_t kHighBitsOfUnits = 0xFF80FF80FF80FF80;

        /// How many bytes are in memory before the first one with a bit set.
        std::size_t CountBytesBefore(std::uint64_t bits)
        {
            bool const isLittleEndian = std::endian::native == std::endian::little;
            return static_cast<std::size_t>(isLittleEndian ? std::countr_zero(bits) : std::countl_zero(bits)) / 8;
        }

        template <class Unit>
        std::size_t MeasureASCIIRun(Unit const* text, std::size_t length, std::uint64_t highBits)
        {
            constexpr std::size_t kStep = sizeof(std::uint64_t) / sizeof(Unit);
            std::size_t i = 0;
            for (; i + kStep <= length; i += kStep)
            {
                std::uint64_t units;
                std::memcpy(&units, text + i, sizeof(units));
                if ((units & highBits) != 0)
                    break;
            }
            while (i < length && text[i] >= 0 && text[i] < 0x80)
                ++i;
            return i;
        }

        // In pieces of a fixed size, which compilers turn into a few wide instructions.
        template <class To, class From>
        To* CopyASCII(To* __restrict out, From const* __restrict text, std::size_t length)
        {
            constexpr std::size_t kStep = 16;
            for (; length >= kStep; length -= kStep, out += kStep, text += kStep)
            {
                for (std::size_t i = 0; i < kStep; ++i)
                    out[i] = static_cast<To>(static_cast<std::make_unsigned_t<From>>(text[i]));
            }
            for (; length != 0; --length)
                *out++ = static_cast<To>(static_cast<std::make_unsigned_t<From>>(*text++));
            return out;
        }

        /// Writes the ASCII at the start of `text` and returns its length. What `out` has room for after it, `length`
        /// units in all, may be overwritten: whole words are copied before it is known where ASCII ends, which spares
        /// short runs a loop of unknown length.
        std::size_t CopyASCIIStart(unsigned short* __restrict out, char const* __restrict text, std::size_t length)
        {
            constexpr std::size_t kStep = sizeof(std::uint64_t);
            std::size_t count = 0;
            for (; count + kStep <= length; count += kStep)
            {
                std::uint64_t bytes;
                std::memcpy(&bytes, text + count, sizeof(bytes));
                for (std::size_t i = 0; i < kStep; ++i)
                    out[count + i] = static_cast<unsigned char>(text[count + i]);
                if ((bytes &= kHighBitsOfBytes) != 0)
                    return count + CountBytesBefore(bytes);
            }
            for (; count != length && IsASCII(text[count]); ++count)
                out[count] = static_cast<unsigned char>(text[count]);
            return count;
        }

        // What may follow a lead byte: how many bytes in all, and which second byte. Other second bytes
        // would make an overlong form, a surrogate or a number beyond U+10FFFF.
        struct SequenceForm
        {
            unsigned char mLength;
            unsigned char mLowestSecond;
            unsigned char mHighestSecond;
        };

        constexpr SequenceForm GetSequenceForm(unsigned int lead)
        {
            // No second byte is both at least 255 and at most 0.
            if (lead < 0xC2 || lead > 0xF4)
                return {1, 0xFF, 0};
            if (lead < 0xE0)
                return {2, 0x80, 0xBF};
            if (lead < 0xF0)
                return {3, static_cast<unsigned char>(lead == 0xE0 ? 0xA0 : 0x80),
                    static_cast<unsigned char>(lead == 0xED ? 0x9F : 0xBF)};
            return {4, static_cast<unsigned char>(lead == 0xF0 ? 0x90 : 0x80),
                static_cast<unsigned char>(lead == 0xF4 ? 0x8F : 0xBF)};
        }

        constexpr auto kForms = []
        {
            std::array<SequenceForm, 256> forms{};
            for (unsigned int lead = 0; lead < forms.size(); ++lead)
                forms[lead] = GetSequenceForm(lead);
            return forms;
        }();

        /// A sequence of bytes that begins with one that is no ASCII.
        struct Sequence
        {
            /// Of a malformed one: a lead byte with the continuation bytes that could follow it, else one byte.
            std::size_t mLength;
            bool mIsWellFormed;
        };

        /// Looks at the bytes of the sequence only, so that decoding takes time in proportion to the text, whatever
        /// it holds.
        Sequence MeasureSequence(char const* text, char const* end)
        {
            auto const byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
            SequenceForm const form = kForms[byte(0)];
            std::size_t const limit = std::min<std::size_t>(form.mLength, static_cast<std::size_t>(end - text));
            // At the end of the text that is the lead byte again, which never is a second one.
            unsigned char const second = byte(limit != 1);
            bool const isLead = (second >= form.mLowestSecond) & (second <= form.mHighestSecond);
            if (!isLead)
                return {1, false};
            std::size_t length = 2;
            while (length < limit && (byte(length) & 0xC0) == 0x80)
                ++length;
            return {length, length == form.mLength};
        }

        /// `sequence` is well-formed and has 2 to 4 bytes.
        unsigned short* DecodeWellFormed(unsigned short* out, char const* sequence, std::size_t length)
        {
            auto const payload = [&](std::size_t index) { return static_cast<std::uint32_t>(sequence[index]) & 0x3F; };
            // Of the lead byte only the bits that belong to the number, which are fewer the longer it is.
            std::uint32_t number = payload(0) & (0x7Fu >> length);
            for (std::size_t i = 1; i < length; ++i)
                number = number << 6 | payload(i);
            if (number < 0x10000)
            {
                *out++ = static_cast<unsigned short>(number);
                return out;
            }
            *out++ = static_cast<unsigned short>(0xD800 + ((number - 0x10000) >> 10));
            *out++ = static_cast<unsigned short>(0xDC00 + (number & 0x3FF));
            return out;
        }

        unsigned short* DecodeMalformed(
            unsigned short* out, char const* sequence, std::size_t length, Malformed malformed)
        {
            if (malformed == Malformed::Replace)
            {
                *out++ = static_cast<unsigned short>(kReplacement);
                return out;
            }
            for (std::size_t i = 0; i < length; ++i)
                *out++ = static_cast<unsigned short>(kByteUnits + static_cast<unsigned char>(sequence[i]));
            return out;
        }

        char* EncodeLoneSurrogate(char* out, std::uint32_t unit, Malformed malformed, bool* isExact)
        {
            if (malformed == Malformed::Replace)
                return utf8::unchecked::append(kReplacement, out);
            if (StandsForByte(unit))
            {
                *out++ = static_cast<char>(unit - kByteUnits);
                return out;
            }
            if (isExact)
                *isExact = false;
            return utf8::unchecked::append(unit, out);
        }
    }

    std::size_t MeasureASCII(char const* text, std::size_t length) noexcept
    {
        return MeasureASCIIRun(text, length, kHighBitsOfBytes);
    }

    std::size_t MeasureASCII(unsigned short const* text, std::size_t length) noexcept
    {
        return MeasureASCIIRun(text, length, kHighBitsOfUnits);
    }

    std::size_t DecodeUTF8(unsigned short* out, char const* text, std::size_t length, Malformed malformed) noexcept
    {
        unsigned short* const start = out;
        char const* const end = text + length;
        while (text != end)
        {
            std::size_t const ascii = CopyASCIIStart(out, text, static_cast<std::size_t>(end - text));
            out += ascii;
            text += ascii;
            while (text != end && !IsASCII(*text))
            {
                Sequence const sequence = MeasureSequence(text, end);
                out = sequence.mIsWellFormed ? DecodeWellFormed(out, text, sequence.mLength)
                                             : DecodeMalformed(out, text, sequence.mLength, malformed);
                text += sequence.mLength;
            }
        }
        return static_cast<std::size_t>(out - start);
    }

    std::size_t EncodeUTF8(
        char* out, unsigned short const* text, std::size_t length, Malformed malformed, bool* isExact) noexcept
    {
        char* const start = out;
        for (std::size_t i = 0; i < length; ++i)
        {
            std::uint32_t const unit = text[i];
            if (unit < 0x80)
                *out++ = static_cast<char>(unit);
            else if (IsHighSurrogate(unit) && i + 1 < length && IsLowSurrogate(text[i + 1]))
                out = utf8::unchecked::append(0x10000 + ((unit - 0xD800) << 10) + (text[++i] - 0xDC00u), out);
            else if (IsHighSurrogate(unit) || IsLowSurrogate(unit))
                out = EncodeLoneSurrogate(out, unit, malformed, isExact);
            else
                out = utf8::unchecked::append(unit, out);
        }
        return static_cast<std::size_t>(out - start);
    }

    void AppendUTF8(std::string& out, unsigned short const* text, std::size_t length, Malformed malformed)
    {
        // Room for the worst case would be three times what ASCII needs.
        std::size_t const before = out.size();
        std::size_t const ascii = MeasureASCII(text, length);
        out.resize(before + ascii + (length - ascii) * kUTF8BytesPerUnit);
        char* end = CopyASCII(out.data() + before, text, ascii);
        end += EncodeUTF8(end, text + ascii, length - ascii, malformed, nullptr);
        out.resize(static_cast<std::size_t>(end - out.data()));
    }
}
