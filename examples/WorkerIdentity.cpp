// Worker threads take over the identity of the request that they work for, so that every record of a request names its
// user and session, whichever thread wrote it.

#include <QzLog/QzLog.h>

#include <functional>
#include <future>
#include <vector>

using namespace QzBase::Literals;

namespace
{
    /// Runs work on a thread of its own under the identity that the calling thread has now.
    std::future<void> RunForTheSameRequest(std::function<void()> work)
    {
        return std::async(std::launch::async,
            [work = std::move(work), identity = QzLog::GetThreadSpecificLogInfo()]
            {
                // A thread of a pool serves another request next: the guard takes the identity off again.
                QzLog::ThreadSpecificLogInfoSwitchGuard const guard(identity.get());
                work();
            });
    }
}

int main()
{
    QzLog::Initializer const module;
    QzBase::CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Reports", "Info"));
    QzBase::CountedPtr<QzLog::Destination> const terminal(QzLog::GetDestination_DebugOutput());
    router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({terminal.get()}));

    std::vector<std::future<void>> workers;
    struct
    {
        unsigned short const* mpUser;
        unsigned short const* mpSession;
        unsigned int mPages;
    } const requests[] = {{u"alice"_w, u"S1"_w, 2}, {u"bob"_w, u"S2"_w, 3}};
    for (auto const& request : requests)
    {
        QzLog::SetUserIDToThreadContext(request.mpUser);
        QzLog::SetSessionIDToThreadContext(request.mpSession);
        QzLog::Log(*router, "Request for %1 pages", request.mPages);
        for (unsigned int page = 1; page <= request.mPages; ++page)
            workers.push_back(RunForTheSameRequest([&router, page] { QzLog::Log(*router, "Page %1 is done", page); }));
        QzLog::ClearThreadSpecificLogInfo();
    }
    for (std::future<void>& worker : workers)
        worker.get();
    QzLog::Log(*router, "Nobody waits any more");
}
