#include "settings/Settings.h"

#include "settings/DestinationReader.h"
#include "settings/JsonFile.h"
#include "settings/Section.h"

#include <QzLogKit/Clean.h>

#include <json/writer.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace QzLogKit
{
    namespace
    {
        std::optional<Route> ReadPattern(std::string const& text)
        {
            if (text == "*")
                return Route{Pattern("*"), Pattern("*"), {}};
            // A dispatcher's name seldom has a "/" in it, a logger's may.
            std::size_t const slash = text.rfind('/');
            if (slash == text.npos || slash == 0 || slash + 1 == text.size())
                return std::nullopt;
            return Route{Pattern(text.substr(0, slash)), Pattern(text.substr(slash + 1)), {}};
        }

        void ReadTargets(Section& routes, std::string const& name, Settings const& settings, Route& route)
        {
            route.mTargets = routes.ReadList<std::string>(name, "names of destinations", ToText);
            std::set<std::string> seen;
            for (std::string const& target : route.mTargets)
            {
                if (!settings.mDestinations.contains(target))
                    routes.Reject(routes.Take(name), name, "names that stand in \"destinations\"", '"' + target + '"');
                else if (!seen.insert(target).second)
                    routes.Reject(routes.Take(name), name, "each destination once", '"' + target + "\" twice");
            }
        }

        void ReadRoutes(Section routes, Settings& settings)
        {
            for (std::string const& name : routes.GetNames())
            {
                std::optional<Route> route = ReadPattern(name);
                Json::Value const& value = routes.Take(name);
                if (!route)
                {
                    routes.Reject(value, name, "as the key \"logger/dispatcher\" or \"*\"", "");
                    continue;
                }
                ReadTargets(routes, name, settings, *route);
                if (std::ranges::find(settings.mRoutes, route->GetText(), &Route::GetText) != settings.mRoutes.end())
                    routes.Reject(value, name, "each pattern once", "\"*\" and \"*/*\"");
                settings.mRoutes.push_back(std::move(*route));
            }
            std::ranges::sort(settings.mRoutes, [](Route const& a, Route const& b)
                { return std::tie(a.mLogger, a.mDispatcher) < std::tie(b.mLogger, b.mDispatcher); });
        }

        void ReadCatalogs(Section catalogs, Settings& settings, Faults& faults)
        {
            std::map<std::string, std::shared_ptr<CatalogTexts const>> read;
            for (std::string const& name : catalogs.GetNames())
            {
                std::string const path = catalogs.ReadText(name, "the path of a catalog");
                if (path.empty())
                    continue;
                std::shared_ptr<CatalogTexts const>& texts = read[path];
                if (!texts)
                    texts = std::make_shared<CatalogTexts const>(ReadCatalog(
                        (std::filesystem::path(settings.mFile).parent_path() / path).string(), path, faults));
                settings.mCatalogs.push_back({Pattern(name), path, texts});
            }
            std::ranges::sort(settings.mCatalogs, {}, &CatalogSettings::mLogger);
        }

        KafkaSettings ReadKafka(Section section, JsonFile const& file, Settings& settings)
        {
            KafkaSettings kafka;
            kafka.mIsEnabled = section.ReadBool("enabled", kafka.mIsEnabled);
            kafka.mPublishesSettings = section.ReadBool("publishSettings", kafka.mPublishesSettings);
            if (auto client = section.ReadOptionalSection("client"))
            {
                for (std::string const& name : client->GetNames())
                {
                    kafka.mClient[name] = client->ReadScalar(name);
                    settings.mClientLines[name] = file.GetLine(client->Take(name));
                }
            }
            section.RejectRest();
            return kafka;
        }

        /// The name stands in a field of every header.
        std::optional<std::string> ReadServerName(Section& top)
        {
            constexpr char const* expected = "a name without \"]\" and control characters";
            std::optional<std::string> name = top.ReadOptionalText("server", expected);
            if (name && CleanField(*name) != *name)
                top.Reject(top.Take("server"), "server", expected);
            return name;
        }

        std::string MakePublicText(Json::Value root)
        {
            root.removeMember("kafka");
            Json::StreamWriterBuilder builder;
            builder["indentation"] = "";
            builder["emitUTF8"] = true;
            return Json::writeString(builder, root);
        }

        void ReadTop(JsonFile const& file, Settings& settings, Faults& faults)
        {
            Section top(file, file.GetRoot(), "", faults);
            settings.mServerName = ReadServerName(top);
            settings.mBasePath = top.ReadOptionalText("basePath", "a path");
            settings.mLanguageID = ReadLanguage(top);
            if (auto destinations = top.ReadOptionalSection("destinations"))
                settings.mDestinations = ReadDestinations(*destinations, settings.mBasePath);
            if (auto routes = top.ReadOptionalSection("routes"))
                ReadRoutes(*routes, settings);
            if (auto catalogs = top.ReadOptionalSection("catalogs"))
                ReadCatalogs(*catalogs, settings, faults);
            if (auto kafka = top.ReadOptionalSection("kafka"))
                settings.mKafka = ReadKafka(*kafka, file, settings);
            top.RejectRest();
        }

        Settings ParseSettings(std::string const& name, std::string text, Faults& faults)
        {
            Settings settings;
            settings.mFile = name;
            if (faults.IsEmpty())
            {
                JsonFile const file(name, std::move(text), faults);
                if (faults.IsEmpty())
                {
                    ReadTop(file, settings, faults);
                    if (faults.IsEmpty())
                        settings.mPublicText = MakePublicText(file.GetRoot());
                }
            }
            faults.ThrowIfAny(name);
            return settings;
        }
    }

    Settings ReadSettings(std::string const& file)
    {
        Faults faults;
        std::string text = ReadWholeFile(file, file, faults);
        return ParseSettings(file, std::move(text), faults);
    }

    Settings ParseSettings(std::string const& file, std::string text)
    {
        Faults faults;
        return ParseSettings(file, std::move(text), faults);
    }

    Route const* FindRoute(Settings const& settings, std::string_view logger, std::string_view dispatcher)
    {
        auto const found = std::ranges::find_if(settings.mRoutes,
            [&](Route const& route) { return route.mLogger.Matches(logger) && route.mDispatcher.Matches(dispatcher); });
        return found == settings.mRoutes.end() ? nullptr : &*found;
    }

    CatalogSettings const* FindCatalog(Settings const& settings, std::string_view logger)
    {
        auto const found = std::ranges::find_if(
            settings.mCatalogs, [&](CatalogSettings const& catalog) { return catalog.mLogger.Matches(logger); });
        return found == settings.mCatalogs.end() ? nullptr : &*found;
    }
}
