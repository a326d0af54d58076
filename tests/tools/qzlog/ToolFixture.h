#pragma once

#include "filesystem/TemporaryFolder.h"

#include <QzLog/Destination_DiskFile.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>

#include <cstdio>

namespace QzTest
{
    /// What a record has beside its text; the rest is the same for all.
    struct Fields
    {
        char const* mTime;
        char const* mLogger = "Kernel";
        char const* mDispatcher = "Trace";
        unsigned int mMessageID = 0;
        char const* mUser = "";
        char const* mSession = "";
        char const* mObject = "";
        unsigned int mProcess = 11;
        unsigned int mThread = 21;
        char const* mHost = "ws01";
        char const* mServer = "Engine";
    };

    struct Outcome
    {
        int mExitCode;
        std::string mOutput;
    };

    struct CommandCase
    {
        char const* mCommand;
        std::string mOutput;
        int mExitCode = 0;
    };

    /// Runs the real program on logs that the library writes into a folder of its own.
    class ToolFixture : public TemporaryFolder
    {
    protected:
        ToolFixture() { setenv("TZ", "UTC", 1); }

        /// A log that rolls over at so many bytes and keeps all that a test makes.
        QzBase::CountedPtr<QzLog::Destination_DiskFile> OpenLog(std::string const& name, unsigned int limit) const
        {
            QzBase::CountedPtr<QzLog::Destination_DiskFile> log(QzLog::GetDestination_DiskFile(WideIn(name)));
            log->SetMaxFileSize(limit);
            log->SetBackupCount(200);
            return log;
        }

        static void Write(QzLog::Destination_DiskFile& log, Fields const& fields, std::string const& text)
        {
            QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
            header->SetTimestampString(fields.mTime);
            header->SetHostName(fields.mHost);
            header->SetServerName(fields.mServer);
            header->SetLoggerName(fields.mLogger);
            header->SetDispatcherName(fields.mDispatcher);
            header->SetMessageID(fields.mMessageID);
            header->SetUserID(fields.mUser);
            header->SetSessionID(fields.mSession);
            header->SetObjectID(fields.mObject);
            header->SetProcessID(fields.mProcess);
            header->SetThreadID(fields.mThread);
            log.WriteMessage(text.c_str(), *header);
        }

        /// In the folder, by a shell; "qzlog" is the tool. The output has what went to standard error too.
        Outcome Run(std::string const& command) const
        {
            std::string const line = "qzlog() { '" QZLOG_TOOL "' \"$@\"; }; " + command + " 2>&1";
            FILE* const pipe = popen(line.c_str(), "r");
            std::string output;
            char block[4096];
            while (std::size_t const count = std::fread(block, 1, sizeof(block), pipe))
                output.append(block, count);
            int const status = pclose(pipe);
            return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
        }

        template <std::size_t count>
        void Check(CommandCase const (&cases)[count]) const
        {
            for (CommandCase const& each : cases)
            {
                SCOPED_TRACE(each.mCommand);
                Outcome const outcome = Run(std::string("{ ") + each.mCommand + "; }");
                EXPECT_EQ(outcome.mOutput, each.mOutput);
                EXPECT_EQ(outcome.mExitCode, each.mExitCode);
            }
        }

        QzLog::Initializer const mInitializer;
    };
}
