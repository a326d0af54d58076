#include "Server.h"

#include "Commands.h"
#include "Messages.h"
#include "NamedDestination.h"
#include "Secrets.h"

#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Log.h>
#include <QzLog/ThreadSpecificLogInfo.h>

namespace ReportingServer
{
    namespace
    {
        /// Gives the reason for settings that are refused an outer message with an ID of the server's.
        template <class Action>
        void WrapFaults(Action action)
        {
            try
            {
                action();
            }
            catch (QzBase::Message& fault)
            {
                WrapMessage(fault, kSettingsRejected);
                throw;
            }
        }
    }

    SettingsInForce::SettingsInForce(std::string const& file)
    {
        RegisterMessageTexts();
        SetDecorator([](std::string const& name, QzBase::CountedPtr<QzLog::Destination> const& destination)
            { return new NamedDestination(name, destination); });
        WrapFaults([&] { Apply(file); });
    }

    Server::Server(Options const& options)
        : mOptions(options),
          mRouting(options.mSettingsFile),
          mTraces(options.mTraceFolder, options.mPeriodSize),
          mHandler(mChannels, mTraces),
          mInput(options.mRequestFile),
          mWorkers(options.mWorkerCount, [this](Request const& request) { mHandler.Handle(request); })
    {
    }

    void Server::Run()
    {
        QzBase::ReturnString const name = QzBase::WideCharToUTF8(QzLog::GetServerInstanceName().c_str(), true);
        QzLog::Log(*mChannels.mKernel.mInfo, MakeMessage(kServerStarted) << mOptions.mWorkerCount << name.c_str());

        std::string line;
        for (;;)
        {
            switch (mInput.Wait(line))
            {
            case Input::Event::Line:
                Accept(line);
                break;
            case Input::Event::HangUp:
                ReadSettingsAgain();
                break;
            case Input::Event::Stop:
            case Input::Event::End:
                return Finish();
            }
        }
    }

    void Server::ReadSettingsAgain()
    {
        try
        {
            WrapFaults([&] { mRouting.Reload(); });
            QzLog::Log(*mChannels.mKernel.mInfo, MakeMessage(kSettingsRead) << mOptions.mSettingsFile.c_str());
        }
        catch (QzBase::Message const& fault)
        {
            TellRejection(fault);
        }
    }

    void Server::TellRejection(QzBase::Message const& fault)
    {
        QzLog::Log(*mChannels.mKernel.mError, fault);
        // It must not go unheard because the settings in force route no errors.
        if (!mChannels.mKernel.mError->mEnabled)
            QzLog::GetDestination_DebugOutput()->WriteString(QzBase::FormatMessage(fault, kEnglish).c_str());
    }

    void Server::Accept(std::string const& line)
    {
        ++mLineNumber;
        if (IsIdleLine(line))
            return;
        try
        {
            Request request = ParseRequest(mLineNumber, line);
            ++mRequestCount;

            QzLog::ThreadSpecificLogInfo identity{
                request.mUser, request.mSession, request.mObject, QzBase::GetCurrentThreadID()};
            QzLog::ThreadSpecificLogInfoSwitchGuard const onThisThread(&identity);
            CommandOfThread const command(request.mCommand);
            QzLog::Log(*mChannels.mNetwork.mInfo, kRequestReceived, request.mNumber, request.mCommandName,
                DescribeAttributes(request));
            mWorkers.Submit(std::move(request));
        }
        catch (QzBase::Message const& fault)
        {
            ++mRejectedCount;
            QzLog::Log(*mChannels.mNetwork.mError, fault);
        }
    }

    void Server::Finish()
    {
        mWorkers.Finish();
        QzLog::Log(*mChannels.mKernel.mInfo, MakeMessage(kServerStopped) << mRequestCount << GetFailedCount());
        mTraces.Print(mChannels.mKernel);
    }
}
