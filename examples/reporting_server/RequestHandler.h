#pragma once

#include "Engine.h"
#include "Kernel.h"
#include "Network.h"
#include "Traces.h"

#include <atomic>
#include <functional>
#include <map>

namespace ReportingServer
{
    /// Works a request off: finds the command, turns every failure into an answer and a message, and reports to the
    /// traces. May be called from any thread.
    class RequestHandler
    {
    public:
        RequestHandler(Channels const& channels, Traces& traces);

        /// The calling thread carries the identity of the request already. Throws nothing.
        void Handle(Request const& request) noexcept;

        /// How many requests got an answer other than 0.
        unsigned int GetFailedCount() const { return mFailed; }

    private:
        struct Command
        {
            std::function<unsigned int(Request const&)> mServe;
            bool mNeedsSession;
        };

        unsigned int Answer(Request const& request);
        unsigned int Serve(Request const& request);
        unsigned int Fail(Request const& request, QzBase::Message& cause);

        Channels const& mChannels;
        Traces& mTraces;
        Kernel mKernel;
        Engine mEngine;
        Network mNetwork;
        std::map<int, Command> mCommands;
        std::atomic<unsigned int> mFailed{0};
    };
}
