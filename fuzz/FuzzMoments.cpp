// Moments and spans as people write them, and the times of log lines: what was read is written so that it reads back to
// the same.

#include "Fuzz.h"
#include "Trouble.h"
#include "time/LogTime.h"
#include "time/Moments.h"

#include <string_view>

namespace
{
    using namespace QzLogTool;

    void CheckMoment(std::string const& text)
    {
        constexpr std::int64_t kNow = 1'800'000'000'000; // 2027-01-15 08:00
        std::int64_t moment = 0;
        try
        {
            moment = ReadMoment(text, kNow);
        }
        catch (Trouble&)
        {
            return;
        }
        std::string const written = FormatMoment(moment);
        // Years of four digits.
        if (written.size() == std::string_view("2027-01-15 08:00:00.000").size() && written[0] != '-')
            Fuzz::Check(ReadMoment(written + 'Z', kNow) == moment, "a moment is read back");
        ToLocal(moment);
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const text(data, data + size);
    CheckMoment(text);
    std::int64_t span = 0;
    Fuzz::Check(!ReadSpan(text, span) || span >= 0, "a span is not negative");
    std::int64_t time = 42;
    std::size_t const length = ReadTime(text, time);
    Fuzz::Check(length <= text.size() && (length != 0 || time == 42), "a time ends within the text");
    std::int64_t again = 0;
    Fuzz::Check(length == 0 || (ReadTime(text.substr(0, length), again) == length && again == time),
        "a time does not depend on what follows");
    return 0;
}
