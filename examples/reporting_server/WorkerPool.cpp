#include "WorkerPool.h"

#include <QzLog/ThreadSpecificLogInfo.h>

#include <condition_variable>
#include <mutex>
#include <queue>
#include <thread>

namespace ReportingServer
{
    namespace
    {
        constexpr std::size_t kLongestQueue = 64;

        struct Job
        {
            Request mRequest;
            std::shared_ptr<QzLog::ThreadSpecificLogInfo> mIdentity;
        };
    }

    class WorkerPool::Worker
    {
    public:
        explicit Worker(Work const& work) : mWork(work), mThread([this] { Run(); }) {}

        ~Worker()
        {
            Close();
            mThread.join();
        }

        void Push(Job job)
        {
            std::unique_lock hold(mLock);
            mRoom.wait(hold, [this] { return mJobs.size() < kLongestQueue; });
            mJobs.push(std::move(job));
            hold.unlock();
            mFilled.notify_one();
        }

        /// The thread ends when its queue is empty.
        void Close()
        {
            {
                std::lock_guard const hold(mLock);
                mIsClosed = true;
            }
            mFilled.notify_one();
        }

    private:
        void Run()
        {
            std::unique_lock hold(mLock);
            for (;;)
            {
                mFilled.wait(hold, [this] { return mIsClosed || !mJobs.empty(); });
                if (mJobs.empty())
                    return;
                Job const job = std::move(mJobs.front());
                mJobs.pop();
                hold.unlock();
                mRoom.notify_one();
                {
                    QzLog::ThreadSpecificLogInfoSwitchGuard const identity(job.mIdentity.get());
                    mWork(job.mRequest);
                }
                hold.lock();
            }
        }

        Work const& mWork;
        std::mutex mLock;
        std::condition_variable mRoom;
        std::condition_variable mFilled;
        std::queue<Job> mJobs;
        bool mIsClosed = false;
        // Last, because it uses all that stands before it.
        std::thread mThread;
    };

    WorkerPool::WorkerPool(unsigned int threadCount, Work work) : mWork(std::move(work))
    {
        for (unsigned int i = 0; i < threadCount; ++i)
            mWorkers.push_back(std::make_unique<Worker>(mWork));
    }

    WorkerPool::~WorkerPool() = default;

    void WorkerPool::Submit(Request request)
    {
        std::size_t const key = request.mSession.empty() ? request.mNumber : std::hash<std::string>()(request.mSession);
        mWorkers[key % mWorkers.size()]->Push({std::move(request), QzLog::GetThreadSpecificLogInfo()});
    }

    void WorkerPool::Finish()
    {
        for (std::unique_ptr<Worker> const& worker : mWorkers)
            worker->Close();
        mWorkers.clear();
    }
}
