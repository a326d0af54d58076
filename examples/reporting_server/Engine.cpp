#include "Engine.h"

#include "Messages.h"

#include <QzLog/Log.h>
#include <QzLog/ScopeGuard.h>

#include <map>

namespace ReportingServer
{
    namespace
    {
        constexpr int kTimeoutMilliseconds = 500;

        std::map<std::string, std::string> const gDatabases = {{"Sales", "SALESDB"}, {"Finance", "FINDB"},
            {"Stock", "STOCKDB"}, {"People", "HRDB"}, {"Archive", "ARCHIVEDB"}};
    }

    unsigned int Engine::RunReport(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace);
        std::string const database = FindDatabase(request.mObject);
        QzLog::Log(*mChannel.mInfo, kReportStarted, request.mObject, database);
        try
        {
            Fetch(database, request);
        }
        catch (QzBase::Message& cause)
        {
            WrapMessage(cause, kReportFailed) << request.mObject.c_str();
            throw;
        }
        QzLog::Log(*mChannel.mInfo, kReportFinished, request.mObject, request.GetAttribute("rows"),
            request.GetAttribute("format"));
        return guard.SetReturnCode(kDone);
    }

    unsigned int Engine::Search(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannel.mTrace);
        std::string const text = request.GetAttribute("text");
        QzLog::Log(*mChannel.mInfo, kSearchFinished, text, text.size() % 7);
        return guard.SetReturnCode(kDone);
    }

    std::string Engine::FindDatabase(std::string const& report)
    {
        auto const found = gDatabases.find(report.substr(0, report.find('/')));
        if (found != gDatabases.end())
            return found->second;
        QzLog::LogAndThrow(*mChannel.mError, kReportUnknown, report);
    }

    void Engine::Fetch(std::string const& database, Request const& request)
    {
        // Details for the developer need no translation: the text stands in the call.
        QzLog::Log(*mChannel.mTrace, "Query on %1 for at most %2 rows, cursor %3", database,
            request.GetAttribute("rows"), QzLog::Format::WideHex, request.mNumber);

        if (database == "ARCHIVEDB")
        {
            QzBase::ExceptionImpl<QzBase::Message> silence(MakeMessage(kDatabaseSilent));
            silence << database.c_str() << kTimeoutMilliseconds;
            throw silence;
        }
    }
}
