#include "reading/RecordStart.h"

#include "reading/ByteScan.h"
#include "time/LogTime.h"

namespace QzLogTool
{
    namespace
    {
        // Without the version, which a later library may have changed.
        constexpr std::string_view kHeadStart = kHead.substr(0, kHead.size() - 5);
    }

    std::size_t BeginsRecord(std::string_view line, std::int64_t& time)
    {
        std::size_t const length = ReadTime(line, time);
        return length != 0 && line.substr(length, kHost.size()) == kHost ? length : 0;
    }

    char const* FindMark(char const* from, char const* end)
    {
        // By two bytes each that texts seldom have.
        constexpr std::size_t kRare = kHost.find("[H");
        auto const isRare = [](ByteBlock bytes, ByteBlock following)
        {
            auto const are = [](ByteBlock block, char c) { return block == FillBlock(c); };
            return (are(bytes, kHost[kRare]) & are(following, kHost[kRare + 1])) |
                   (are(bytes, kHead[0]) & are(following, kHead[1]));
        };
        for (char const* at = from; (at = FindByte(at, end, isRare)) < end; ++at)
        {
            bool const isHead = *at == kHead[0];
            std::size_t const before = isHead ? 0 : kRare;
            std::string_view const mark = isHead ? kHead.substr(0, kHost.size()) : kHost;
            if (static_cast<std::size_t>(at - from) >= before &&
                std::string_view(at - before, static_cast<std::size_t>(end - at) + before).starts_with(mark))
                return at - before;
        }
        return end;
    }

    bool BeginsHead(std::string_view line)
    {
        return line.starts_with(kHeadStart);
    }
}
