#include "Campaign.h"

#include "Record.h"

#include <QzBase/Conversions.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/LogFunctions.h>
#include <QzLog/Module.h>
#include <QzLog/Router.h>

#include <array>
#include <barrier>
#include <cstdio>
#include <fstream>
#include <thread>
#include <vector>

#include <malloc.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace
{
    constexpr unsigned int kThreads = 64;
    constexpr unsigned int kRouters = 1000;
    constexpr unsigned int kDispatchers = 200;
    constexpr unsigned int kFileSize = 10'000'000;
    constexpr unsigned int kFiles = 4;
    constexpr unsigned int kRecordsPerOwnRouter = 1000;
    // Under a sanitizer freed memory is kept for a while.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr long kLargestGrowth = 1L << 40;
#else
    constexpr long kLargestGrowth = 1 << 20;
#endif

    using RouterPtr = QzBase::CountedPtr<QzLog::Router>;

    RouterPtr MakeRouter(unsigned int number)
    {
        return QzLog::CreateRouter("Flood", std::to_string(number % kDispatchers).c_str());
    }

    long GetResidentBytes()
    {
        long size = 0;
        long resident = 0;
        std::ifstream("/proc/self/statm") >> size >> resident;
        return resident * getpagesize();
    }

    /// How many are missing between those of each thread that were kept, and at the end.
    std::uint64_t CountGaps(std::string const& path, std::uint64_t share)
    {
        std::array<std::uint64_t, kThreads> last{};
        std::uint64_t gaps = 0;
        for (int backup = kFiles - 1; backup >= 0; --backup)
        {
            std::string const text = ReadFile(backup ? path + ".bak0" + std::to_string(backup - 1) : path);
            for (std::size_t at = text.find(kRecordMark); at != text.npos; at = text.find(kRecordMark, at + 1))
            {
                RecordNumber number{};
                gaps += !ReadNumber(text.data() + at, text.size() - at, number);
                std::uint64_t& before = last[number.mThread % kThreads];
                gaps += before != 0 && number.mSequence != before + 1;
                before = number.mSequence;
            }
        }
        // Of those that ended early nothing is kept.
        for (std::uint64_t const sequence : last)
            gaps += sequence == 0 ? 0 : share - sequence;
        return gaps;
    }
}

void RunFlood(std::filesystem::path const& top, std::uint64_t records, Row& row)
{
    // Otherwise each thread's own heap fills up by and by.
    mallopt(M_ARENA_MAX, 1);
    // And huge pages make it grow in steps.
    prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
    std::uint64_t const share = records / kThreads;
    std::string const path = top / "flood.log";
    QzLog::Initializer const module;
    QzBase::CountedPtr<QzLog::Destination_DiskFile> const log(
        QzLog::GetDestination_DiskFile(QzBase::UTF8ToWideChar(path.c_str(), false).c_str()));
    log->SetRecovery(QzLog::kRecoveryStrict);
    log->SetMaxFileSize(kFileSize);
    log->SetBackupCount(kFiles - 1);
    std::vector<RouterPtr> routers;
    for (unsigned int number = 0; number < kRouters; ++number)
        routers.push_back(MakeRouter(number));
    for (unsigned int dispatcher = 0; dispatcher < kDispatchers; ++dispatcher)
        routers[dispatcher]->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({log.get()}));

    std::vector<long> sizes;
    std::barrier together(kThreads, [&]() noexcept { sizes.push_back(GetResidentBytes()); });
    auto const work = [&](unsigned int thread)
    {
        RouterPtr own;
        for (std::uint64_t sequence = 1; sequence <= share; ++sequence)
        {
            if (sequence % kRecordsPerOwnRouter == 1)
                own = MakeRouter(thread);
            char text[64];
            std::snprintf(
                text, sizeof text, "%s0 %u %llu>", kRecordMark, thread, static_cast<unsigned long long>(sequence));
            QzLog::Router& router = sequence % 2 == 0 ? *own : *routers[(thread + sequence * kThreads) % kRouters];
            QzLog::LogString(router, text, nullptr, nullptr, nullptr, 0);
            if (sequence == share / 10 || sequence == share)
                together.arrive_and_wait();
        }
    };
    {
        std::vector<std::jthread> threads;
        for (unsigned int thread = 0; thread < kThreads; ++thread)
            threads.emplace_back(work, thread);
    }
    Outcome& sum = row.mOutcome;
    QzLog::DiskFileStatistics const figures = log->GetStatistics();
    std::uint64_t const lost = share * kThreads - figures.mRecords + CountGaps(path, share);
    ++sum.mTries;
    sum.mRecords += figures.mRecords;
    sum.mLost += lost;
    sum.mReported += figures.mLossesReported;
    sum.mNotReported += lost - figures.mLossesReported;
    if (lost != 0 || sizes[1] - sizes[0] > kLargestGrowth)
    {
        std::printf("FAULT in a flood: %llu records lost; grown from %ld to %ld bytes\n",
            static_cast<unsigned long long>(lost), sizes[0], sizes[1]);
        sum.mIsGood = false;
    }
}
