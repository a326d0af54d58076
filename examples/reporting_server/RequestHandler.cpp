#include "RequestHandler.h"

#include "Commands.h"
#include "Messages.h"

#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Log.h>
#include <QzLog/ScopeGuard.h>

#include <chrono>
#include <exception>

namespace ReportingServer
{
    RequestHandler::RequestHandler(Channels const& channels, Traces& traces)
        : mChannels(channels),
          mTraces(traces),
          mKernel(channels.mKernel),
          mEngine(channels.mEngine),
          mNetwork(channels.mNetwork)
    {
        auto const offer = [this](char const* name, auto& part, auto operation, bool needsSession)
        {
            mCommands[FindCommand(name)] = {
                [&part, operation](Request const& request) { return (part.*operation)(request); }, needsSession};
        };
        offer("SignIn", mKernel, &Kernel::SignIn, false);
        offer("SignOut", mKernel, &Kernel::SignOut, true);
        offer("ChangeUserPassword", mKernel, &Kernel::ChangePassword, true);
        offer("GetServerStatus", mKernel, &Kernel::TellStatus, false);
        offer("RunReport", mEngine, &Engine::RunReport, true);
        offer("Search", mEngine, &Engine::Search, true);
        offer("RESTRequest", mNetwork, &Network::TakeBody, false);
        offer("ClusterPing", mNetwork, &Network::GreetPeer, false);
        offer("ClusterKeepAlive", mNetwork, &Network::GreetPeer, false);
    }

    void RequestHandler::Handle(Request const& request) noexcept
    {
        using namespace std::chrono;
        steady_clock::time_point const start = steady_clock::now();
        CommandOfThread const command(request.mCommand);
        try
        {
            unsigned int const answer = Answer(request);
            if (answer != kDone)
                ++mFailed;
            QzLog::Log(*mChannels.mNetwork.mInfo, kRequestAnswered, request.mNumber, QzLog::Format::WideHex, answer);
        }
        catch (std::exception const& fault)
        {
            // Logging itself has failed, so there is one way left to say so.
            ++mFailed;
            QzLog::GetDestination_DebugOutput()->WriteString(fault.what());
        }
        mTraces.Report(request.mCommand, duration_cast<microseconds>(steady_clock::now() - start).count());
    }

    unsigned int RequestHandler::Answer(Request const& request)
    {
        try
        {
            return Serve(request);
        }
        catch (QzBase::Message& cause)
        {
            return Fail(request, cause);
        }
        catch (std::exception const& fault)
        {
            QzBase::Message cause(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, fault.what());
            return Fail(request, cause);
        }
    }

    unsigned int RequestHandler::Serve(Request const& request)
    {
        QzLog::ScopeGuard guard(*mChannels.mNetwork.mTrace);
        auto const found = mCommands.find(request.mCommand);
        if (found == mCommands.end())
        {
            QzLog::Log(*mChannels.mKernel.mError, kNotOffered, request.mCommandName);
            return guard.SetReturnCode(static_cast<unsigned int>(kNotOffered));
        }
        if (found->second.mNeedsSession && !mKernel.IsSignedIn(request.mSession))
        {
            QzLog::Log(*mChannels.mKernel.mError, kNotSignedIn, request.mSession);
            return guard.SetReturnCode(static_cast<unsigned int>(kNotSignedIn));
        }
        return guard.SetReturnCode(found->second.mServe(request));
    }

    unsigned int RequestHandler::Fail(Request const& request, QzBase::Message& cause)
    {
        unsigned int const answer = static_cast<unsigned int>(cause.GetID());
        WrapMessage(cause, kRequestFailed) << request.mNumber << request.mCommandName.c_str();
        QzLog::Log(*mChannels.mNetwork.mError, cause);
        return answer;
    }
}
