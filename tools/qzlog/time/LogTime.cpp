#include "time/LogTime.h"

#include "Characters.h"

#include <chrono>
#include <cstring>

namespace QzLogTool
{
    namespace
    {
        constexpr std::string_view kTimeForm = "dddd-dd-dd dd:dd:dd";

        constexpr unsigned int kDigitPlaces[] = {0, 1, 2, 3, 5, 6, 8, 9, 11, 12, 14, 15};
        constexpr std::size_t kMinuteLength = 16;
        constexpr std::size_t kSecondsAt = 17;

        /// All at once, without a branch for each character.
        bool FitsMinuteForm(std::string_view text)
        {
            unsigned int wrong = 0;
            for (unsigned int const place : kDigitPlaces)
                wrong |= static_cast<unsigned int>(!IsDigit(text[place]));
            auto const differs = [&text](std::size_t place) { return text[place] != kTimeForm[place]; };
            return wrong == 0 && !differs(4) && !differs(7) && !differs(13) && (text[10] == ' ' || text[10] == 'T');
        }

        int TwoDigits(std::string_view text, std::size_t at)
        {
            return (text[at] - '0') * 10 + (text[at + 1] - '0');
        }

        /// The minute that a text begins with, as milliseconds.
        bool ReadMinute(std::string_view text, std::int64_t& time)
        {
            if (!FitsMinuteForm(text))
                return false;
            using namespace std::chrono;
            int const hour = TwoDigits(text, 11);
            int const minute = TwoDigits(text, 14);
            year_month_day const date(year(TwoDigits(text, 0) * 100 + TwoDigits(text, 2)),
                month(static_cast<unsigned int>(TwoDigits(text, 5))),
                day(static_cast<unsigned int>(TwoDigits(text, 8))));
            if (!date.ok() || hour > 23 || minute > 59)
                return false;
            time =
                duration_cast<milliseconds>(sys_days(date).time_since_epoch() + hours(hour) + minutes(minute)).count();
            return true;
        }

        /// The minute that was read last: of records that follow one another most share it.
        struct KnownMinute
        {
            char mText[kMinuteLength + 1] = "1970-01-01 00:00";
            std::int64_t mTime = 0;
        };
        thread_local constinit KnownMinute gKnown;

        /// The number behind `at`, which moves past its digits. No digits give 0, too many a number out of range.
        int ReadNumber(std::string_view text, std::size_t& at)
        {
            int value = 0;
            for (; at < text.size() && IsDigit(text[at]); ++at)
                value = value < 100000 ? value * 10 + (text[at] - '0') : value;
            return value;
        }

        /// ".123" at `at`; of up to nine digits three count.
        bool ReadFraction(std::string_view text, std::size_t& at, int& milliseconds)
        {
            if (at == text.size() || text[at] != '.')
                return true;
            std::size_t const begin = ++at;
            for (int unit = 100; at < text.size() && IsDigit(text[at]); ++at, unit /= 10)
                milliseconds += unit * (text[at] - '0');
            return at > begin && at <= begin + 9;
        }

        /// "+05:00" at `at`, or nothing, which is UTC.
        bool ReadOffset(std::string_view text, std::size_t& at, int& minutes)
        {
            if (at == text.size() || (text[at] != '+' && text[at] != '-'))
                return true;
            int const sign = text[at++] == '+' ? 1 : -1;
            int const hours = ReadNumber(text, at);
            if (hours > 14 || at == text.size() || text[at] != ':')
                return false;
            int const rest = ReadNumber(text, ++at);
            minutes = sign * (hours * 60 + rest);
            return rest <= 59;
        }
    }

    std::size_t ReadTime(std::string_view text, std::int64_t& time)
    {
        if (text.size() < kTimeForm.size() || text[kSecondsAt - 1] != ':')
            return 0;
        if (std::memcmp(text.data(), gKnown.mText, kMinuteLength) != 0)
        {
            if (!ReadMinute(text, gKnown.mTime))
                return 0;
            std::memcpy(gKnown.mText, text.data(), kMinuteLength);
        }
        bool const hasSecond = IsDigit(text[kSecondsAt]) && IsDigit(text[kSecondsAt + 1]);
        int const second = hasSecond ? TwoDigits(text, kSecondsAt) : 60;
        std::size_t at = kTimeForm.size();
        int fraction = 0;
        int offset = 0;
        if (second > 59 || !ReadFraction(text, at, fraction) || !ReadOffset(text, at, offset))
            return 0;
        time = gKnown.mTime + second * 1000 + fraction - offset * std::int64_t{60'000};
        return at;
    }
}
