#include <QzSynch/Locks.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

namespace
{
    using QzSynch::CriticalSection;
    using QzSynch::RWLock;

    constexpr auto kAnyCategory = static_cast<QzSynch::EnumHvnLockStackCategory>(7);

    // Now and then lets another thread run at a moment when it should be kept out.
    void TemptOthers(int round)
    {
        if (round % 7 == 0)
            std::this_thread::yield();
    }

    template <class Function>
    void RunThreads(int count, Function function)
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < count; ++i)
            threads.emplace_back(function, i);
        for (std::thread& thread : threads)
            thread.join();
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

TEST(RWLock, LetsReadersInTogetherAndEndsEarly)
{
    QzSynch::RWLockPtr const lock(QzSynch::CreateRWLock(kAnyCategory));
    EXPECT_EQ(lock->GetCategory(), kAnyCategory);

    constexpr int kReaders = 10; // some of them share a count
    std::barrier<> allInside(kReaders);
    RunThreads(kReaders,
        [&](int)
        {
            RWLock::ReadSmartLock read(*lock);
            allInside.arrive_and_wait();
            read.Unlock();
            RWLock::WriteSmartLock write(*lock);
            write.Unlock();
            RWLock::ReadSmartLock const again(*lock);
        });
}

TEST(RWLock, KeepsWritersAloneInAnyMixture)
{
    struct
    {
        int mThreads;
        int mRounds;
        int mReadsPerWrite;
    } const cases[] = {{2, 20'000, 1}, {3, 10'000, 4}, {12, 2'000, 0}, {12, 2'000, 9}};

    for (auto const& mixture : cases)
    {
        SCOPED_TRACE(
            testing::Message() << mixture.mThreads << " threads, " << mixture.mReadsPerWrite << " reads a write");
        QzSynch::RWLockPtr const lock(QzSynch::CreateRWLock(kAnyCategory));
        int first = 0;
        int second = 0;
        std::atomic<int> torn{0};
        std::atomic<int> writes{0};
        std::barrier<> start(mixture.mThreads);
        RunThreads(mixture.mThreads,
            [&](int me)
            {
                start.arrive_and_wait();
                for (int i = me; i < me + mixture.mRounds; ++i)
                {
                    if (i % (mixture.mReadsPerWrite + 1))
                    {
                        RWLock::ReadSmartLock const hold(*lock);
                        int const seen = first;
                        TemptOthers(i);
                        torn += seen != second;
                        continue;
                    }
                    RWLock::WriteSmartLock const hold(*lock);
                    ++first;
                    ++writes;
                    TemptOthers(i);
                    ++second;
                }
            });
        EXPECT_EQ(torn, 0);
        EXPECT_EQ(first, writes);
        EXPECT_EQ(second, writes);
    }
}

// With a reader inside and a writer waiting, another reader must not go on coming in. The reader inside leaves
// when it sees the other make no more progress.
TEST(RWLock, LetsAWriterGoBeforeLaterReaders)
{
    constexpr int kLimit = 100'000;
    constexpr int kPatience = 1'000;
    for (int round = 0; round < 10 && !HasFailure(); ++round)
    {
        QzSynch::RWLockPtr const lock(QzSynch::CreateRWLock(kAnyCategory));
        std::atomic<int> reads{0};
        std::atomic<bool> asked{false};
        std::atomic<bool> written{false};
        RWLock::ReadSmartLock inside(*lock);
        std::thread writer(
            [&]
            {
                asked = true;
                RWLock::WriteSmartLock const hold(*lock);
                written = true;
            });
        std::thread reader(
            [&]
            {
                while (!written && reads < kLimit)
                {
                    {
                        RWLock::ReadSmartLock const hold(*lock);
                        reads += asked;
                    }
                    std::this_thread::yield();
                }
            });
        int seen = -1;
        for (int i = 0; i < kPatience && reads < kLimit; ++i)
        {
            std::this_thread::yield();
            if (int const now = reads; now != seen || !asked)
            {
                seen = now;
                i = 0;
            }
        }
        EXPECT_LT(reads, kLimit);
        inside.Unlock();
        writer.join();
        reader.join();
    }
}

// A reader that asks gets in behind the writer that is inside, and need not wait for a pause of the writers.
TEST(RWLock, LetsAReaderGoBeforeLaterWriters)
{
    constexpr std::size_t kTurns = 51;
    QzSynch::RWLockPtr const lock(QzSynch::CreateRWLock(kAnyCategory));
    std::atomic<bool> done{false};
    std::atomic<int> writes{0};
    std::thread writer(
        [&]
        {
            while (!done)
            {
                RWLock::WriteSmartLock const hold(*lock);
                ++writes;
                std::this_thread::yield();
            }
        });
    std::array<int, kTurns> writesBeforeRead{};
    for (int& count : writesBeforeRead)
    {
        int const before = writes;
        while (writes == before)
            std::this_thread::yield();
        count = writes;
        RWLock::ReadSmartLock const hold(*lock);
        count = writes - count;
    }
    done = true;
    writer.join();
    // The median, because the thread may be put aside between its question and the lock.
    std::sort(writesBeforeRead.begin(), writesBeforeRead.end());
    EXPECT_LT(writesBeforeRead[kTurns / 2], 50);
}
