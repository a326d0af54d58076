#include "stats/Owners.h"

#include "output/Lines.h"

namespace QzLogTool
{
    namespace
    {
        std::string_view Join(std::string_view first, std::string_view last)
        {
            char const* const end = last.data() + last.size();
            std::size_t const size = static_cast<std::size_t>(end - first.data());
            std::size_t const kept = size < kLongestOwner ? size : kLongestOwner;
            return {end - kept, kept};
        }
    }

    std::string_view GetProcessOf(HeaderFields const& fields)
    {
        return Join(fields.mHost, fields.mProcess);
    }

    std::string_view GetThreadOf(HeaderFields const& fields)
    {
        return Join(fields.mHost, fields.mThread);
    }

    std::string MakeOwnerLabel(std::string_view owner)
    {
        std::string label = "[HOST:";
        AppendVisible(label, MakeWellFormed(owner));
        return label += ']';
    }

    void PutOwner(Json::Value& object, std::string_view owner)
    {
        constexpr char const* kMarks[][2] = {{"thr", "][THR:"}, {"pid", "][PID:"}, {"server", "][SERVER:"}};
        for (auto const& [key, mark] : kMarks)
        {
            std::size_t const at = owner.rfind(mark);
            if (at == std::string_view::npos)
                continue;
            object[key] = MakeWellFormed(owner.substr(at + std::string_view(mark).size()));
            owner = owner.substr(0, at);
        }
        object["host"] = MakeWellFormed(owner);
    }
}
