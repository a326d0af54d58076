#include "support/synch/ForkSafeLocks.h"

#include <gtest/gtest.h>

#include <barrier>
#include <thread>

using namespace QzSynch;

namespace
{
    constexpr auto kAnyCategory = static_cast<EnumHvnLockStackCategory>(7);

    template <class Function>
    void RunThreads(int count, Function function)
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < count; ++i)
            threads.emplace_back(function, i);
    }
}

TEST(CriticalSection, ExcludesOthersAndLetsItsHolderIn)
{
    CriticalSectionPtr const lock(CreateCriticalSection(kAnyCategory));
    int value = 0;
    auto const add = [&](int rounds, int milliseconds)
    {
        for (int i = 0; i < rounds; ++i)
        {
            CriticalSection::SmartLock const outer(*lock);
            int const before = value;
            {
                CriticalSection::SmartLock const inner(*lock);
            }
            if (milliseconds != 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
            value = before + 1;
        }
    };
    RunThreads(4, [&](int) { add(2'000, 0); });
    // So long that the others go to sleep. One that is not woken sleeps for good.
    for (int i = 0; i < 20; ++i)
        RunThreads(4, [&](int) { add(1, 3); });
    EXPECT_EQ(value, 4 * 2'020);
}

TEST(RWLock, LetsReadersInTogetherAndKeepsWritersAlone)
{
    // Threads, rounds, reads for each write.
    for (auto const& [threads, rounds, readsPerWrite] : {std::tuple(3, 1'000, 4), {12, 200, 0}, {12, 200, 9}})
    {
        RWLockPtr const lock(CreateRWLock(kAnyCategory));
        int first = 0;
        int second = 0;
        std::atomic<int> torn{0};
        std::barrier<> step(threads);
        RunThreads(threads,
            [&, begin = rounds, cycle = readsPerWrite + 1](int me)
            {
                RWLock::ReadSmartLock together(*lock);
                step.arrive_and_wait();
                together.Unlock();
                for (int i = begin + me; i < 2 * begin + me; ++i)
                {
                    auto const tempt = [i] { i % 7 == 0 ? std::this_thread::yield() : void(); };
                    if (i % cycle)
                    {
                        RWLock::ReadSmartLock const hold(*lock);
                        int const seen = first;
                        tempt();
                        torn += seen != second;
                        continue;
                    }
                    RWLock::WriteSmartLock const hold(*lock);
                    int const before = first++;
                    tempt();
                    torn += before != second++;
                }
            });
        EXPECT_EQ(torn, 0) << threads << " threads, " << readsPerWrite << " reads a write";
        EXPECT_EQ(first, second);
    }
}

// With a reader inside and a writer waiting, another reader must not go on coming in.
TEST(RWLock, LetsAWriterGoBeforeLaterReaders)
{
    constexpr int kLimit = 100'000;
    RWLockPtr const lock(CreateRWLock(kAnyCategory));
    std::atomic<int> reads{0};
    std::atomic<bool> asked{false};
    std::atomic<bool> written{false};
    RWLock::ReadSmartLock inside(*lock);
    std::jthread const writer(
        [&]
        {
            asked = true;
            RWLock::WriteSmartLock const hold(*lock);
            written = true;
        });
    std::jthread const reader(
        [&]
        {
            for (; !written && reads < kLimit; std::this_thread::yield())
            {
                RWLock::ReadSmartLock const hold(*lock);
                reads += asked;
            }
        });
    // Until the other makes no more progress.
    for (int seen = -1; !asked || seen != reads; std::this_thread::sleep_for(std::chrono::milliseconds(20)))
        seen = reads;
    EXPECT_LT(reads, kLimit);
    inside.Unlock();
}

// A reader that asks gets in behind the writer that is inside, and need not wait for a pause of the writers.
TEST(RWLock, LetsAReaderGoBeforeLaterWriters)
{
    RWLockPtr const lock(CreateRWLock(kAnyCategory));
    std::atomic<int> writes{0};
    std::jthread const writer(
        [&](std::stop_token const& stop)
        {
            while (!stop.stop_requested())
            {
                RWLock::WriteSmartLock const hold(*lock);
                ++writes;
                std::this_thread::yield();
            }
        });
    // Mostly, because a thread may be put aside between its question and the lock.
    int soon = 0;
    for (int i = 0; i < 51; ++i)
    {
        int const before = writes;
        while (writes == before)
            std::this_thread::yield();
        int const asked = writes;
        RWLock::ReadSmartLock const hold(*lock);
        soon += writes - asked < 50;
    }
    EXPECT_GT(soon, 25);
}
