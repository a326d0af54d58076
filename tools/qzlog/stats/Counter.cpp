#include "stats/Counter.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kMostNames = 65536;
        // Beside its bytes.
        constexpr std::size_t kBytesOfOne = 100;
        constexpr char kOthers[] = "(others)";
    }

    void Counter::Add(std::string_view name)
    {
        // The same one often comes several times on end.
        if (!mpLast || mpLast->first != name)
        {
            auto found = mCounts.find(name);
            if (found == mCounts.end())
            {
                mBytes += name.size() + kBytesOfOne;
                bool const isFull = mCounts.size() >= kMostNames || mBytes > mMostBytes;
                found = mCounts.try_emplace(isFull ? kOthers : std::string(name)).first;
                mBytes = isFull ? mMostBytes : mBytes;
            }
            mpLast = &*found;
        }
        ++mpLast->second;
    }

    std::vector<std::pair<std::string, std::uint64_t>> Counter::GetMost(std::size_t count) const
    {
        std::vector<std::pair<std::string, std::uint64_t>> result(mCounts.begin(), mCounts.end());
        std::sort(result.begin(), result.end(),
            [](auto const& a, auto const& b)
            { return a.second != b.second ? a.second > b.second : a.first < b.first; });
        result.resize(std::min(result.size(), count));
        return result;
    }
}
