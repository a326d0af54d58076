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
        constexpr unsigned int kLongestRetryInterval = 1000000000;

        // In the order of the enumerations.
        constexpr char const* kTypes[] = {"debugOutput", "systemLog", "file", "kafka"};
        constexpr char const* kRecoveries[] = {"basic", "strict"};

        DestinationType ReadType(Section& section)
        {
            if (!section.Has("type"))
                section.ReadText("type", "\"type\"");
            return static_cast<DestinationType>(section.ReadChoice("type", kTypes, 0));
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
        }

        std::optional<unsigned int> ToMessageID(Json::Value const& value)
        {
            std::optional<unsigned int> const id = ToNumber(value);
            return id && *id != 0 ? id : std::nullopt;
        }

        DestinationSettings ReadDestination(Section section)
        {
            DestinationSettings destination;
            destination.mType = ReadType(section);
            if (destination.mType == DestinationType::SystemLog)
                destination.mSource = section.ReadOptionalText("source").value_or("");
            if (destination.mType == DestinationType::File || destination.mType == DestinationType::Kafka)
                ReadFile(section, destination);
            destination.mLanguageID = ReadLanguage(section).value_or(0);
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

        /// The object of the core behind a destination: "" is the terminal.
        std::string GetObjectOf(DestinationSettings const& destination, std::string const& basePath)
        {
            switch (destination.mType)
            {
            case DestinationType::DebugOutput:
                return std::string();
            case DestinationType::SystemLog:
                return "system log";
            case DestinationType::File:
            case DestinationType::Kafka:
                break;
            }
            return Normalize(destination.mPath, basePath);
        }

        bool Agree(DestinationSettings first, DestinationSettings second)
        {
            // Languages may differ: they do not belong to the object.
            first.mLanguageID = second.mLanguageID;
            first.mPath = second.mPath;
            return first == second;
        }
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
        std::map<std::string, std::string> firstOfObject;
        for (std::string const& name : destinations.GetNames())
        {
            DestinationSettings const added = ReadDestination(destinations.ReadSection(name));
            auto const [first, isNew] = firstOfObject.try_emplace(GetObjectOf(added, basePath.value_or("")), name);
            if (!isNew && !Agree(read.at(first->second), added))
                destinations.Reject(destinations.Take(name), name,
                    "the type, limits and call stacks of \"" + first->second + "\", which is the same object",
                    "others");
            read.emplace(name, added);
        }
        return read;
    }
}
