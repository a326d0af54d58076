// A unit test that asserts what the tested code logs. A destination of the test's own keeps the messages in memory; how
// they are compared is the business of your test framework.

#include <QzLog/QzLog.h>

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace
{
    /// The code under test.
    bool AcceptOrder(QzLog::Router& log, std::string const& customer, int pieces)
    {
        constexpr int kMost = 100;
        if (pieces <= kMost)
            return true;
        QzLog::Log(log, "An order of %1 for %2 pieces is refused: %3 are allowed.", customer, pieces, kMost);
        return false;
    }

    /// Keeps what it gets. Tested code may log from several threads at once.
    class MemoryDestination final : public QzSynch::Counted<QzLog::Destination_Impl>
    {
    public:
        void WriteMessage(char const* text, QzLog::MessageHeader& header) override
        {
            std::lock_guard const hold(mLock);
            mMessages.push_back(std::string(header.GetDispatcherName()) + ": " + (text ? text : ""));
        }

        void WriteMessage(QzLog::MessageHeader& header, QzLog::MessageBody& body) override
        {
            WriteMessage(body.GetMessageText(GetLanguageID()), header);
        }

        /// What has been logged since the last call.
        std::vector<std::string> Take()
        {
            std::lock_guard const hold(mLock);
            return std::exchange(mMessages, {});
        }

    private:
        std::mutex mLock;
        std::vector<std::string> mMessages;
    };

    /// What a test that looks at the log needs. The module starts and ends with each test, so that no test sees the
    /// loggers of another.
    struct LogFixture
    {
        QzLog::Initializer mModule;
        QzBase::CountedPtr<MemoryDestination> mpMemory{new MemoryDestination};
        QzBase::CountedPtr<QzLog::Router> mpRouter{QzLog::CreateRouter("Orders", "Error")};

        LogFixture()
        {
            mpRouter->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({mpMemory.get()}));
        }
    };

    bool TestSmallOrdersAreSilent()
    {
        LogFixture log;
        return AcceptOrder(*log.mpRouter, "alice", 100) && log.mpMemory->Take().empty();
    }

    bool TestRefusalsAreLogged()
    {
        LogFixture log;
        std::vector<std::string> const expected{"Error: An order of bob for 101 pieces is refused: 100 are allowed."};
        return !AcceptOrder(*log.mpRouter, "bob", 101) && log.mpMemory->Take() == expected;
    }
}

int main()
{
    struct
    {
        char const* mpName;
        bool (*mTest)();
    } const tests[] = {
        {"small orders are silent", TestSmallOrdersAreSilent}, {"refusals are logged", TestRefusalsAreLogged}};
    bool allPassed = true;
    for (auto const& [name, test] : tests)
    {
        bool const passed = test();
        allPassed = allPassed && passed;
        std::printf("%s: %s\n", name, passed ? "passed" : "FAILED");
    }
    return allPassed ? 0 : 1;
}
