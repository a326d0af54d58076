#include <QzSynch/ThreadLocalStorage.h>

#include "os/ThreadKey.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <functional>
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

    // How often a key's function asks to be called again. The thread sanitizer leaves a thread in the last
    // round of the system's clean-up and bears no code behind that.
#if defined(__SANITIZE_THREAD__)
    constexpr int kRoundsToEnd = 1;
#else
    constexpr int kRoundsToEnd = 100;
#endif

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
    ThreadLocalStoragePtr const one(CreateThreadLocalStorage());
    ThreadLocalStoragePtr const two(CreateThreadLocalStorage());
    auto* const first = new Context(counts);
    auto* const second = new Context(counts);
    one->SetValue(first);
    EXPECT_EQ(two->GetValue(), nullptr);
    two->SetValue(second);
    EXPECT_EQ(one->GetValue(), first);
    std::thread([&] { EXPECT_EQ(one->GetValue(), nullptr); }).join();

    one->SetValue(first);
    EXPECT_EQ(counts.mDeleted, 0) << "setting the same value again keeps it";
    one->SetValue(new Context(counts));
    EXPECT_EQ(counts.mDeleted, 1);
    two->SetValue(nullptr);
    EXPECT_EQ(counts.mDeleted, 2);
    EXPECT_EQ(two->GetValue(), nullptr);
    EXPECT_NE(one->GetValue(), nullptr);
}

TEST(ThreadLocalStorage, IsNotTakenForAnEarlierOneAtItsAddress)
{
    Counts counts;
    for (int i = 0; i < 100; ++i)
    {
        ThreadLocalStoragePtr const storage(CreateThreadLocalStorage());
        ASSERT_EQ(storage->GetValue(), nullptr);
        storage->SetValue(new Context(counts));
    }
    EXPECT_EQ(counts.mDeleted, 100);
}

TEST(ThreadLocalStorage, DeletesEachValueOnceWhoeverEndsFirst)
{
    enum class StorageEnds
    {
        AfterThreads,
        BeforeThreads,
        AtTheSameTime
    };
    struct
    {
        char const* mpName;
        StorageEnds mStorageEnds;
        int mThreads;
        int mRounds;
    } const cases[] = {{"after", StorageEnds::AfterThreads, 3, 1}, {"before", StorageEnds::BeforeThreads, 100, 1},
        {"race", StorageEnds::AtTheSameTime, 2, 1'000}};

    for (auto const& test : cases)
    {
        SCOPED_TRACE(test.mpName);
        Counts counts;
        for (int round = 0; round < test.mRounds; ++round)
        {
            ThreadLocalStoragePtr storage(CreateThreadLocalStorage());
            std::barrier<> allSet(test.mThreads + 1);
            std::barrier<> mayEnd(test.mThreads + 1);
            std::vector<std::thread> threads;
            for (int i = 0; i < test.mThreads; ++i)
                threads.emplace_back(
                    [&]
                    {
                        storage->SetValue(new Context(counts));
                        allSet.arrive_and_wait();
                        mayEnd.arrive_and_wait();
                    });
            allSet.arrive_and_wait();
            if (test.mStorageEnds == StorageEnds::BeforeThreads)
                storage.reset();
            mayEnd.arrive_and_wait();
            if (test.mStorageEnds == StorageEnds::AtTheSameTime)
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
    static Counts* gCounts = nullptr;
    static QzSynch::ThreadLocalStorage* gStorage = nullptr;
    static auto const set = [] { gStorage->SetValue(new Context(*gCounts)); };

    struct SetsAtThreadEnd
    {
        ~SetsAtThreadEnd() { set(); }
        bool mUsed = false;
    };
    static QzOs::ThreadKey gLateKey{};
    static std::atomic<int> gRounds{0};
    static std::atomic<int> gRoundsLeft{0};

    Counts counts;
    gCounts = &counts;
    ThreadLocalStoragePtr storage(CreateThreadLocalStorage());
    gStorage = storage.get();
    ASSERT_TRUE(QzOs::CreateThreadKey(gLateKey,
        [](void* pointer)
        {
            set();
            ++gRounds;
            if (gRoundsLeft-- > 0)
                QzOs::SetThreadPointer(gLateKey, pointer);
        }));

    struct
    {
        char const* mpName;
        std::function<void()> mInThread;
        bool mAllDeletedByThread;
    } const cases[] = {
        {"thread_local",
            []
            {
                thread_local SetsAtThreadEnd object;
                object.mUsed = true;
            },
            true},
        {"the end of a value", [] { gStorage->SetValue(new Context(*gCounts, set)); }, true},
        {"another key", [] { QzOs::SetThreadPointer(gLateKey, gCounts); }, true},
        {"another key until the system gives up",
            []
            {
                gRoundsLeft = kRoundsToEnd;
                QzOs::SetThreadPointer(gLateKey, gCounts);
            },
            false},
    };
    for (auto const& test : cases)
    {
        SCOPED_TRACE(test.mpName);
        gRounds = 0;
        gRoundsLeft = 0;
        int const before = counts.mMade;
        std::thread(test.mInThread).join();
        EXPECT_GT(counts.mMade, before);
        if (test.mAllDeletedByThread)
            EXPECT_EQ(counts.mDeleted, counts.mMade);
        else
            EXPECT_GT(gRounds, 1);
    }
    storage.reset();
    EXPECT_EQ(counts.mDeleted, counts.mMade) << "what came too late for the thread goes with the storage";
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
