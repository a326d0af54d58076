#include "Commands.h"

#include "Options.h"
#include "StandardStreams.h"

#include <QzBase/Conversions.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/LogFunctions.h> // IWYU pragma: keep
#include <QzLog/Module.h>
#include <QzLog/Router.h>
#include <QzLog/ThreadSpecificLogInfo.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace QzLogTool
{
    namespace
    {
        /// Refuses a text that readers of the header would take for a shorter one.
        std::string CheckHeaderText(std::string const& text)
        {
            bool const fits = text.find_first_of("]\r\n") == std::string::npos;
            return fits ? std::string() : "a header cannot hold ']' or a line end in a name or an ID";
        }

        QzBase::ReturnWString ToWide(std::string const& text)
        {
            return QzBase::UTF8ToWideChar(text.c_str(), true);
        }

        /// A zero byte would end the text for the library.
        std::string MakeText(std::string line)
        {
            while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
                line.pop_back();
            std::string text;
            for (char const byte : line)
                if (byte == '\0')
                    text += "\xEF\xBF\xBD";
                else
                    text += byte;
            return QzBase::WideCharToUTF8(ToWide(text).c_str(), true).c_str();
        }

        std::map<std::string, std::uint64_t> GetSizeUnits()
        {
            std::map<std::string, std::uint64_t> units{{"b", 1}};
            std::uint64_t size = 1;
            for (char const* const unit : {"k", "m", "g"})
            {
                size <<= 10;
                for (char const* const ending : {"", "b", "ib"})
                    units[std::string(unit) + ending] = size;
            }
            return units;
        }

        /// Knows whether a record reached the log, which the destination keeps from whoever logs.
        class Witness
        {
        public:
            explicit Witness(std::string const& path) : mPath(path) {}

            void LookBefore() { mBefore = Look(); }
            bool HasChanged() const { return !(Look() == mBefore); }

        private:
            struct State
            {
                ino_t mFile = 0;
                off_t mSize = -1;
                std::int64_t mSeconds = 0;
                std::int64_t mNanoseconds = 0;

                bool operator==(State const&) const = default;
            };

            State Look() const
            {
                struct stat status;
                if (stat(mPath.c_str(), &status) != 0)
                    return State();
                return State{status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
            }

            std::string mPath;
            State mBefore;
        };

        class WriteCommand : public Command
        {
        public:
            char const* GetName() const override { return "write"; }

            char const* GetDescription() const override
            {
                return "Makes each line of standard input a record of a log, which running servers may share";
            }

            void AddOptions(CLI::App& app) override
            {
                app.add_option("LOG", mLog, "The log file; it is made if need be")
                    ->required()
                    ->check(RefuseEmpty)
                    ->option_text(" ");
                ShowDefault(app.add_option("-L,--logger", mLogger, "The records' logger"))->option_text("NAME");
                ShowDefault(app.add_option("-D,--dispatcher", mDispatcher, "Their dispatcher"))->option_text("NAME");
                app.add_option("-u,--user", mUser, "Their user ID")->option_text("ID");
                app.add_option("-s,--session", mSession, "Their session ID")->option_text("ID");
                app.add_option("-o,--object", mObject, "Their object ID")->option_text("ID");
                app.add_option("--server", mServer, "Their server instance name")->option_text("NAME");
                for (char const* const name : {"-L", "-D", "-u", "-s", "-o", "--server"})
                    app.get_option(name)->check(CheckHeaderText);
                mpMaxFileSize = ShowDefault(app.add_option(
                    "--max-size", mMaxFileSize, "The size at which the log rolls over, such as 500k or 20m"));
                mpMaxFileSize->transform(CLI::AsNumberWithUnit(GetSizeUnits()))
                    ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{2'000'000'000}))
                    ->option_text("SIZE");
                mpBackupCount = ShowDefault(
                    app.add_option("--backups", mBackupCount, "How many back-ups a roll-over keeps, 1 to 256"));
                mpBackupCount->check(CLI::Range(1, 256))->option_text("N");
            }

            ExitCode Run() override
            {
                CheckLimits();
                QzLog::Initializer const module;
                QzLog::SetServerInstanceName(ToWide(mServer).c_str());
                QzLog::SetUserIDToThreadContext(ToWide(mUser).c_str());
                QzLog::SetSessionIDToThreadContext(ToWide(mSession).c_str());
                QzLog::SetObjectIDToThreadContext(ToWide(mObject).c_str());

                QzBase::CountedPtr<QzLog::Destination_DiskFile> const log(
                    QzLog::GetDestination_DiskFile(QzBase::UTF8ToWideChar(mLog.c_str(), false).c_str()));
                CheckLog();
                log->SetMaxFileSize(static_cast<unsigned int>(mMaxFileSize));
                log->SetBackupCount(static_cast<unsigned int>(mBackupCount));
                log->SetRecovery(QzLog::kRecoveryStrict);
                QzBase::CountedPtr<QzLog::Router> const router(
                    QzLog::CreateRouter(mLogger.c_str(), mDispatcher.c_str()));
                router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({log.get()}));

                CopyLines(*router);
                return ExitCode::Success;
            }

        private:
            /// A roll-over by the limits that hold without being given would cost a server its newest back-up.
            void CheckLimits() const
            {
                constexpr off_t longRecord = 1 << 20; // by which a log may exceed its limit
                struct stat status;
                bool const isLarger = mpMaxFileSize->count() == 0 && stat(mLog.c_str(), &status) == 0 &&
                                      status.st_size > static_cast<off_t>(mMaxFileSize) + longRecord;
                bool const hasMore = mpBackupCount->count() == 0 && stat((mLog + ".bak01").c_str(), &status) == 0;
                if (isLarger || hasMore)
                    throw Trouble(mLog + ": its servers keep " + (isLarger ? "a larger log" : "more than one back-up") +
                                  "; give --max-size and --backups as they have them");
            }

            /// The destination has made the file by now, if it can be made; here the user learns why not.
            void CheckLog() const
            {
                int const descriptor = open(mLog.c_str(), O_RDWR | O_CLOEXEC);
                if (descriptor < 0)
                    throw MakeSystemTrouble(mLog, errno);
                close(descriptor);
            }

            void CopyLines(QzLog::Router& router) const
            {
                StandardInput input;
                Witness witness(mLog);
                std::uint64_t number = 0;
                for (std::string line; input.ReadLine(line);)
                {
                    ++number;
                    witness.LookBefore();
                    QzLog::LogString(router, MakeText(line).c_str(), nullptr, nullptr, nullptr, 0);
                    if (!witness.HasChanged())
                        throw Trouble(mLog + ": line " + std::to_string(number) +
                                      " of the input could not be written, and what follows was not tried");
                }
            }

            std::string mLog;
            std::string mLogger = "Shell";
            std::string mDispatcher = "Info";
            std::string mUser;
            std::string mSession;
            std::string mObject;
            std::string mServer;
            std::uint64_t mMaxFileSize = 2'000'000;
            int mBackupCount = 1;
            CLI::Option* mpMaxFileSize = nullptr;
            CLI::Option* mpBackupCount = nullptr;
        };
    }

    std::unique_ptr<Command> MakeWriteCommand()
    {
        return std::make_unique<WriteCommand>();
    }
}
