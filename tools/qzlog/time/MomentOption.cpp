#include "time/MomentOption.h"

#include "Trouble.h"
#include "time/Moments.h"

namespace QzLogTool
{
    CLI::Option* AddMoment(
        CLI::App& app, char const* name, char const* description, std::function<void(std::int64_t)> const& take)
    {
        auto const takeAll = [take](CLI::results_t const& values)
        {
            try
            {
                for (std::string const& value : values)
                    take(ReadMoment(value, GetNow()));
            }
            catch (Trouble const& trouble)
            {
                throw CLI::ValidationError(trouble.what());
            }
            return true;
        };
        return app.add_option(name, takeAll, description)
            ->option_text("TIME")
            ->expected(1)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }
}
