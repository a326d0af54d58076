#include "settings/DestinationReader.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

namespace QzLogKit
{
    namespace
    {
        constexpr unsigned int kLargestFileSize = 2000000000;
        constexpr unsigned int kMostBackups = 256;
        constexpr unsigned int kMostMessages = 1000000000;
        constexpr unsigned int kLongestPeriod = 10000000;
        constexpr unsigned int kLongestRetryInterval = 1000000000;

        // In the order of the enumerations.
        constexpr char const* kTypes[] = {
            "debugOutput", "systemLog", "file", "kafka", "language", "rateLimit", "selection"};
        constexpr char const* kPerChoices[] = {"messageID", "callSite", "dispatcher"};
        constexpr char const* kRecoveries[] = {"basic", "strict"};
        constexpr char const* kLossReports[] = {"log", "systemLog"};

        std::optional<DestinationType> ReadType(Section& section)
        {
            if (!section.Has("type"))
                section.Reject("\"type\"");
            std::size_t const type = section.ReadChoice("type", kTypes, std::size(kTypes));
            return type < std::size(kTypes) ? std::optional(static_cast<DestinationType>(type)) : std::nullopt;
        }

        void ReadFile(Section& section, DestinationSettings& destination)
        {
            destination.mPath = section.ReadText("path", "a path");
            destination.mMaxFileSize = section.ReadNumber("maxFileSize", 1, kLargestFileSize, destination.mMaxFileSize);
            destination.mBackupCount = section.ReadNumber("backups", 1, kMostBackups, destination.mBackupCount);
            destination.mRecovery =
                static_cast<QzLog::Recovery>(section.ReadChoice("recovery", kRecoveries, destination.mRecovery));
            destination.mRetryInterval =
                section.ReadNumber("retryInterval", 0, kLongestRetryInterval, destination.mRetryInterval);
            destination.mReportsLosses = section.ReadChoice("reportLosses", kLossReports, 0) == 1;
        }

        void ReadRateLimit(Section& section, DestinationSettings& destination)
        {
            if (!section.Has("messages") || !section.Has("period"))
                section.Reject("\"messages\" and \"period\"");
            destination.mMessages = section.ReadNumber("messages", 1, kMostMessages, 1);
            destination.mPeriod = section.ReadNumber("period", 1, kLongestPeriod, 1);
            destination.mPer = static_cast<RateLimitPer>(
                section.ReadChoice("per", kPerChoices, static_cast<std::size_t>(destination.mPer)));
        }

        void ReadWrapper(Section& section, DestinationSettings& destination)
        {
            destination.mTo = section.ReadText("to", "the name of a destination");
            if (destination.mType == DestinationType::Language && !section.Has("language"))
                section.Reject("\"language\"");
            if (destination.mType == DestinationType::RateLimit)
                ReadRateLimit(section, destination);
            if (destination.mType == DestinationType::Selection)
            {
                destination.mSelection.mUserIDs = section.ReadList<std::string>("users", "texts", ToText);
                destination.mSelection.mSessionIDs = section.ReadList<std::string>("sessions", "texts", ToText);
                destination.mSelection.mObjectIDs = section.ReadList<std::string>("objects", "texts", ToText);
            }
        }

        std::optional<unsigned int> ToMessageID(Json::Value const& value)
        {
            std::optional<unsigned int> const id = ToNumber(value);
            return id && *id != 0 ? id : std::nullopt;
        }

        /// Nothing if the type is not known: then nobody knows what the other keys should be.
        std::optional<DestinationSettings> ReadDestination(Section section)
        {
            std::optional<DestinationType> const type = ReadType(section);
            if (!type)
                return std::nullopt;
            DestinationSettings destination;
            destination.mType = *type;
            if (destination.mType == DestinationType::SystemLog)
                destination.mSource = section.ReadOptionalText("source").value_or("");
            if (destination.mType == DestinationType::File || destination.mType == DestinationType::Kafka)
                ReadFile(section, destination);
            destination.mLanguageID = ReadLanguage(section).value_or(0);
            if (destination.mType >= DestinationType::Language)
            {
                ReadWrapper(section, destination);
                section.RejectRest();
                return destination;
            }
            destination.mCallStackIDs =
                section.ReadList<unsigned int>("callStacks", "message IDs such as \"0x80000304\"", ToMessageID);
            std::vector<unsigned int>& ids = destination.mCallStackIDs;
            std::sort(ids.begin(), ids.end());
            ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
            section.RejectRest();
            return destination;
        }

        /// What the core takes a path for, as far as the text shows it.
        std::string Normalize(std::string path, std::string const& basePath)
        {
            std::ranges::replace(path, '\\', '/');
            return (std::filesystem::path(basePath) / path).lexically_normal().string();
        }

        /// An object of the core: Kafka's is that of its file. Without a path for the terminal and the system log.
        using CoreObject = std::pair<DestinationType, std::string>;

        /// What is behind a destination. Nothing if the path is missing.
        std::optional<CoreObject> GetObjectOf(DestinationSettings const& destination, std::string const& basePath)
        {
            if (destination.mType == DestinationType::DebugOutput || destination.mType == DestinationType::SystemLog)
                return CoreObject(destination.mType, "");
            if (destination.mPath.empty())
                return std::nullopt;
            return CoreObject(DestinationType::File, Normalize(destination.mPath, basePath));
        }

        /// A destination must not pass messages on to nobody or, in the end, to itself.
        void CheckTargets(Section& destinations, std::map<std::string, DestinationSettings> const& read)
        {
            for (auto const& [name, destination] : read)
            {
                std::size_t steps = 0;
                auto at = read.find(name);
                while (at != read.end() && !at->second.mTo.empty() && ++steps <= read.size())
                    at = read.find(at->second.mTo);
                std::string const& to = destination.mTo;
                if (!to.empty() && !read.contains(to))
                    destinations.Reject(destinations.Take(name), name + ".to", ExpectDestination(read), '"' + to + '"');
                else if (steps > read.size())
                    destinations.Reject(destinations.Take(name), name + ".to",
                        "a destination that leads to one that writes", '"' + to + '"');
            }
        }

        /// The first key in which two opinions about one object differ, or null. Languages may: they do not belong to
        /// the object.
        char const* FindDifference(DestinationSettings const& a, DestinationSettings const& b)
        {
            std::pair<char const*, bool> const keys[] = {{"type", a.mType != b.mType},
                {"source", a.mSource != b.mSource}, {"maxFileSize", a.mMaxFileSize != b.mMaxFileSize},
                {"backups", a.mBackupCount != b.mBackupCount}, {"recovery", a.mRecovery != b.mRecovery},
                {"retryInterval", a.mRetryInterval != b.mRetryInterval},
                {"reportLosses", a.mReportsLosses != b.mReportsLosses},
                {"callStacks", a.mCallStackIDs != b.mCallStackIDs}};
            auto const found = std::ranges::find(keys, true, &std::pair<char const*, bool>::second);
            return found == std::end(keys) ? nullptr : found->first;
        }
    }

    std::string ExpectDestination(std::map<std::string, DestinationSettings> const& destinations)
    {
        std::string names;
        for (auto const& [name, destination] : destinations)
            names += (names.empty() ? " (" : ", ") + name;
        return "a name that stands in \"destinations\"" + names + (names.empty() ? "" : ")");
    }

    std::optional<unsigned short> ReadLanguage(Section& section)
    {
        Json::Value const& value = section.Take("language");
        if (!section.Has("language"))
            return std::nullopt;
        std::optional<unsigned short> const language = ToLanguage(value);
        if (!language)
            section.Reject(value, "language", kLanguageExpected);
        return language;
    }

    std::map<std::string, DestinationSettings> ReadDestinations(
        Section destinations, std::optional<std::string> const& basePath)
    {
        std::map<std::string, DestinationSettings> read;
        std::map<CoreObject, std::string> firstOfObject;
        for (std::string const& name : destinations.GetNames())
        {
            std::optional<DestinationSettings> const added = ReadDestination(destinations.ReadSection(name));
            // Routes may name it also if it has faults.
            read.emplace(name, added.value_or(DestinationSettings()));
            std::optional<CoreObject> const object = added ? GetObjectOf(*added, basePath.value_or("")) : std::nullopt;
            if (!object)
                continue;
            auto const [first, isNew] = firstOfObject.try_emplace(*object, name);
            char const* const difference = isNew ? nullptr : FindDifference(read.at(first->second), *added);
            if (difference)
                destinations.Reject(destinations.Take(name), name + '.' + difference,
                    "the same as in \"" + first->second + "\", which writes to the same place", "another value");
        }
        CheckTargets(destinations, read);
        return read;
    }
}
