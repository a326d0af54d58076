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

        template <class T>
        concept IsMessageID = sizeof(T) <= sizeof(unsigned int) && (std::is_integral_v<T> || std::is_enum_v<T>);

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
            : mpText(text),
              mLocation{fileName, functionName, lineNumber},
              mIsPlain(std::string_view(mpText).find('%') == std::string_view::npos)
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

        constexpr char const* GetText() const noexcept { return mpText; }
        constexpr SourceLocation const& GetLocation() const noexcept { return mLocation; }

        /// Whether the text is known to have no "%", so that it is also the finished text.
        constexpr bool IsPlain() const noexcept { return mIsPlain; }

    private:
        char const* mpText;
        SourceLocation mLocation;
        bool mIsPlain;
    };

    /// A message ID in place of a template: an integer or an enumeration of at most 32 bits. Name it to give the
    /// logger's catalog a context: Log(router, CallID(kReportDone, "nightly"), user).
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

        constexpr unsigned int GetID() const noexcept { return mID; }
        constexpr char const* GetCatalogContext() const noexcept { return mpCatalogContext; }
        constexpr SourceLocation const& GetLocation() const noexcept { return mLocation; }

    private:
        unsigned int mID;
        char const* mpCatalogContext;
        SourceLocation mLocation;
    };
}
