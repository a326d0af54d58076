#pragma once

#include <QzLog/Format.h>
#include <QzLog/details/CallText.h>
#include <QzResource/MessageFormatter.h>

#include <bit>
#include <cerrno>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

// How the values of a QzLog::Log call become text. QzLog/Log.h has the table, and what a type of the user's needs.

namespace QzLog::CallDetails
{
    using QzResource::MessageFormatter;

    template <class T>
    concept HasInsertion = requires(MessageFormatter& formatter, T const& value)
    {
        operator<<(formatter, value);
    };

    template <class T>
    concept HasText = requires(T const& value)
    {
        MessageFormatter() << value.c_str();
    };

    /// An object that is text, or holds one.
    template <class T>
    concept IsTextObject = std::is_class_v<T> &&(std::is_convertible_v<T const&, std::string_view> ||
                                                 std::is_convertible_v<T const&, std::string> || HasText<T>);

    template <class T>
    concept ReturnsValue = requires(T const& value)
    {
        value();
        requires !std::is_void_v<decltype(value())>;
    };

    /// A function without parameters, a pointer to one, or an object that can be called like one.
    template <class T>
    concept IsCalled = !HasInsertion<T> && !IsTextObject<T> && ReturnsValue<T>;

    /// Characters of texts that the library does not support: they would otherwise be logged as numbers or addresses.
    template <class T>
    inline constexpr bool kIsForeignCharacter = kIsOneOf<std::remove_cv_t<T>, wchar_t, char8_t, char16_t, char32_t>;

    template <class T>
    concept IsManipulator = std::same_as<std::decay_t<T>, Format::Manipulator>;

    /// How many of the arguments are values.
    template <class... Values>
    inline constexpr std::size_t kValueCount = (std::size_t{0} + ... + (IsManipulator<Values> ? 0 : 1));

    /// The template for these arguments. They decide on it: it is not deduced from the text.
    template <class... Values>
    using TemplateFor = std::type_identity_t<CallTemplate<kValueCount<Values...>>>;

    template <class Value>
    struct PassingOf
    {
        using Decayed = std::decay_t<Value const&>;
        using Other = std::conditional_t<!HasInsertion<Value> && std::is_convertible_v<Value const&, std::string_view>,
            std::string_view, Value const&>;
        using Type = std::conditional_t<std::is_scalar_v<Decayed>, Decayed, Other>;
    };

    /// How a value is passed to the code that inserts it. What fits in registers goes by value, so that a variable of
    /// the caller need not have an address because of a disabled call. Texts go as one type.
    template <class Value>
    using Passed = typename PassingOf<Value>::Type;

    inline void InsertAddress(MessageFormatter& formatter, std::uintptr_t address)
    {
        char text[2 + 2 * sizeof(address)] = {'0', 'x'};
        char* const end = std::to_chars(text + 2, text + sizeof(text), address, 16).ptr;
        formatter << std::string_view(text, static_cast<std::size_t>(end - text));
    }

    /// The shortest text that reads back as the same number of this type: converted to double, a float would show
    /// digits that it does not have.
    template <std::floating_point T>
    void InsertFloating(MessageFormatter& formatter, T value)
    {
        char text[64];
        char* const end = std::to_chars(text, text + sizeof(text), value).ptr;
        formatter << std::string_view(text, static_cast<std::size_t>(end - text));
    }

    template <class T>
    void InsertPointer(MessageFormatter& formatter, T* pointer)
    {
        if constexpr (std::is_convertible_v<T*, char const*>)
            formatter << static_cast<char const*>(pointer);
        else if constexpr (std::is_convertible_v<T*, unsigned short const*>)
            formatter << static_cast<unsigned short const*>(pointer);
        else
        {
            static_assert(!kIsForeignCharacter<T>,
                "Wide text is unsigned short const* here (u\"text\"_w), and UTF-8 is char const*");
            InsertAddress(formatter, std::bit_cast<std::uintptr_t>(pointer));
        }
    }

    template <class T>
    void InsertObject(MessageFormatter& formatter, T const& value)
    {
        if constexpr (std::is_convertible_v<T const&, std::string_view>)
            formatter << static_cast<std::string_view>(value);
        else if constexpr (std::is_convertible_v<T const&, std::string>)
            formatter << static_cast<std::string>(value);
        else if constexpr (HasText<T>)
            formatter << value.c_str();
        else if constexpr (kIsForeignCharacter<T>)
            static_assert(
                kIsSupported<T>, "Wide text is unsigned short const* here (u\"text\"_w), and UTF-8 is char const*");
        else
            static_assert(kIsSupported<T>,
                "Give this type an operator<< for QzResource::MessageFormatter, or include QzLog/StandardValues.h for "
                "a "
                "type of the standard library. A function must need no arguments, return a value and be callable as a "
                "constant");
    }

    template <class T>
    void InsertValue(MessageFormatter& formatter, T const& value)
    {
        if constexpr (HasInsertion<T>)
        {
            QzResource::SingleValue const single(formatter);
            operator<<(formatter, value);
        }
        else if constexpr (std::is_null_pointer_v<T>)
            InsertAddress(formatter, 0);
        else if constexpr (std::is_pointer_v<T> && !IsManipulator<T>)
            InsertPointer(formatter, value);
        else if constexpr (std::is_enum_v<T>)
            formatter << +static_cast<std::underlying_type_t<T>>(value);
        else if constexpr (std::is_floating_point_v<T>)
            InsertFloating(formatter, value);
        else if constexpr (IsManipulator<T> || (std::is_arithmetic_v<T> && !kIsForeignCharacter<T>))
            formatter << value;
        else
            InsertObject(formatter, value);
    }

    /// What a pointer to a function has given; nothing if it was null.
    template <class Result>
    struct Returned
    {
        std::optional<Result> mResult;

        friend MessageFormatter& operator<<(MessageFormatter& formatter, Returned const& returned)
        {
            if (returned.mResult)
                InsertValue<Result>(formatter, *returned.mResult);
            else
                InsertAddress(formatter, 0);
            return formatter;
        }
    };

    /// The value itself, or what the function returns.
    template <class T>
    decltype(auto) Evaluate(T const& value)
    {
        if constexpr (IsCalled<T> && std::is_pointer_v<T>)
        {
            using Result = std::decay_t<decltype(value())>;
            return value ? Returned<Result>{value()} : Returned<Result>{};
        }
        else if constexpr (IsCalled<T>)
            return value();
        else
            return (value);
    }

    /// A formatter with values in it.
    struct FilledFormatter
    {
        template <class... Values>
        explicit FilledFormatter(Values const&... values) : mFormatter(QzResource::GetMessageFormatter())
        {
            (InsertValue<std::decay_t<Values>>(mFormatter, values), ...);
        }

        MessageFormatter& mFormatter;
    };

    /// A formatter with the values of one call. Functions are called in their order, before the formatter is taken,
    /// since they may log. Not inlined, so that what only an enabled call needs is not compiled into the caller, and
    /// is not in the call stack when the front end is called. Preserves errno.
    template <class... Passed>
    [[gnu::noinline]] MessageFormatter& Collect(Passed... values)
    {
        int const keptErrno = errno;
        FilledFormatter const filled{Evaluate<std::remove_cvref_t<Passed>>(values)...};
        errno = keptErrno;
        return filled.mFormatter;
    }
}
