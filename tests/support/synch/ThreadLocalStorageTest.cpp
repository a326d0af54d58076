#include <QzSynch/ThreadLocalStorage.h>

#include "os/ThreadKey.h"
#include "support/ForkedChild.h"

#include <barrier>

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
    struct Context final : QzSynch::ThreadContext
    {
        using AtEnd = void (*)();

        explicit Context(Counts& counts, AtEnd atEnd = nullptr) : mCounts(counts), mAtEnd(atEnd) { ++mCounts.mMade; }

        void Delete() override
        {
            ++mCounts.mDeleted;
            if (mAtEnd)
                mAtEnd();
            delete this;
        }

        Counts& mCounts;
        AtEnd mAtEnd;
    };
}

TEST(ThreadLocalStorage, HoldsOneValuePerThreadAndStorage)
{
    Counts counts;
    for (int i = 0; i < 3; ++i) // later ones may get the addresses of earlier ones
    {
        ThreadLocalStoragePtr const one(CreateThreadLocalStorage());
        ThreadLocalStoragePtr const two(CreateThreadLocalStorage());
        EXPECT_EQ(one->GetValue(), nullptr);
        auto* const first = new Context(counts);
        one->SetValue(first);
        EXPECT_EQ(two->GetValue(), nullptr);
        two->SetValue(new Context(counts));
        EXPECT_EQ(one->GetValue(), first);
        std::thread([&] { EXPECT_EQ(one->GetValue(), nullptr); }).join();

        one->SetValue(first);
        EXPECT_EQ(counts.mDeleted, 3 * i) << "setting the same value again keeps it";
        one->SetValue(new Context(counts));
        two->SetValue(nullptr);
        EXPECT_EQ(counts.mDeleted, 3 * i + 2);
    }
    EXPECT_EQ(counts.mDeleted, counts.mMade);
}

// A storage that ends before its threads, then one that ends with them.
TEST(ThreadLocalStorage, DeletesEachValueOnceWhoeverEndsFirst)
{
    for (int const threadCount : {100, 2})
    {
        Counts counts;
        for (int round = 0; round < 500; round += threadCount)
        {
            ThreadLocalStoragePtr storage(CreateThreadLocalStorage());
            std::barrier<> step(threadCount + 1);
            auto const setAndWait = [&]
            {
                storage->SetValue(new Context(counts));
                step.arrive_and_wait();
                step.arrive_and_wait();
            };
            std::vector<std::jthread> threads;
            for (int i = 0; i < threadCount; ++i)
                threads.emplace_back(setAndWait);
            step.arrive_and_wait();
            if (threadCount == 100)
            {
                storage.reset();
                EXPECT_EQ(counts.mDeleted, counts.mMade);
            }
            step.arrive_and_wait();
            storage.reset();
        }
        EXPECT_EQ(counts.mDeleted, counts.mMade);
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
    std::atomic<Context*> others = nullptr;
    ExpectInChildrenOfBusyParent(
        5,
        [&]
        {
            if (!others)
                others = new Context(counts);
            storage->SetValue(others);
        },
        [&]
        {
            int const made = counts.mMade;
            storage->SetValue(new Context(counts));
            bool const isReplaced = counts.mDeleted == 1;
            storage.reset();
            return isReplaced && counts.mMade == made + 1 && counts.mDeleted == 2;
        });
    storage.reset();
    EXPECT_EQ(counts.mDeleted, counts.mMade);
}
