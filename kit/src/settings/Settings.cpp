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

        void ReadTargets(
            Section& routes, std::string const& name, bool knowsDestinations, Settings const& settings, Route& route)
        {
            route.mTargets = routes.ReadList<std::string>(name, "names of destinations", ToText);
            std::set<std::string> seen;
            for (std::string const& target : route.mTargets)
            {
                if (knowsDestinations && !settings.mDestinations.contains(target))
                    routes.Reject(
                        routes.Take(name), name, ExpectDestination(settings.mDestinations), '"' + target + '"');
                else if (!seen.insert(target).second)
                    routes.Reject(routes.Take(name), name, "each destination once", '"' + target + "\" twice");
            }
        }

        /// \param knowsDestinations  false if a fault hides them: then each name may be right.
        void ReadRoutes(Section routes, bool knowsDestinations, Settings& settings)
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
                ReadTargets(routes, name, knowsDestinations, settings, *route);
                if (std::ranges::find(settings.mRoutes, route->GetText(), &Route::GetText) != settings.mRoutes.end())
                    routes.Reject(value, name, "each pattern once", "\"*\" and \"*/*\"");
                settings.mRoutes.push_back(std::move(*route));
            }
            std::ranges::sort(settings.mRoutes, [](Route const& a, Route const& b)
                { return std::tie(a.mLogger, a.mDispatcher) < std::tie(b.mLogger, b.mDispatcher); });
        }

        CatalogTexts ReadCatalog(Section& catalogs, std::string const& name, Settings const& settings,
            std::string const& path, Faults& faults)
        {
            Faults own;
            std::string text =
                ReadWholeFile((std::filesystem::path(settings.mFile).parent_path() / path).string(), path, own);
            if (own.IsEmpty())
                return ParseCatalog(path, std::move(text), faults);
            // Where the path stands is where it can be mended.
            SettingsFault const& fault = own.GetFirst();
            char const* const from = std::filesystem::path(path).is_absolute() ? "" : " from the folder of this file";
            catalogs.Reject(catalogs.Take(name), name, fault.mExpected + from, '"' + path + "\": " + fault.mFound);
            return {};
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
                    texts = std::make_shared<CatalogTexts const>(ReadCatalog(catalogs, name, settings, path, faults));
                settings.mCatalogs.push_back({Pattern(name), path, texts});
            }
            std::ranges::sort(settings.mCatalogs, {}, &CatalogSettings::mLogger);
        }

        /// What brokers take.
        std::string ReadTopic(Section& section)
        {
            constexpr std::string_view kCharacters =
                "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
            // With the suffix of the topic for settings.
            constexpr std::size_t kLongest = 249 - std::string_view(".RegtrySettings").size();
            std::string const expected = "a name of at most " + std::to_string(kLongest) +
                                         " characters: letters and digits of ASCII, \".\", \"_\" and \"-\"";
            std::string topic = section.ReadOptionalText("topic", expected).value_or("");
            if (topic.size() > kLongest || topic.find_first_not_of(kCharacters) != topic.npos || topic == "." ||
                topic == "..")
                section.Reject(section.Take("topic"), "topic", expected);
            return topic;
        }

        KafkaSettings ReadKafka(Section section, JsonFile const& file, Settings& settings)
        {
            KafkaSettings kafka;
            kafka.mIsEnabled = section.ReadBool("enabled", kafka.mIsEnabled);
            kafka.mPublishesSettings = section.ReadBool("publishSettings", kafka.mPublishesSettings);
            kafka.mTopic = ReadTopic(section);
            kafka.mTopicLine = file.GetLine(section.Take("topic"));
            if (auto client = section.ReadOptionalSection("client"))
            {
                for (std::string const& name : client->GetNames())
                {
                    kafka.mClient[name] = client->ReadScalar(name);
                    settings.mClientLines[name] = file.GetLine(client->Take(name));
                }
                settings.mClientLine = file.GetLine(section.Take("client"));
                // Without brokers the client would wait for nobody, and say so on standard error only. What is no text
                // has its fault already.
                auto const isSet = [&](char const* name) { return client->Has(name) && client->Take(name) != ""; };
                if (!kafka.mClient.empty() && !isSet("bootstrap.servers") && !isSet("metadata.broker.list"))
                    client->Reject("\"bootstrap.servers\"");
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
            auto const destinations = top.ReadOptionalSection("destinations");
            if (destinations)
                settings.mDestinations = ReadDestinations(*destinations, settings.mBasePath);
            if (auto routes = top.ReadOptionalSection("routes"))
                ReadRoutes(*routes, !destinations || destinations->IsObject(), settings);
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
