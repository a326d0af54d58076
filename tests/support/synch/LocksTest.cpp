#include <QzSynch/Locks.h>

#include <gtest/gtest.h>

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
        RunThreads(mixture.mThreads,
            [&](int me)
            {
                for (int i = me; i < me + mixture.mRounds; ++i)
                {
                    if (i % (mixture.mReadsPerWrite + 1))
                    {
                        RWLock::ReadSmartLock const hold(*lock);
                        torn += first != second;
                        continue;
                    }
                    RWLock::WriteSmartLock const hold(*lock);
                    ++first;
                    ++writes;
                    ++second;
                }
            });
        EXPECT_EQ(torn, 0);
        EXPECT_EQ(first, writes);
        EXPECT_EQ(second, writes);
    }
}

namespace
{
    // A crowd of two comes again and again. Crowds that can be inside together hold the lock without a gap:
    // neither lets go before the other has come in too, unless it finds that the other is kept out. A third
    // wants the other kind of hold. Returns how often it got through before the crowd gave up.
    template <class CrowdHold, class ThirdHold>
    int CountTurnsAgainstCrowd(bool crowdIsTogether, int turnsWanted)
    {
        constexpr int kLimit = 2'000'000;
        constexpr int kPatience = 100;
        QzSynch::RWLockPtr const lock(QzSynch::CreateRWLock(kAnyCategory));
        std::array<std::atomic<int>, 2> entered{};
        std::atomic<int> turns{0};

        auto const beInCrowd = [&](std::atomic<int>& own, std::atomic<int>& others)
        {
            while (turns < turnsWanted && own < kLimit)
            {
                CrowdHold const hold(*lock);
                int const seen = others;
                ++own;
                for (int i = 0; crowdIsTogether && i < kPatience && others == seen; ++i)
                    std::this_thread::yield();
            }
        };
        std::thread one([&] { beInCrowd(entered[0], entered[1]); });
        std::thread two([&] { beInCrowd(entered[1], entered[0]); });
        while (turns < turnsWanted && entered[0] < kLimit && entered[1] < kLimit)
        {
            ThirdHold const hold(*lock);
            ++turns;
        }
        one.join();
        two.join();
        return turns;
    }
}

TEST(RWLock, StarvesNeitherWritersNorReaders)
{
    EXPECT_EQ((CountTurnsAgainstCrowd<RWLock::ReadSmartLock, RWLock::WriteSmartLock>(true, 50)), 50);
    EXPECT_EQ((CountTurnsAgainstCrowd<RWLock::WriteSmartLock, RWLock::ReadSmartLock>(false, 50)), 50);
}
