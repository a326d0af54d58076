#pragma once

#include "Request.h"

#include <functional>
#include <memory>
#include <vector>

namespace ReportingServer
{
    /// Threads that work requests off. The requests of one session keep their order: they all go to one thread.
    /// The log identity of the thread that submits a request goes with it. Submit and Finish are for one thread.
    class WorkerPool
    {
    public:
        /// Must not throw.
        using Work = std::function<void(Request const&)>;

        WorkerPool(unsigned int threadCount, Work work);
        ~WorkerPool();

        /// Waits while the thread that is to have the request has too many of them.
        void Submit(Request request);

        /// Waits until all requests are worked off and ends the threads.
        void Finish();

    private:
        class Worker;

        Work const mWork;
        std::vector<std::unique_ptr<Worker>> mWorkers;
    };
}
