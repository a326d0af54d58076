#include "reading/RecordStart.h"

#include "time/LogTime.h"

namespace QzLogTool
{
    namespace
    {
        constexpr std::string_view kFirstField = " [HOST:";
        // Without the version, which a later library may have changed.
        constexpr std::string_view kHeadStart = kHead.substr(0, kHead.size() - 5);
    }

    bool BeginsRecord(std::string_view line, std::int64_t& time)
    {
        std::size_t const length = ReadTime(line, time);
        return length != 0 && line.substr(length, kFirstField.size()) == kFirstField;
    }

    bool BeginsHead(std::string_view line)
    {
        return line.starts_with(kHeadStart);
    }
}
