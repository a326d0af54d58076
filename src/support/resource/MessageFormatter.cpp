#include <QzResource/MessageFormatter.h>

#include "os/Unicode.h"
#include "support/base/Ascii.h"
#include "support/base/KeptMemory.h"
#include "support/resource/FormatterRing.h"

#include <QzBase/details/TemplateText.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>

namespace QzResource
{
    namespace
    {
        constexpr int kWideHexDigits = 8;
        constexpr std::size_t kFirstEnds = 8;

        /// Writes a text piece by piece into a string, which it makes longer than the text and keeps so: most pieces
        /// are copied and nothing else.
        class Writer
        {
        public:
            explicit Writer(std::string& buffer) noexcept : mBuffer(buffer) {}

            void Append(char const* text, std::size_t length)
            {
                if (mBuffer.size() - mLength < length) [[unlikely]]
                    return Grow(text, length);
                std::memcpy(mBuffer.data() + mLength, text, length);
                mLength += length;
            }

            char const* Finish() noexcept
            {
                mBuffer[mLength] = '\0';
                return mBuffer.c_str();
            }

        private:
            [[gnu::noinline]] void Grow(char const* text, std::size_t length)
            {
                mBuffer.resize(mLength);
                mBuffer.append(text, length);
                mLength = mBuffer.size();
                mBuffer.resize(mBuffer.capacity());
            }

            std::string& mBuffer;
            std::size_t mLength = 0;
        };

        template <class Integer>
        constexpr unsigned int BitsOf(Integer)
        {
            return sizeof(Integer) * CHAR_BIT;
        }
    }

    MessageFormatter::MessageFormatter() = default;
    MessageFormatter::~MessageFormatter() = default;

    MessageFormatter& MessageFormatter::operator<<(char const* utf8Text)
    {
        return InsertText(utf8Text, utf8Text ? std::strlen(utf8Text) : 0);
    }

    MessageFormatter& MessageFormatter::operator<<(unsigned short const* wideText)
    {
        MakeRoomForEnd();
        if (wideText)
        {
            std::size_t const length = std::char_traits<unsigned short>::length(wideText);
            QzOs::AppendUTF8(mValues, wideText, length, QzOs::Malformed::Replace);
        }
        mEnds.push_back(mValues.size());
        return *this;
    }

    MessageFormatter& MessageFormatter::operator<<(std::string const& utf8Text)
    {
        return InsertText(utf8Text.data(), utf8Text.size());
    }

    MessageFormatter& MessageFormatter::operator<<(std::string_view utf8Text)
    {
        return InsertText(utf8Text.data(), utf8Text.size());
    }

    MessageFormatter& MessageFormatter::operator<<(char character)
    {
        return InsertText(&character, 1);
    }
    MessageFormatter& MessageFormatter::operator<<(bool value)
    {
        return *this << (value ? "true" : "false");
    }

    MessageFormatter& MessageFormatter::operator<<(signed char value)
    {
        return InsertSigned(value, BitsOf(value));
    }
    MessageFormatter& MessageFormatter::operator<<(unsigned char value)
    {
        return InsertUnsigned(value);
    }
    MessageFormatter& MessageFormatter::operator<<(short value)
    {
        return InsertSigned(value, BitsOf(value));
    }
    MessageFormatter& MessageFormatter::operator<<(unsigned short value)
    {
        return InsertUnsigned(value);
    }
    MessageFormatter& MessageFormatter::operator<<(int value)
    {
        return InsertSigned(value, BitsOf(value));
    }
    MessageFormatter& MessageFormatter::operator<<(unsigned int value)
    {
        return InsertUnsigned(value);
    }
    MessageFormatter& MessageFormatter::operator<<(long value)
    {
        return InsertSigned(value, BitsOf(value));
    }
    MessageFormatter& MessageFormatter::operator<<(unsigned long value)
    {
        return InsertUnsigned(value);
    }
    MessageFormatter& MessageFormatter::operator<<(long long value)
    {
        return InsertSigned(value, BitsOf(value));
    }
    MessageFormatter& MessageFormatter::operator<<(unsigned long long value)
    {
        return InsertUnsigned(value);
    }

    MessageFormatter& MessageFormatter::operator<<(double value)
    {
        char text[32];
        char* const end = std::to_chars(text, text + sizeof(text), value).ptr;
        return InsertText(text, static_cast<std::size_t>(end - text));
    }

    MessageFormatter& MessageFormatter::operator<<(void (*manipulator)(MessageFormatter&))
    {
        if (manipulator)
            manipulator(*this);
        return *this;
    }

    char const* MessageFormatter::Format(MessageTemplate const& messageTemplate)
    {
        struct ClearAtEnd
        {
            MessageFormatter& mFormatter;
            ~ClearAtEnd()
            {
                mFormatter.Clear();
                if (mFormatter.mpRing)
                    mFormatter.mpRing->GiveBack(mFormatter);
            }
        } const clearAtEnd{*this};

        GiveBackLongText();
        Writer writer(mResult);
        std::string const& text = messageTemplate.GetText();
        QzBase::ExpandTemplate(
            text.data(), text.size(),
            [&](char const* first, char const* last) { writer.Append(first, static_cast<std::size_t>(last - first)); },
            [&](std::size_t index)
            {
                if (index >= mEnds.size())
                    return false;
                std::size_t const begin = index == 0 ? 0 : mEnds[index - 1];
                writer.Append(mValues.data() + begin, mEnds[index] - begin);
                return true;
            });
        return writer.Finish();
    }

    void MessageFormatter::GiveBackLongText() noexcept
    {
        if (mResult.capacity() > QzBase::kKeptBytes)
            QzBase::EmptyAndKeepMemory(mResult);
    }

    void MessageFormatter::Clear() noexcept
    {
        QzBase::EmptyAndKeepMemory(mValues);
        QzBase::EmptyAndKeepMemory(mEnds);
        mNumberForm = NumberForm::Decimal;
    }

    MessageFormatter& MessageFormatter::InsertText(char const* text, std::size_t length)
    {
        MakeRoomForEnd();
        mValues.append(text, length);
        mEnds.push_back(mValues.size());
        return *this;
    }

    MessageFormatter& MessageFormatter::InsertSigned(long long value, unsigned int bits)
    {
        if (mNumberForm == NumberForm::Decimal)
        {
            char text[24];
            char* const end = std::to_chars(text, text + sizeof(text), value).ptr;
            return InsertText(text, static_cast<std::size_t>(end - text));
        }
        return InsertUnsigned(static_cast<unsigned long long>(value) & (ULLONG_MAX >> (BitsOf(value) - bits)));
    }

    MessageFormatter& MessageFormatter::InsertUnsigned(unsigned long long value)
    {
        char text[24];
        char* end = text;
        switch (mNumberForm)
        {
        case NumberForm::Decimal:
            end = std::to_chars(text, text + sizeof(text), value).ptr;
            break;
        case NumberForm::Hexadecimal:
            end = QzBase::WriteHex(text, value, 1);
            break;
        case NumberForm::WideHexadecimal:
            *end++ = '0';
            *end++ = 'x';
            end = QzBase::WriteHex(end, value, kWideHexDigits);
            break;
        }
        return InsertText(text, static_cast<std::size_t>(end - text));
    }

    // Done before a value is appended, so that noting its end cannot fail: a value without a noted end would
    // run into the next one.
    void MessageFormatter::MakeRoomForEnd()
    {
        if (mEnds.size() == mEnds.capacity())
            mEnds.reserve(mEnds.empty() ? kFirstEnds : 2 * mEnds.size());
    }

    // Not called any more: what Format does itself. The name stays, since the first release exports it.
    bool MessageFormatter::AppendValue(std::size_t index)
    {
        if (index >= mEnds.size())
            return false;
        std::size_t const begin = index == 0 ? 0 : mEnds[index - 1];
        mResult.append(mValues, begin, mEnds[index] - begin);
        return true;
    }

    SingleValue::SingleValue(MessageFormatter& formatter)
        : mFormatter(formatter), mFirst(formatter.mEnds.size()), mNumberForm(formatter.mNumberForm)
    {
        formatter.MakeRoomForEnd();
    }

    SingleValue::~SingleValue()
    {
        // The constructor has made room for this end. It is gone only if the formatter was emptied in between.
        std::vector<std::size_t>& ends = mFormatter.mEnds;
        ends.resize(std::min(mFirst, ends.size()));
        if (ends.size() < ends.capacity())
            ends.push_back(mFormatter.mValues.size());
        mFormatter.mNumberForm = mNumberForm;
    }

    void MessageFormat::Dec(MessageFormatter& formatter)
    {
        formatter.mNumberForm = MessageFormatter::NumberForm::Decimal;
    }

    void MessageFormat::Hex(MessageFormatter& formatter)
    {
        formatter.mNumberForm = MessageFormatter::NumberForm::Hexadecimal;
    }

    void MessageFormat::WideHex(MessageFormatter& formatter)
    {
        formatter.mNumberForm = MessageFormatter::NumberForm::WideHexadecimal;
    }
}
