#pragma once

#include "Channel.h"
#include "Input.h"
#include "RequestHandler.h"
#include "Traces.h"
#include "WorkerPool.h"

#include <QzLog/Module.h>
#include <QzLogKit/Routing.h>

#include <string>

namespace ReportingServer
{
    struct Options
    {
        std::string mSettingsFile;
        std::string mRequestFile = "-";
        std::string mTraceFolder = "traces";
        unsigned int mWorkerCount = 4;
        unsigned int mPeriodSize = 100;
    };

    /// The settings of a file, in force since its construction. The destinations count their messages.
    class SettingsInForce : public QzLogKit::Routing
    {
    public:
        explicit SettingsInForce(std::string const& file);
    };

    /// Puts the parts together, in the order in which they need each other. Used by one thread.
    class Server
    {
    public:
        /// Throws QzBase::Message when the settings are not usable, and what the standard library throws.
        explicit Server(Options const& options);

        /// Serves until the requests or a signal end it.
        void Run();

        unsigned int GetRequestCount() const { return mRequestCount; }
        unsigned int GetFailedCount() const { return mHandler.GetFailedCount(); }
        unsigned int GetRejectedCount() const { return mRejectedCount; }

    private:
        void ReadSettingsAgain();
        void TellRejection(QzBase::Message const& fault);
        void Accept(std::string const& line);
        void Finish();

        Options const mOptions;
        // Before all that logs, and gone after it.
        QzLog::Initializer const mModule;
        // Before the routers: their dispatchers get destinations as they are created.
        SettingsInForce mRouting;
        Channels const mChannels;
        Traces mTraces;
        RequestHandler mHandler;
        Input mInput;
        WorkerPool mWorkers;

        unsigned int mLineNumber = 0;
        unsigned int mRequestCount = 0;
        unsigned int mRejectedCount = 0;
    };
}
