#include "reading/Backups.h"

#include "Trouble.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string_view>

namespace QzLogTool
{
    namespace
    {
        constexpr std::string_view kMark = ".bak";
        constexpr unsigned int kLargestNumber = 255;

        /// Without that of a program that compresses.
        std::string_view WithoutSuffix(std::string_view path)
        {
            for (std::string_view const suffix : {".gz", ".zst", ".xz"})
                if (path.ends_with(suffix))
                    return path.substr(0, path.size() - suffix.size());
            return path;
        }

        /// Two digits, or three from 100 on, as they are written.
        bool ReadBackupNumber(std::string_view digits, unsigned int& number)
        {
            char const* const end = digits.data() + digits.size();
            auto const [stop, error] = std::from_chars(digits.data(), end, number);
            bool const isPadded = digits.size() == 2 || (digits.size() == 3 && digits[0] != '0');
            return error == std::errc() && stop == end && isPadded && number <= kLargestNumber;
        }
    }

    bool SplitBackupPath(std::string const& path, std::string& logPath, unsigned int& number)
    {
        std::string_view const plain = WithoutSuffix(path);
        std::size_t const mark = plain.rfind(kMark);
        if (mark == std::string::npos || !ReadBackupNumber(plain.substr(mark + kMark.size()), number))
            return false;
        logPath = path.substr(0, mark);
        return true;
    }

    std::vector<Backup> FindBackups(std::string const& logPath)
    {
        std::filesystem::path const log(logPath);
        std::string const name = log.filename();
        std::filesystem::path const folder = log.has_parent_path() ? log.parent_path() : ".";

        std::vector<Backup> backups;
        std::error_code error;
        for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error))
        {
            std::string logName;
            unsigned int number;
            if (!SplitBackupPath(entry->path().filename(), logName, number) || logName != name)
                continue;
            std::string const path = logPath + entry->path().filename().string().substr(name.size());
            FileStatus const status = GetFileStatus(path);
            if (status.mIsRegular)
                backups.push_back({path, number, status});
        }
        bool const isNowhere = error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
        if (error && !isNowhere)
            throw MakeSystemTrouble(folder, error.value());
        // Of one number the uncompressed file, whose path is shorter, comes first.
        std::sort(backups.begin(), backups.end(),
            [](Backup const& a, Backup const& b)
            { return a.mNumber != b.mNumber ? a.mNumber > b.mNumber : a.mPath.size() < b.mPath.size(); });
        auto const hasSameNumber = [](Backup const& a, Backup const& b) { return a.mNumber == b.mNumber; };
        backups.erase(std::unique(backups.begin(), backups.end(), hasSameNumber), backups.end());
        return backups;
    }

    std::vector<std::string> WithoutRepetitions(std::vector<std::string> const& paths)
    {
        auto const contains = [](std::vector<std::string> const& list, std::string const& path)
        { return std::find(list.begin(), list.end(), path) != list.end(); };
        std::vector<std::string> result;
        for (std::string const& path : paths)
        {
            std::string log;
            unsigned int number;
            bool const comesWithLog = SplitBackupPath(path, log, number) && contains(paths, log);
            if (!comesWithLog && !contains(result, path))
                result.push_back(path);
        }
        return result;
    }
}
