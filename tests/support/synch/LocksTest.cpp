#include <QzSynch/Locks.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <thread>
#include <utility>
#include <vector>

namespace
{
    using QzSynch::CriticalSection;
    using QzSynch::RWLock;

    constexpr auto kAnyCategory = static_cast<QzSynch::EnumHvnLockStackCategory>(7);

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
    QzSynch::CriticalSectionPtr const lock(QzSynch::CreateCriticalSection(kAnyCategory));
    EXPECT_EQ(lock->GetCategory(), kAnyCategory);
    int value = 0;
    RunThreads(3,
        [&](int)
        {
            for (int i = 0; i < 2'000; ++i)
            {
                CriticalSection::SmartLock const outer(*lock);
                int const before = value;
                {
                    CriticalSection::SmartLock const inner(*lock);
                }
                value = before + 1;
            }
        });
    EXPECT_EQ(value, 6'000);
}

TEST(RWLock, LetsReadersInTogetherAndKeepsWritersAlone)
{
    struct
    {
        int mThreads;
        int mRounds;
        int mReadsPerWrite;
    } const cases[] = {{2, 20'000, 1}, {3, 10'000, 4}, {12, 2'000, 0}, {12, 2'000, 9}};

    for (auto const& test : cases)
    {
        SCOPED_TRACE(testing::Message() << test.mThreads << " threads, " << test.mReadsPerWrite << " reads a write");
        QzSynch::RWLockPtr const lock(QzSynch::CreateRWLock(kAnyCategory));
        EXPECT_EQ(lock->GetCategory(), kAnyCategory);
        int first = 0;
        int second = 0;
        std::atomic<int> torn{0};
        std::barrier<> allReading(test.mThreads);
        RunThreads(test.mThreads,
            [&](int me)
            {
                RWLock::ReadSmartLock together(*lock);
                allReading.arrive_and_wait();
                together.Unlock();
                for (int i = me; i < me + test.mRounds; ++i)
                {
                    auto const tempt = [i] { i % 7 == 0 ? std::this_thread::yield() : void(); };
                    if (i % (test.mReadsPerWrite + 1))
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
        EXPECT_EQ(torn, 0);
        EXPECT_EQ(first, second);
    }
}

// With a reader inside and a writer waiting, another reader must not go on coming in. The reader inside leaves
// when it sees the other make no more progress.
TEST(RWLock, LetsAWriterGoBeforeLaterReaders)
{
    constexpr int kLimit = 100'000;
    constexpr int kPatience = 1'000;
    QzSynch::RWLockPtr const lock(QzSynch::CreateRWLock(kAnyCategory));
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
    for (int i = 0, seen = 0; i < kPatience && reads < kLimit; ++i)
    {
        std::this_thread::yield();
        if (int const now = reads; !asked || now != std::exchange(seen, now))
            i = 0;
    }
    EXPECT_LT(reads, kLimit);
    inside.Unlock();
}

// A reader that asks gets in behind the writer that is inside, and need not wait for a pause of the writers.
TEST(RWLock, LetsAReaderGoBeforeLaterWriters)
{
    QzSynch::RWLockPtr const lock(QzSynch::CreateRWLock(kAnyCategory));
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
    std::array<int, 51> writesMeanwhile{};
    for (int& count : writesMeanwhile)
    {
        int const before = writes;
        while (writes == before)
            std::this_thread::yield();
        count = writes;
        RWLock::ReadSmartLock const hold(*lock);
        count = writes - count;
    }
    // The median, because a thread may be put aside between its question and the lock.
    std::sort(writesMeanwhile.begin(), writesMeanwhile.end());
    EXPECT_LT(writesMeanwhile[writesMeanwhile.size() / 2], 50);
}
