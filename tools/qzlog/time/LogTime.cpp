#include "time/LogTime.h"

#include <chrono>

namespace QzLogTool
{
    namespace
    {
        constexpr std::string_view kTimeForm = "dddd-dd-dd dd:dd:dd";

        constexpr bool IsDigit(char c)
        {
            return c >= '0' && c <= '9';
        }

        constexpr unsigned int kDatePlaces[] = {0, 1, 2, 3, 5, 6, 8, 9, 11, 12, 14, 15, 17, 18};

        /// All at once, without a branch for each character: this is asked of every line that begins with a digit.
        bool FitsTimeForm(std::string_view text)
        {
            if (text.size() < kTimeForm.size() || !IsDigit(text[0]))
                return false;
            unsigned int wrong = 0;
            for (unsigned int const place : kDatePlaces)
                wrong |= static_cast<unsigned int>(!IsDigit(text[place]));
            auto const differs = [&text](std::size_t place) { return text[place] != kTimeForm[place]; };
            bool const hasWrongBreak = differs(4) || differs(7) || differs(13) || differs(16);
            return wrong == 0 && !hasWrongBreak && (text[10] == ' ' || text[10] == 'T');
        }

        int TwoDigits(std::string_view text, std::size_t at)
        {
            return (text[at] - '0') * 10 + (text[at + 1] - '0');
        }

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
        if (!FitsTimeForm(text))
            return 0;
        using namespace std::chrono;
        int const hour = TwoDigits(text, 11);
        int const minute = TwoDigits(text, 14);
        int const second = TwoDigits(text, 17);
        year_month_day const date(year(TwoDigits(text, 0) * 100 + TwoDigits(text, 2)),
            month(static_cast<unsigned int>(TwoDigits(text, 5))), day(static_cast<unsigned int>(TwoDigits(text, 8))));
        if (!date.ok() || hour > 23 || minute > 59 || second > 59)
            return 0;

        std::size_t at = kTimeForm.size();
        int fraction = 0;
        int offset = 0;
        if (!ReadFraction(text, at, fraction) || !ReadOffset(text, at, offset))
            return 0;
        seconds const ofDay = hours(hour) + minutes(minute - offset) + seconds(second);
        time = duration_cast<milliseconds>(sys_days(date).time_since_epoch() + ofDay).count() + fraction;
        return at;
    }
}
