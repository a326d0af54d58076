#pragma once

#include <QzBase/Export.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace QzResource
{
    /// A UTF-8 text with "%1" to "%99" for inserted values. Two digits after a "%" are read as one number. "%%"
    /// stands for "%". A "%" before anything else is an ordinary character. Constructing and SetText throw
    /// std::bad_alloc. A const template may be read by any thread.
    class QZLOG_API MessageTemplate
    {
    public:
        /// Copies `utf8Text`; null counts as empty.
        explicit MessageTemplate(char const* utf8Text = nullptr);

        std::string const& GetText() const noexcept { return mText; }

        /// Replaces the text. Up to 64 KB of memory are kept for the next text. Null counts as empty.
        void SetText(char const* utf8Text);

    private:
        std::string mText;
    };

    class FormatterRing;

    /// Takes the values for one message, in order, and puts them into a template. GetMessageFormatter
    /// gives each caller an empty one of its own. Used by one thread. Insertions throw std::bad_alloc, and
    /// then insert nothing. The formatted text ends at the first zero byte that is inserted.
    class QZLOG_API MessageFormatter
    {
    public:
        MessageFormatter();
        ~MessageFormatter();
        MessageFormatter(MessageFormatter const&) = delete;
        MessageFormatter& operator=(MessageFormatter const&) = delete;

        /// A text; null inserts an empty value. Each malformed piece of wide text becomes U+FFFD.
        MessageFormatter& operator<<(char const* utf8Text);
        MessageFormatter& operator<<(unsigned short const* wideText);
        /// A text of `utf8Text.size()` bytes, which need not be terminated.
        MessageFormatter& operator<<(std::string const& utf8Text);
        MessageFormatter& operator<<(std::string_view utf8Text);

        /// One character.
        MessageFormatter& operator<<(char character);
        /// "true" or "false".
        MessageFormatter& operator<<(bool value);

        // Numbers, in the form that the last manipulator chose; decimal at first. In the hexadecimal
        // forms, a negative number shows the bits of its own type.
        MessageFormatter& operator<<(signed char value);
        MessageFormatter& operator<<(unsigned char value);
        MessageFormatter& operator<<(short value);
        MessageFormatter& operator<<(unsigned short value);
        MessageFormatter& operator<<(int value);
        MessageFormatter& operator<<(unsigned int value);
        MessageFormatter& operator<<(long value);
        MessageFormatter& operator<<(unsigned long value);
        MessageFormatter& operator<<(long long value);
        MessageFormatter& operator<<(unsigned long long value);

        /// The shortest text that reads back as the same number, whatever the locale.
        MessageFormatter& operator<<(double value);

        /// Other pointers would silently convert to bool.
        MessageFormatter& operator<<(void const*) = delete;

        /// Applies a manipulator: MessageFormat::Dec, Hex or WideHex.
        MessageFormatter& operator<<(void (*manipulator)(MessageFormatter&));

        /// Puts the inserted values into the template in one pass: a "%2" within a value is not expanded, and a
        /// number without a value is kept as it is. The formatter is empty afterwards, also when this throws
        /// std::bad_alloc.
        /// \return  UTF-8 text, valid until the formatter is used again. GetMessageFormatter leaves it alone
        ///          until 16 more texts have been formatted on the thread.
        char const* Format(MessageTemplate const& messageTemplate);

        /// Frees the text that Format returned if it takes more than 64 KB; it is then no longer valid. The log
        /// functions do this with the texts that they have formatted. Code that calls Format itself may do it after
        /// the last use of the text.
        void GiveBackLongText() noexcept;

        /// How many values have been inserted since the formatter was empty.
        std::size_t GetValueCount() const noexcept { return mEnds.size(); }

        /// Removes the inserted values and returns to decimal numbers.
        void Clear() noexcept;

    private:
        friend struct MessageFormat;
        friend class FormatterRing;
        friend class SingleValue;

        enum class NumberForm : unsigned char
        {
            Decimal,
            Hexadecimal,
            WideHexadecimal
        };

        // mValues holds the values one after the other; mEnds holds where each of them ends. Both keep
        // their memory, so a formatter that is reused does not allocate.
        std::string mValues;
        std::vector<std::size_t> mEnds;
        std::string mResult;
        NumberForm mNumberForm = NumberForm::Decimal;
        /// The ring that gets it back after Format; null for a formatter that the user made.
        FormatterRing* mpRing = nullptr;

        bool IsEmpty() const noexcept { return mEnds.empty() && mNumberForm == NumberForm::Decimal; }
        MessageFormatter& InsertText(char const* text, std::size_t length);
        MessageFormatter& InsertSigned(long long value, unsigned int bits);
        MessageFormatter& InsertUnsigned(unsigned long long value);
        void MakeRoomForEnd();
        bool AppendValue(std::size_t index);
    };

    /// Makes one value of all that is inserted into a formatter while this object lives, an empty one of nothing. When
    /// it is destroyed, the numbers after it have the form again that they had before.
    ///
    ///     QzResource::SingleValue const value(formatter);
    ///     formatter << point.x << '/' << point.y;
    class QZLOG_API SingleValue
    {
    public:
        /// \param formatter  must outlive this object. Throws std::bad_alloc, and then changes nothing.
        explicit SingleValue(MessageFormatter& formatter);
        ~SingleValue();
        SingleValue(SingleValue const&) = delete;
        SingleValue& operator=(SingleValue const&) = delete;

    private:
        MessageFormatter& mFormatter;
        std::size_t const mFirst;
        MessageFormatter::NumberForm const mNumberForm;
    };

    /// Manipulators that choose how the numbers after them are inserted.
    struct QZLOG_API MessageFormat
    {
        /// Decimal.
        static void Dec(MessageFormatter& formatter);
        /// Upper-case hexadecimal digits, no prefix.
        static void Hex(MessageFormatter& formatter);
        /// "0x" and at least eight upper-case hexadecimal digits.
        static void WideHex(MessageFormatter& formatter);
    };

    /// An empty formatter of the calling thread. It belongs to the caller until Format is called on it: code that logs
    /// while the caller's arguments are evaluated gets other formatters, and values left in one by a call that logged
    /// nothing never reach a later message. A thread can have 16 formatters that it has taken and not yet formatted. A
    /// call beyond that may return the oldest of them, cleared. A formatter lives as long as its thread and must not be
    /// passed to another thread. Throws std::bad_alloc on a thread's first use.
    QZLOG_API MessageFormatter& GetMessageFormatter();

    /// A template for a UTF-8 text (copied; null counts as empty). The calling thread reuses 16 templates in
    /// turn, so it is valid until the sixteenth call after this one. Throws std::bad_alloc.
    QZLOG_API MessageTemplate const& GetMessageTemplate(char const* utf8Text);
}
