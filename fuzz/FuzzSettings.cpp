// Logger, dispatcher and a settings file: the file is read or refused with faults that can be shown, and routing takes
// what a slow and plain model takes.

#include "Fuzz.h"

#include "settings/Description.h"
#include "settings/Settings.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <tuple>

using namespace QzLogKit;

namespace
{
    bool Matches(std::string_view pattern, std::string_view name)
    {
        if (pattern.empty())
            return name.empty();
        if (pattern[0] != '*')
            return !name.empty() && pattern[0] == name[0] && Matches(pattern.substr(1), name.substr(1));
        for (std::size_t i = 0; i <= name.size(); ++i)
            if (Matches(pattern.substr(1), name.substr(i)))
                return true;
        return false;
    }

    /// Lower is more exact.
    std::tuple<bool, std::ptrdiff_t, std::string> GetRank(Pattern const& pattern)
    {
        std::string const& text = pattern.GetText();
        auto const stars = std::count(text.begin(), text.end(), '*');
        return {stars > 0, stars - std::ssize(text), text};
    }

    Route const* Choose(Settings const& settings, std::string const& logger, std::string const& dispatcher)
    {
        Route const* best = nullptr;
        for (Route const& route : settings.mRoutes)
            if (Matches(route.mLogger.GetText(), logger) && Matches(route.mDispatcher.GetText(), dispatcher) &&
                (!best || std::pair(GetRank(route.mLogger), GetRank(route.mDispatcher)) <
                              std::pair(GetRank(best->mLogger), GetRank(best->mDispatcher))))
                best = &route;
        return best;
    }

    void CheckFaults(std::vector<SettingsFault> const& faults, std::string const& text)
    {
        auto const isLineEnd = [](char unit) { return unit == '\n' || unit == '\r'; };
        auto const lines = static_cast<unsigned int>(1 + std::count_if(text.begin(), text.end(), isLineEnd));
        Fuzz::Check(!faults.empty() && faults.size() <= 20, "a refusal has faults");
        for (SettingsFault const& fault : faults)
        {
            Fuzz::Check(fault.mFile == "x" && fault.mLine <= lines, "a fault stands in the file");
            Fuzz::Check(!fault.mExpected.empty(), "a fault says what was expected");
        }
    }

    void CheckSettings(Settings const& settings, std::string const& logger, std::string const& dispatcher)
    {
        Fuzz::Check(Choose(settings, logger, dispatcher) == FindRoute(settings, logger, dispatcher),
            "the most exact route is taken");
        for (Route const& route : settings.mRoutes)
            for (std::string const& target : route.mTargets)
            {
                std::string name = target;
                for (std::size_t steps = 0; !name.empty(); ++steps)
                {
                    auto const found = settings.mDestinations.find(name);
                    Fuzz::Check(found != settings.mDestinations.end(), "a name that is used exists");
                    Fuzz::Check(steps < settings.mDestinations.size(), "messages are passed on to an end");
                    name = found->second.mTo;
                }
            }
        // What is published is the same file without Kafka.
        Settings const again = ParseSettings("x", settings.mPublicText);
        Fuzz::Check(again.mDestinations == settings.mDestinations, "the published text says the same");
        Fuzz::Check(!DescribeSettings(settings, {{logger, {dispatcher}}}).empty(), "it can be described");
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const [logger, dispatcher, text] = Fuzz::TakeTexts<3>(data, size);
    // The model takes exponential time, and catalogs are files of the machine.
    if (logger.size() + dispatcher.size() > 40 || std::count(text.begin(), text.end(), '*') > 12 ||
        text.find("catalogs") != text.npos || text.find("\\u") != text.npos)
        return 0;
    try
    {
        CheckSettings(ParseSettings("x", text), logger, dispatcher);
    }
    catch (SettingsError const& error)
    {
        CheckFaults(error.GetFaults(), text);
    }
    return 0;
}
