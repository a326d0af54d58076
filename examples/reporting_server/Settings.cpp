#include "Settings.h"

#include "Channel.h"
#include "JsonText.h"
#include "Messages.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <set>
#include <span>
#include <system_error>

namespace ReportingServer
{
    namespace
    {
        constexpr unsigned int kLargestFileSize = 2000000000;
        constexpr unsigned int kMostBackups = 256;

        [[noreturn]] void Reject(std::string const& place, std::string const& fault)
        {
            throw QzBase::ExceptionImpl<QzBase::Message>(
                QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, (place + ": " + fault).c_str());
        }

        /// One JSON object of the file, which must hold no other members than those that are asked for.
        class Section
        {
        public:
            Section(Json::Value const& value, std::string place) : mValue(value), mPlace(std::move(place))
            {
                if (!mValue.isObject())
                    Reject(mPlace, "an object was expected");
            }

            std::string const& GetPlace() const { return mPlace; }

            std::string ReadText(char const* name)
            {
                Json::Value const& value = Take(name);
                if (!value.isString() || value.asString().empty())
                    Reject(mPlace + "." + name, "a text was expected");
                return value.asString();
            }

            unsigned int ReadNumber(char const* name, unsigned int least, unsigned int largest, unsigned int otherwise)
            {
                Json::Value const& value = Take(name);
                if (value.isNull())
                    return otherwise;
                if (!value.isUInt() || value.asUInt() < least || value.asUInt() > largest)
                    Reject(mPlace + "." + name,
                        "a number from " + std::to_string(least) + " to " + std::to_string(largest) + " was expected");
                return value.asUInt();
            }

            std::string ReadScalar(std::string const& name)
            {
                Json::Value const& value = Take(name);
                if (!value.isString() && !value.isIntegral() && !value.isBool())
                    Reject(mPlace + "." + name, "a text, a whole number, true or false was expected");
                return value.asString();
            }

            /// An absent list is an empty one.
            std::vector<std::string> ReadList(std::string const& name)
            {
                Json::Value const& value = Take(name);
                std::string const place = mPlace + "." + name;
                if (!value.isNull() && !value.isArray())
                    Reject(place, "a list of texts was expected");

                std::vector<std::string> texts;
                for (Json::Value const& element : value)
                {
                    if (!element.isString())
                        Reject(place, "a list of texts was expected");
                    texts.push_back(element.asString());
                }
                return texts;
            }

            bool Has(std::string const& name) const { return mValue.isMember(name); }

            Section ReadSection(std::string const& name) { return Section(Take(name), mPlace + "." + name); }

            std::vector<std::string> GetNames() const { return mValue.getMemberNames(); }

            void RejectRest() const
            {
                for (std::string const& name : mValue.getMemberNames())
                    if (!mTaken.contains(name))
                        Reject(mPlace, "there is no setting '" + name + "' here");
            }

        private:
            Json::Value const& Take(std::string const& name)
            {
                mTaken.insert(name);
                return mValue[name];
            }

            Json::Value const& mValue;
            std::string mPlace;
            std::set<std::string> mTaken;
        };

        unsigned short ReadLanguage(std::string const& place, std::string const& name)
        {
            if (name == "en")
                return kEnglish;
            if (name == "de")
                return kGerman;
            Reject(place, "the language '" + name + "' is neither 'en' nor 'de'");
        }

        DestinationSettings::Type ReadType(Section& section)
        {
            using Type = DestinationSettings::Type;
            std::string const type = section.ReadText("type");
            if (type == "debugOutput")
                return Type::DebugOutput;
            if (type == "systemLog")
                return Type::SystemLog;
            if (type == "file")
                return Type::File;
            if (type == "kafka")
                return Type::Kafka;
            Reject(section.GetPlace(), "the type '" + type + "' is none of debugOutput, systemLog, file, kafka");
        }

        unsigned int ReadMessageName(std::string const& place, std::string const& name)
        {
            std::span<MessageText const> const texts = GetMessageTexts();
            auto const found = std::ranges::find(texts, name, [](MessageText const& text) { return text.mName; });
            if (found == texts.end())
                Reject(place, "no message is called '" + name + "'");
            return found->mID;
        }

        bool HasFile(DestinationSettings const& destination)
        {
            return destination.mType == DestinationSettings::Type::File ||
                   destination.mType == DestinationSettings::Type::Kafka;
        }

        DestinationSettings ReadDestination(Section section, std::string const& name)
        {
            DestinationSettings destination;
            destination.mName = name;
            destination.mType = ReadType(section);
            if (destination.mType == DestinationSettings::Type::SystemLog)
                destination.mEventSource = section.ReadText("source");
            if (HasFile(destination))
            {
                destination.mPath = section.ReadText("path");
                destination.mMaxFileSize =
                    section.ReadNumber("maxFileSize", 1, kLargestFileSize, destination.mMaxFileSize);
                destination.mBackupCount = section.ReadNumber("backups", 1, kMostBackups, destination.mBackupCount);
            }
            for (std::string const& message : section.ReadList("callStacks"))
                destination.mCallStackIDs.push_back(ReadMessageName(section.GetPlace(), message));
            section.RejectRest();
            return destination;
        }

        /// Two destinations with one file would be one object with two opinions about its size.
        void RejectSharedObject(
            std::vector<DestinationSettings> const& destinations, DestinationSettings const& added, Section const& from)
        {
            for (DestinationSettings const& other : destinations)
                if (other.mPath == added.mPath && (other.mType == added.mType || HasFile(added)))
                    Reject(from.GetPlace(), "'" + other.mName + "' and '" + added.mName + "' are the same");
        }

        Target ReadTarget(std::string const& place, std::string const& name, Settings const& settings)
        {
            Target target;
            target.mName = name;
            std::size_t const colon = name.find(':');
            target.mDestination = name.substr(0, colon);
            if (colon != name.npos)
                target.mLanguageID = ReadLanguage(place, name.substr(colon + 1));
            if (std::ranges::find(settings.mDestinations, target.mDestination, &DestinationSettings::mName) ==
                settings.mDestinations.end())
                Reject(place, "no destination is called '" + target.mDestination + "'");
            return target;
        }

        bool IsOneOf(std::span<char const* const> names, std::string const& name)
        {
            return std::ranges::find(names, name) != names.end();
        }

        Route ReadRoute(Section& routes, std::string const& name, Settings const& settings)
        {
            Route route;
            std::size_t const slash = name.find('/');
            route.mLogger = name.substr(0, slash);
            route.mDispatcher = slash == name.npos ? std::string() : name.substr(slash + 1);
            if (!(route.mLogger == "*" || IsOneOf(kLoggers, route.mLogger)) ||
                !IsOneOf(kDispatchers, route.mDispatcher))
                Reject(routes.GetPlace(), "there is no logger and dispatcher '" + name + "'");
            for (std::string const& target : routes.ReadList(name))
                route.mTargets.push_back(ReadTarget(routes.GetPlace() + "." + name, target, settings));
            return route;
        }

        /// Values may be written as numbers and as true or false, too.
        std::map<std::string, std::string> ReadKafka(Section section)
        {
            std::map<std::string, std::string> properties;
            for (std::string const& name : section.GetNames())
                properties[name] = section.ReadScalar(name);
            if (properties["bootstrap.servers"].empty())
                Reject(section.GetPlace(), "'bootstrap.servers' is missing");
            return properties;
        }

        std::string MakePublicText(Json::Value root)
        {
            root.removeMember("kafka");
            return FormatJson(root);
        }

        Settings ReadSettings(Json::Value const& root)
        {
            Section top(root, "settings");
            Settings settings;
            settings.mServerName = top.ReadText("server");
            settings.mLanguageID = ReadLanguage("settings.language", top.ReadText("language"));
            settings.mBasePath = top.ReadText("basePath");

            Section destinations = top.ReadSection("destinations");
            for (std::string const& name : destinations.GetNames())
            {
                DestinationSettings const added = ReadDestination(destinations.ReadSection(name), name);
                RejectSharedObject(settings.mDestinations, added, destinations);
                settings.mDestinations.push_back(added);
            }

            Section routes = top.ReadSection("routes");
            for (std::string const& name : routes.GetNames())
                settings.mRoutes.push_back(ReadRoute(routes, name, settings));
            if (top.Has("kafka"))
                settings.mKafka = ReadKafka(top.ReadSection("kafka"));
            top.RejectRest();
            settings.mPublicText = MakePublicText(root);
            return settings;
        }

        std::string ReadWholeFile(std::string const& path)
        {
            std::ifstream file(path, std::ios::binary);
            std::string text;
            char piece[4096];
            while (file.read(piece, sizeof piece) || file.gcount() > 0)
                text.append(piece, static_cast<std::size_t>(file.gcount()));
            if (!file.eof())
                Reject("file", "it cannot be read (" + std::generic_category().message(errno) + ")");
            return text;
        }
    }

    Settings LoadSettings(std::string const& path)
    {
        try
        {
            return ReadSettings(ParseJson(ReadWholeFile(path)));
        }
        catch (Json::Exception const& fault)
        {
            Reject("JSON", fault.what());
        }
    }
}
