#include "time/MomentOption.h"

#include "Options.h"

namespace QzLogTool
{
    CLI::Option* AddMoment(CLI::App& app, char const* name, char const* description,
        std::function<void(std::int64_t)> const& take, std::int64_t const& after)
    {
        return AddRead(app, name, "TIME", description,
            [take, pAfter = &after](std::string const& value) { take(ReadMoment(value, GetNow(), *pAfter)); });
    }
}
