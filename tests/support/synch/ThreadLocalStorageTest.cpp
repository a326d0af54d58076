#include <QzSynch/ThreadLocalStorage.h>

#include "os/ThreadKey.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <functional>
#include <string_view>
#include <thread>
#include <vector>

namespace
{
    using QzSynch::CreateThreadLocalStorage;
    using QzSynch::ThreadLocalStoragePtr;

    struct Counts
    {
        std::atomic<int> mMade{0};
        std::atomic<int> mDeleted{0};
    };

    // Tells when it is deleted, and may do something then.
    class Context final : public QzSynch::ThreadContext
    {
    public:
        explicit Context(Counts& counts, std::function<void()> atEnd = {}) : mCounts(counts), mAtEnd(std::move(atEnd))
        {
            ++mCounts.mMade;
        }

        void Delete() override
        {
            ++mCounts.mDeleted;
            if (mAtEnd)
                mAtEnd();
            delete this;
        }

    private:
        Counts& mCounts;
        std::function<void()> mAtEnd;
    };
}

TEST(ThreadLocalStorage, HoldsOneValuePerThreadAndStorage)
{
    Counts counts;
    for (int i = 0; i < 3; ++i) // later ones may get the addresses of earlier ones
    {
        SCOPED_TRACE(i);
        ThreadLocalStoragePtr const one(CreateThreadLocalStorage());
        ThreadLocalStoragePtr const two(CreateThreadLocalStorage());
        EXPECT_EQ(one->GetValue(), nullptr);
        auto* const first = new Context(counts);
        one->SetValue(first);
        EXPECT_EQ(two->GetValue(), nullptr);
        two->SetValue(new Context(counts));
        EXPECT_EQ(one->GetValue(), first);
        std::thread([&] { EXPECT_EQ(one->GetValue(), nullptr); }).join();

        int const before = counts.mDeleted;
        one->SetValue(first);
        EXPECT_EQ(counts.mDeleted, before) << "setting the same value again keeps it";
        one->SetValue(new Context(counts));
        two->SetValue(nullptr);
        EXPECT_EQ(counts.mDeleted, before + 2);
        EXPECT_EQ(two->GetValue(), nullptr);
    }
    EXPECT_EQ(counts.mDeleted, counts.mMade);
}

TEST(ThreadLocalStorage, DeletesEachValueOnceWhoeverEndsFirst)
{
    struct
    {
        char const* mpStorageEnds;
        int mThreads;
        int mRounds;
    } const cases[] = {{"after", 3, 1}, {"before", 100, 1}, {"with", 2, 500}};

    for (auto const& test : cases)
    {
        std::string_view const storageEnds = test.mpStorageEnds;
        SCOPED_TRACE(storageEnds);
        Counts counts;
        for (int round = 0; round < test.mRounds; ++round)
        {
            ThreadLocalStoragePtr storage(CreateThreadLocalStorage());
            std::barrier<> step(test.mThreads + 1);
            std::vector<std::thread> threads;
            for (int i = 0; i < test.mThreads; ++i)
                threads.emplace_back(
                    [&]
                    {
                        storage->SetValue(new Context(counts));
                        step.arrive_and_wait();
                        step.arrive_and_wait();
                    });
            step.arrive_and_wait();
            if (storageEnds == "before")
                storage.reset();
            step.arrive_and_wait();
            if (storageEnds == "with")
                storage.reset();
            for (std::thread& thread : threads)
                thread.join();
            EXPECT_EQ(counts.mDeleted, counts.mMade);
        }
    }
}

// What runs at a thread's end may log: destructors of thread_local objects, the end of other values, and what
// hangs on other keys of the system, in whatever order the system takes these.
TEST(ThreadLocalStorage, DeletesWhatIsSetDuringAThreadsEnd)
{
    static Counts gCounts;
    static ThreadLocalStoragePtr gStorage(CreateThreadLocalStorage());
    static QzOs::ThreadKey gKey{};
    static auto const set = [] { gStorage->SetValue(new Context(gCounts)); };
    struct SetsAtThreadEnd
    {
        bool mUsed = false;
        ~SetsAtThreadEnd() { set(); }
    };
    ASSERT_TRUE(QzOs::CreateThreadKey(gKey, [](void*) { set(); }));

    void (*const cases[])() = {[]
        {
            thread_local SetsAtThreadEnd object;
            object.mUsed = true;
        },
        [] { gStorage->SetValue(new Context(gCounts, set)); }, [] { QzOs::SetThreadPointer(gKey, &gKey); }};
    for (auto const& inThread : cases)
    {
        SCOPED_TRACE(&inThread - cases);
        int const before = gCounts.mMade;
        std::thread(inThread).join();
        EXPECT_GT(gCounts.mMade, before);
        EXPECT_EQ(gCounts.mDeleted, gCounts.mMade);
    }
}

// The child of a fork has only the forking thread. It can use storages although another thread was changing
// its values at that moment, and it leaves that thread's values alone.
TEST(ThreadLocalStorage, WorksInTheChildOfAFork)
{
    Counts counts;
    ThreadLocalStoragePtr storage(CreateThreadLocalStorage());
    storage->SetValue(new Context(counts));
    std::atomic<bool> done{false};
    std::barrier<> started(2);
    std::thread other(
        [&]
        {
            storage->SetValue(new Context(counts));
            started.arrive_and_wait();
            while (!done)
                storage->SetValue(storage->GetValue());
        });
    started.arrive_and_wait();

    for (int i = 0; i < 5; ++i)
    {
        pid_t const child = fork();
        if (child == 0)
        {
            storage->SetValue(new Context(counts));
            bool const replaced = counts.mDeleted == 1;
            storage.reset();
            _exit(replaced && counts.mMade == 3 && counts.mDeleted == 2 ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    done = true;
    other.join();
    EXPECT_EQ(counts.mDeleted, 1);
    storage.reset();
    EXPECT_EQ(counts.mDeleted, 2);
}
