#include "following/CursorFile.h"

#include "Trouble.h"
#include "reading/InputFile.h"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        constexpr char kLogs[] = "logs";
        constexpr char kBeginningKey[] = "beginning";
        constexpr char kOffset[] = "offset";
        constexpr char kTime[] = "time";

        std::string ToHex(std::string const& bytes)
        {
            constexpr char kDigits[] = "0123456789abcdef";
            std::string text;
            for (char const byte : bytes)
                (text += kDigits[(byte >> 4) & 0xF]) += kDigits[byte & 0xF];
            return text;
        }

        std::string FromHex(std::string const& text)
        {
            std::string bytes;
            for (std::size_t i = 0; i + 1 < text.size(); i += 2)
                bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
            return bytes;
        }

        [[noreturn]] void Fail(std::string const& path)
        {
            throw MakeSystemTrouble(path, errno, "give a cursor file in a folder where files can be written");
        }

        void Sync(std::string const& path, int flags)
        {
            int const descriptor = open(path.c_str(), flags | O_CLOEXEC);
            bool const isDone = descriptor >= 0 && fsync(descriptor) == 0;
            if (descriptor >= 0)
                close(descriptor);
            if (!isDone)
                Fail(path);
        }
    }

    CursorFile::CursorFile(std::string path, bool syncs) : mPath(std::move(path)), mSyncs(syncs)
    {
        FileStatus const status = GetFileStatus(mPath);
        if (status.mExists)
        {
            std::string const text = InputFile(mPath).ReadAt(0, static_cast<std::size_t>(status.mIdentity.mSize));
            try
            {
                Read(text);
            }
            catch (std::exception const& error)
            {
                throw Trouble(mPath + ": is no cursor file (" + error.what() +
                              "); remove it to read the logs from their oldest back-up on");
            }
        }
        // Fails before anything is shown: records whose end cannot be remembered would be shown again with each start.
        Write(MakeText());
    }

    void CursorFile::Read(std::string const& text)
    {
        Json::Value root;
        std::string errors;
        std::unique_ptr<Json::CharReader> const reader(Json::CharReaderBuilder().newCharReader());
        if (!reader->parse(text.data(), text.data() + text.size(), &root, &errors))
            throw Trouble("no JSON");
        if (!root.isObject() || !root[kLogs].isObject())
            throw Trouble("no logs in it");
        for (std::string const& log : root[kLogs].getMemberNames())
        {
            Json::Value const& entry = root[kLogs][log];
            mPositions[log] = {
                log, FromHex(entry[kBeginningKey].asString()), entry[kOffset].asUInt64(), entry[kTime].asInt64()};
        }
    }

    LogPosition CursorFile::Find(std::string const& path) const
    {
        std::string const log = std::filesystem::absolute(path).lexically_normal();
        auto const found = mPositions.find(log);
        LogPosition position;
        position.mLog = log;
        return found != mPositions.end() ? found->second : position;
    }

    void CursorFile::Save(std::vector<LogPosition> const& positions)
    {
        bool hasChanged = false;
        for (LogPosition const& position : positions)
        {
            if (position.mBeginning.empty() || mPositions[position.mLog] == position)
                continue;
            mPositions[position.mLog] = position;
            hasChanged = true;
        }
        if (hasChanged)
            Write(MakeText());
    }

    std::string CursorFile::MakeText() const
    {
        Json::Value root;
        root[kLogs] = Json::objectValue;
        for (auto const& [log, position] : mPositions)
        {
            Json::Value& entry = root[kLogs][log];
            entry[kBeginningKey] = ToHex(position.mBeginning);
            entry[kOffset] = Json::UInt64{position.mOffset};
            entry[kTime] = Json::Int64{position.mTime};
        }
        return Json::writeString(Json::StreamWriterBuilder(), root) + '\n';
    }

    void CursorFile::Write(std::string const& text) const
    {
        std::string const newPath = mPath + ".new";
        // It holds the first bytes of logs, which are not for everybody.
        int const descriptor = open(newPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (descriptor < 0)
            Fail(newPath);
        bool const isWritten = write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
                               (!mSyncs || fsync(descriptor) == 0);
        int const error = errno;
        close(descriptor);
        errno = error;
        if (!isWritten)
            Fail(newPath);
        if (std::rename(newPath.c_str(), mPath.c_str()) != 0)
            Fail(mPath);
        std::filesystem::path const path(mPath);
        if (mSyncs)
            Sync(path.has_parent_path() ? path.parent_path() : ".", O_RDONLY | O_DIRECTORY);
    }
}
