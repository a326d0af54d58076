#pragma once

#include <QzBase/Export.h>
#include <QzBase/details/TemplateText.h>
#include <QzLog/SourceLocation.h>

#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

// What can stand after the router in a call of QzLog::Log: a template as a literal, a RunTimeTemplate, or a message ID.
// Each of them records the source location of the call, which is why a call needs no macro: literals and IDs become
// these types inside the call. The texts are not copied. QzLog/Log.h says how they are used.

namespace QzLog
{
    /// A template that is known only at run time, so its numbers are not checked: one without a value is kept as it
    /// is. For a text that is no template write Log(router, "%1", text).
    class RunTimeTemplate
    {
    public:
        /// \param utf8Text  zero-terminated; null counts as empty. It must outlive the call.
        explicit RunTimeTemplate(char const* utf8Text) noexcept : mpText(utf8Text) {}
        explicit RunTimeTemplate(std::string const& utf8Text) noexcept : mpText(utf8Text.c_str()) {}

        char const* GetText() const noexcept { return mpText; }

    private:
        char const* mpText;
    };

    namespace CallDetails
    {
        enum class TemplateFault : unsigned char
        {
            None,
            NumberWithoutValue,
            ValueWithoutNumber
        };

        /// Compares the numbers in a template with the values that come with it.
        constexpr TemplateFault FindFault(std::string_view text, std::size_t valueCount)
        {
            constexpr std::size_t kMaxNumber = 99;
            bool isUsed[kMaxNumber] = {};
            bool hasAll = true;
            QzBase::ExpandTemplate(
                text.data(), text.size(), [](char const*, char const*) {},
                [&](std::size_t index)
                {
                    isUsed[index] = true;
                    hasAll = hasAll && index < valueCount;
                    return true;
                });
            if (!hasAll)
                return TemplateFault::NumberWithoutValue;
            for (std::size_t index = 0; index < valueCount; ++index)
                if (index >= kMaxNumber || !isUsed[index])
                    return TemplateFault::ValueWithoutNumber;
            return TemplateFault::None;
        }

        /// By hand, since string_view::find compares pointers, which g++ with the undefined-behaviour sanitizer does
        /// not take for constant in arrays of a function.
        constexpr bool IsPlain(char const* text)
        {
            while (*text != '\0' && *text != '%')
                ++text;
            return *text == '\0';
        }

        template <class T, class... Others>
        inline constexpr bool kIsOneOf = (std::is_same_v<T, Others> || ...);

        template <class T>
        concept IsIntegerOrEnumeration = std::is_integral_v<T> || std::is_enum_v<T>;

        template <class T>
        concept IsMessageID = IsIntegerOrEnumeration<T> && sizeof(T) <= sizeof(unsigned int) &&
                              !kIsOneOf<T, bool, char, wchar_t, char8_t, char16_t, char32_t>;

        /// What cannot stand after the router.
        template <class T>
        concept IsNoTemplate = !IsIntegerOrEnumeration<T> && !std::convertible_to<T const&, char const*> &&
                               !std::same_as<T, RunTimeTemplate>;

        /// False, and known to be only when a template that says it is used.
        template <class T>
        inline constexpr bool kIsSupported = false;

        // Declared only: a compiler that meets one in a constant expression shows its name.
        void ANumberInTheTemplateHasNoValue();
        void NoNumberInTheTemplateNamesThisManyValues();
    }

    /// A template for `valueCount` values: "%1" to "%99", with "%%" for "%". A literal, or a constant of the type
    /// `char const*`, is checked at compile time: each number must have a value, and each value a number. An error
    /// names ANumberInTheTemplateHasNoValue ("%%" would be a plain "%") or NoNumberInTheTemplateNamesThisManyValues.
    template <std::size_t valueCount>
    class CallTemplate
    {
    public:
        template <class Text>
        requires std::convertible_to<Text const&, char const*>
        consteval CallTemplate(Text const& text, char const* fileName = __builtin_FILE(),
            char const* functionName = __builtin_FUNCTION(), int lineNumber = __builtin_LINE())
            : mpText(text), mLocation{fileName, functionName, lineNumber}, mIsPlain(CallDetails::IsPlain(mpText))
        {
            CallDetails::TemplateFault const fault = CallDetails::FindFault(mpText, valueCount);
            if (fault == CallDetails::TemplateFault::NumberWithoutValue)
                CallDetails::ANumberInTheTemplateHasNoValue();
            if (fault == CallDetails::TemplateFault::ValueWithoutNumber)
                CallDetails::NoNumberInTheTemplateNamesThisManyValues();
        }

        CallTemplate(RunTimeTemplate text, char const* fileName = __builtin_FILE(),
            char const* functionName = __builtin_FUNCTION(), int lineNumber = __builtin_LINE()) noexcept
            : mpText(text.GetText()), mLocation{fileName, functionName, lineNumber}, mIsPlain(false)
        {
        }

        /// Does not compile, and says why.
        template <CallDetails::IsNoTemplate Text>
        CallTemplate(Text const&)
        {
            static_assert(!std::convertible_to<Text const&, std::string_view>,
                "Write RunTimeTemplate(text) for a template that is known only at run time, and (router, \"%1\", text) "
                "for a text that is no template");
            static_assert(std::convertible_to<Text const&, std::string_view>,
                "After the router stands a template (a literal or a RunTimeTemplate), a message ID, or a "
                "QzBase::Message, which has no values");
        }

        constexpr char const* GetText() const noexcept { return mpText; }
        constexpr SourceLocation const& GetLocation() const noexcept { return mLocation; }

        /// Whether the text is known to have no "%", so that it is also the finished text.
        constexpr bool IsPlain() const noexcept { return mIsPlain; }

    private:
        char const* mpText;
        SourceLocation mLocation;
        bool mIsPlain;
    };

    /// A message ID in place of a template: an integer or an enumeration of at most 32 bits, no bool or character. Name
    /// it to give the logger's catalog a context: Log(router, CallID(kReportDone, "nightly"), user).
    class CallID
    {
    public:
        template <class ID>
        requires CallDetails::IsMessageID<ID>
        constexpr CallID(ID id, char const* catalogContext = nullptr, char const* fileName = __builtin_FILE(),
            char const* functionName = __builtin_FUNCTION(), int lineNumber = __builtin_LINE()) noexcept
            : mID(static_cast<unsigned int>(id)),
              mpCatalogContext(catalogContext),
              mLocation{fileName, functionName, lineNumber}
        {
        }

        /// Does not compile, and says why.
        template <CallDetails::IsIntegerOrEnumeration Value>
        requires(!CallDetails::IsMessageID<Value>) CallID(Value, char const* = nullptr)
        {
            static_assert(CallDetails::kIsSupported<Value>,
                "A message ID is an integer or an enumeration of at most 32 bits, and no bool or character");
        }

        constexpr unsigned int GetID() const noexcept { return mID; }
        constexpr char const* GetCatalogContext() const noexcept { return mpCatalogContext; }
        constexpr SourceLocation const& GetLocation() const noexcept { return mLocation; }

    private:
        unsigned int mID;
        char const* mpCatalogContext;
        SourceLocation mLocation;
    };
}
