#pragma once

#include <QzLog/details/CallValues.h>
#include <QzResource/MessageFormatter.h>

#include <algorithm>
#include <chrono>
#include <concepts>
#include <cstddef>
#include <exception>
#include <limits>
#include <locale>
#include <optional>
#include <ranges>
#include <ratio>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>

// Values of QzLog::Log from the standard library. Include it before the first call with such a value.
//
//     std::chrono::duration            "15ms", with ns, us, ms, s, min, h, d, or "[1/30]s" for another unit
//     time points of the system clock  "2026-11-25T19:30:00.250Z", as exact as their type
//     other time points                what has passed since the clock's epoch, as a duration
//     std::optional                    its value, or "none"
//     std::error_code, error_condition "No such file or directory (generic 2)"
//     std::exception                   what()
//     std::thread::id                  as the standard library writes it
//     std::pair, std::tuple            "(1, text)"
//     ranges                           "[1, 2, 3]": at most 16 elements, then "... 84 more", or only "..." where the
//                                      number is not known. Limited(range, n) shows n. An array of C is a pointer here:
//                                      pass std::span(array)
//     __int128, unsigned __int128      decimal
//
// std::filesystem::path, std::byte (a number) and std::string_view need no header. The elements of ranges, pairs and
// optionals are inserted like values of their own, and manipulators hold for them.

namespace QzLog
{
    /// Shows `limit` elements of a range. Refers to the range: use it within one call.
    template <std::ranges::input_range Range>
    struct Limited
    {
        Limited(Range const& range, std::size_t limit) : mRange(range), mLimit(limit) {}

        Range const& mRange;
        std::size_t mLimit;
    };

    namespace CallDetails
    {
        inline constexpr std::size_t kShownElements = 16;

        __extension__ using Int128 = __int128;
        __extension__ using UInt128 = unsigned __int128;

        /// What has no text without this header.
        template <class T>
        concept IsObjectWithoutText = std::is_class_v<T> && !IsTextObject<T>;

        template <class Period>
        constexpr std::string_view GetUnit()
        {
            if constexpr (std::is_same_v<Period, std::nano>)
                return "ns";
            else if constexpr (std::is_same_v<Period, std::micro>)
                return "us";
            else if constexpr (std::is_same_v<Period, std::milli>)
                return "ms";
            else if constexpr (std::is_same_v<Period, std::ratio<1>>)
                return "s";
            else if constexpr (std::is_same_v<Period, std::ratio<60>>)
                return "min";
            else if constexpr (std::is_same_v<Period, std::ratio<3600>>)
                return "h";
            else if constexpr (std::is_same_v<Period, std::ratio<86400>>)
                return "d";
            else
                return {};
        }

        /// The value with at least `width` digits.
        template <std::integral Number>
        void AppendPadded(std::string& text, Number value, std::size_t width)
        {
            std::string const digits = std::to_string(value);
            text.append(width - std::min(width, digits.size()), '0') += digits;
        }

        template <class T>
        void InsertElement(MessageFormatter& formatter, T const& element)
        {
            InsertValue<std::decay_t<T>>(formatter, element);
        }

        template <class Range>
        void InsertElements(MessageFormatter& formatter, Range const& range, std::size_t limit)
        {
            formatter << '[';
            std::size_t shown = 0;
            auto element = std::ranges::begin(range);
            auto const end = std::ranges::end(range);
            for (; element != end && shown != limit; ++element, ++shown)
            {
                if (shown != 0)
                    formatter << ", ";
                InsertValue<std::remove_cvref_t<std::ranges::range_reference_t<Range const>>>(formatter, *element);
            }
            if (element != end)
            {
                formatter << (shown == 0 ? "..." : ", ...");
                if constexpr (std::ranges::sized_range<Range const>)
                    formatter << ' ' << std::to_string(static_cast<std::size_t>(std::ranges::size(range)) - shown)
                              << " more";
            }
            formatter << ']';
        }
    }
}

namespace QzResource
{
    template <class Rep, class Period>
    MessageFormatter& operator<<(MessageFormatter& formatter, std::chrono::duration<Rep, Period> const& duration)
    {
        QzLog::CallDetails::InsertElement(formatter, duration.count());
        constexpr std::string_view kUnit = QzLog::CallDetails::GetUnit<typename Period::type>();
        if constexpr (!kUnit.empty())
            return formatter << kUnit;
        std::string unit = '[' + std::to_string(Period::num);
        if (Period::den != 1)
            unit += '/' + std::to_string(Period::den);
        return formatter << unit + "]s";
    }

    template <class Clock, class Duration>
    MessageFormatter& operator<<(MessageFormatter& formatter, std::chrono::time_point<Clock, Duration> const& time)
    {
        return formatter << time.time_since_epoch();
    }

    template <class Duration>
    MessageFormatter& operator<<(MessageFormatter& formatter, std::chrono::sys_time<Duration> const& time)
    {
        using namespace std::chrono;
        if constexpr (treat_as_floating_point_v<typename Duration::rep>)
        {
            // Not a number is in no range.
            constexpr hours kLimit(24 * 365 * 290);
            if (time.time_since_epoch() > -kLimit && time.time_since_epoch() < kLimit)
                return formatter << floor<nanoseconds>(time);
            return formatter << time.time_since_epoch();
        }
        else
        {
            auto const day = floor<days>(time);
            if (day < sys_days(year::min() / January / 1) || day > sys_days(year::max() / December / 31))
                return formatter << time.time_since_epoch();
            year_month_day const date(day);
            hh_mm_ss const clock(time - day);
            std::string text;
            int const wholeYear = static_cast<int>(date.year());
            text += wholeYear < 0 ? "-" : "";
            QzLog::CallDetails::AppendPadded(text, wholeYear < 0 ? -wholeYear : wholeYear, 4);
            QzLog::CallDetails::AppendPadded(text += '-', static_cast<unsigned int>(date.month()), 2);
            QzLog::CallDetails::AppendPadded(text += '-', static_cast<unsigned int>(date.day()), 2);
            QzLog::CallDetails::AppendPadded(text += 'T', clock.hours().count(), 2);
            QzLog::CallDetails::AppendPadded(text += ':', clock.minutes().count(), 2);
            QzLog::CallDetails::AppendPadded(text += ':', clock.seconds().count(), 2);
            if constexpr (decltype(clock)::fractional_width != 0)
                QzLog::CallDetails::AppendPadded(
                    text += '.', clock.subseconds().count(), decltype(clock)::fractional_width);
            return formatter << text + 'Z';
        }
    }

    template <class T>
    MessageFormatter& operator<<(MessageFormatter& formatter, std::optional<T> const& value)
    {
        if (!value)
            return formatter << "none";
        QzLog::CallDetails::InsertElement(formatter, *value);
        return formatter;
    }

    template <class Error>
    requires std::same_as<Error, std::error_code> || std::same_as<Error, std::error_condition> MessageFormatter&
    operator<<(MessageFormatter& formatter, Error const& error)
    {
        return formatter << error.message() << " (" << error.category().name() << ' ' << std::to_string(error.value())
                         << ')';
    }

    template <std::derived_from<std::exception> Exception>
    requires QzLog::CallDetails::IsObjectWithoutText<Exception> MessageFormatter& operator<<(
        MessageFormatter& formatter, Exception const& exception)
    {
        return formatter << exception.what();
    }

    template <std::same_as<std::thread::id> ID>
    MessageFormatter& operator<<(MessageFormatter& formatter, ID const& id)
    {
        std::ostringstream text;
        text.imbue(std::locale::classic());
        text << id;
        return formatter << text.str();
    }

    template <class... Elements>
    MessageFormatter& operator<<(MessageFormatter& formatter, std::tuple<Elements...> const& tuple)
    {
        formatter << '(';
        std::apply(
            [&](auto const&... elements)
            {
                std::size_t count = 0;
                ((formatter << (count++ == 0 ? "" : ", "), QzLog::CallDetails::InsertElement(formatter, elements)),
                    ...);
            },
            tuple);
        return formatter << ')';
    }

    template <class First, class Second>
    MessageFormatter& operator<<(MessageFormatter& formatter, std::pair<First, Second> const& pair)
    {
        return formatter << std::tuple<First const&, Second const&>(pair);
    }

    template <std::ranges::input_range Range>
    requires QzLog::CallDetails::IsObjectWithoutText<Range> && std::ranges::input_range<Range const> MessageFormatter&
    operator<<(MessageFormatter& formatter, Range const& range)
    {
        QzLog::CallDetails::InsertElements(formatter, range, QzLog::CallDetails::kShownElements);
        return formatter;
    }

    template <class Range>
    MessageFormatter& operator<<(MessageFormatter& formatter, QzLog::Limited<Range> const& limited)
    {
        QzLog::CallDetails::InsertElements(formatter, limited.mRange, limited.mLimit);
        return formatter;
    }

    template <class Number>
    requires std::same_as<Number, QzLog::CallDetails::Int128> || std::same_as<Number, QzLog::CallDetails::UInt128>
        MessageFormatter& operator<<(MessageFormatter& formatter, Number value)
    {
        char text[std::numeric_limits<QzLog::CallDetails::UInt128>::digits10 + 2];
        char* const end = text + sizeof text;
        char* first = end;
        auto rest = static_cast<QzLog::CallDetails::UInt128>(value);
        bool const isNegative = value < Number{0};
        if (isNegative)
            rest = 0 - rest;
        do
            *--first = static_cast<char>('0' + static_cast<int>(rest % 10));
        while ((rest /= 10) != 0);
        if (isNegative)
            *--first = '-';
        return formatter << std::string_view(first, static_cast<std::size_t>(end - first));
    }
}
