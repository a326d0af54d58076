#include "time/Moments.h"

#include "Characters.h"
#include "Trouble.h"
#include "time/LogTime.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <limits>
#include <string_view>

namespace QzLogTool
{
    namespace
    {
        struct Unit
        {
            std::string_view mName;
            std::int64_t mMilliseconds;
        };

        constexpr std::int64_t kMillisecondsOfDay = 24 * 60 * 60 * 1000;
        constexpr std::int64_t kMillisecondsOfHour = 60 * 60 * 1000;
        constexpr Unit kUnits[] = {{"ms", 1}, {"s", 1000}, {"sec", 1000}, {"second", 1000}, {"seconds", 1000},
            {"m", 60 * 1000}, {"min", 60 * 1000}, {"minute", 60 * 1000}, {"minutes", 60 * 1000},
            {"h", kMillisecondsOfHour}, {"hour", kMillisecondsOfHour}, {"hours", kMillisecondsOfHour},
            {"d", kMillisecondsOfDay}, {"day", kMillisecondsOfDay}, {"days", kMillisecondsOfDay},
            {"w", 7 * kMillisecondsOfDay}, {"week", 7 * kMillisecondsOfDay}, {"weeks", 7 * kMillisecondsOfDay}};
        // A hundred years: no log is older, and sums stay far from any overflow.
        constexpr std::int64_t kLongest = 100 * 366 * kMillisecondsOfDay;

        constexpr std::string_view kMidnight = "00:00:00";
        constexpr std::size_t kDateLength = 10;

        std::int64_t GetMilliseconds(std::int64_t moment)
        {
            return ((moment % 1000) + 1000) % 1000;
        }

        /// The moment at which the clock on the wall here shows what it shows in UTC at `wall`.
        std::int64_t FromLocal(std::int64_t wall)
        {
            std::int64_t const rest = GetMilliseconds(wall);
            std::time_t const seconds = (wall - rest) / 1000;
            std::tm parts{};
            gmtime_r(&seconds, &parts);
            parts.tm_isdst = -1;
            return std::int64_t{std::mktime(&parts)} * 1000 + rest;
        }

        std::string GetToday(std::int64_t now)
        {
            return FormatMoment(ToLocal(now)).substr(0, kDateLength);
        }

        /// "03:02" and "03:02:07" behind a date become full time stamps; an offset goes on standing behind.
        std::string Complete(std::string const& text)
        {
            if (text.size() <= kDateLength)
                return text + ' ' + std::string(kMidnight);
            std::size_t const clockEnd = std::min(text.find_first_not_of("0123456789:.", kDateLength + 1), text.size());
            std::size_t const clockLength = clockEnd - (kDateLength + 1);
            if (clockLength >= kMidnight.size() || clockLength != 5)
                return text;
            return text.substr(0, clockEnd) + ":00" + text.substr(clockEnd);
        }

        /// What "-10m", "5 minutes ago" or "1h 30m" has for ReadSpan.
        std::string GetSpanAgo(std::string const& text)
        {
            constexpr std::string_view ago = "ago";
            std::size_t const begin = text.starts_with('-') ? 1 : 0;
            std::size_t const end = text.size() - (text.ends_with(ago) ? ago.size() : 0);
            std::string span;
            for (std::size_t i = begin; i < end; ++i)
            {
                // A blank between two digits parts two numbers, which makes it no span.
                bool const partsNumbers = i > begin && i + 1 < end && IsDigit(text[i - 1]) && IsDigit(text[i + 1]);
                if (text[i] != ' ' || partsNumbers)
                    span += text[i];
            }
            return span;
        }

        bool ReadDate(std::string const& date, std::int64_t& moment)
        {
            std::string text = Complete(date);
            bool const isUTC = text.ends_with('Z');
            if (isUTC)
                text.pop_back();
            if (ReadTime(text, moment) != text.size())
                return false;
            bool const hasOffset = text.find_first_of("+-", 11) != std::string::npos;
            if (!isUTC && !hasOffset)
                moment = FromLocal(moment);
            return true;
        }

        bool ReadAbsolute(std::string const& text, std::int64_t now, std::int64_t after, std::int64_t& moment)
        {
            std::string const today = GetToday(now);
            std::string const yesterday = GetToday(now - kMillisecondsOfDay);
            if (text == "today" || text == "yesterday")
                return ReadDate(text == "today" ? today : yesterday, moment);
            if (text.size() < 3 || text[2] != ':')
                return ReadDate(text, moment);
            if (!ReadDate(today + ' ' + text, moment))
                return false;
            std::int64_t before = 0;
            if (moment > now && ReadDate(yesterday + ' ' + text, before) && before > after)
                moment = before;
            return true;
        }
    }

    std::int64_t GetNow()
    {
        using namespace std::chrono;
        return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    }

    std::int64_t ToLocal(std::int64_t moment)
    {
        // Asked once for each quarter of an hour, at whose ends alone zones change.
        constexpr std::int64_t kQuarter = 15 * 60 * 1000;
        thread_local std::int64_t quarter = std::numeric_limits<std::int64_t>::min();
        thread_local std::int64_t offset = 0;
        std::int64_t const present = moment / kQuarter - (moment % kQuarter < 0);
        if (present != quarter)
        {
            std::time_t const seconds = (moment - GetMilliseconds(moment)) / 1000;
            std::tm parts{};
            localtime_r(&seconds, &parts);
            offset = std::int64_t{parts.tm_gmtoff} * 1000;
            quarter = present;
        }
        return moment + offset;
    }

    std::string FormatMoment(std::int64_t moment)
    {
        std::int64_t const rest = GetMilliseconds(moment);
        std::time_t const seconds = (moment - rest) / 1000;
        std::tm parts{};
        gmtime_r(&seconds, &parts);
        char text[64];
        std::string result(text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S.", &parts));
        std::string const digits = std::to_string(1000 + rest);
        return result + digits.substr(1);
    }

    std::string FormatSpan(double milliseconds)
    {
        std::int64_t const whole = static_cast<std::int64_t>(milliseconds);
        auto const twoDigits = [](std::int64_t number) { return std::to_string(100 + number).substr(1); };
        auto const join = [&](std::int64_t large, char const* largeName, std::int64_t small, char const* smallName)
        { return std::to_string(large) + largeName + twoDigits(small) + smallName; };
        std::int64_t const seconds = whole / 1000;
        std::int64_t const minutes = seconds / 60;
        std::int64_t const hours = minutes / 60;
        if (whole < 10 && milliseconds > static_cast<double>(whole))
            return std::to_string(whole) + '.' +
                   std::to_string(static_cast<int>((milliseconds - static_cast<double>(whole)) * 10)) + "ms";
        if (seconds == 0)
            return std::to_string(whole) + "ms";
        if (minutes == 0)
            return std::to_string(seconds) + '.' + std::to_string(1000 + whole % 1000).substr(1) + 's';
        if (hours == 0)
            return join(minutes, "m", seconds % 60, "s");
        return hours < 24 ? join(hours, "h", minutes % 60, "m") : join(hours / 24, "d", hours % 24, "h");
    }

    bool ReadSpan(std::string const& text, std::int64_t& milliseconds)
    {
        milliseconds = 0;
        std::size_t at = 0;
        while (at < text.size())
        {
            std::int64_t number = 0;
            std::size_t const begin = at;
            for (; at < text.size() && IsDigit(text[at]); ++at)
                number = std::min(number * 10 + (text[at] - '0'), kLongest);
            std::size_t nameEnd = at;
            while (nameEnd < text.size() && !IsDigit(text[nameEnd]))
                ++nameEnd;
            std::string_view const name = std::string_view(text).substr(at, nameEnd - at);
            Unit const* const unit = std::find_if(
                std::begin(kUnits), std::end(kUnits), [name](Unit const& known) { return known.mName == name; });
            if (at == begin || unit == std::end(kUnits))
                return false;
            milliseconds = std::min(
                milliseconds + std::min(number, kLongest / unit->mMilliseconds) * unit->mMilliseconds, kLongest);
            at = nameEnd;
        }
        return !text.empty();
    }

    std::int64_t ReadMoment(std::string const& text, std::int64_t now, std::int64_t after)
    {
        std::int64_t value;
        if (text == "now")
            return now;
        if (ReadSpan(GetSpanAgo(text), value))
            return now - value;
        if (ReadAbsolute(text, now, after, value))
            return value;
        throw Trouble(
            "'" + text + "' is no time; write it like \"2026-11-18 03:02:07\", \"03:02\", \"today\" or \"10m\"");
    }
}
