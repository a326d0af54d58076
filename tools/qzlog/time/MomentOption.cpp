#include "time/MomentOption.h"

#include "Options.h"
#include "time/Moments.h"

namespace QzLogTool
{
    CLI::Option* AddMoment(
        CLI::App& app, char const* name, char const* description, std::function<void(std::int64_t)> const& take)
    {
        return AddRead(
            app, name, "TIME", description, [take](std::string const& value) { take(ReadMoment(value, GetNow())); });
    }
}
