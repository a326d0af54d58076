#include "Writer.h"

#include "Record.h"

#include <QzBase/Conversions.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/LogFunctions.h>
#include <QzLog/Module.h>
#include <QzLog/Router.h>

#include <cstdio>
#include <random>
#include <thread>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace
{
    constexpr unsigned int kBackups = 256;
    constexpr unsigned int kLargestShare = 2000;

    /// One log in several forms of its path.
    QzBase::CountedPtr<QzLog::Destination_DiskFile> OpenLog(WriterSettings const& settings, unsigned int process)
    {
        auto const wide = [](std::string const& text) { return QzBase::UTF8ToWideChar(text.c_str(), false); };
        std::string const forms[] = {
            settings.mFolder + "/stress.log", "stress.log", "sub\\../stress.log", "./stress.log", "../way/stress.log"};
        QzLog::SetBasePath(wide(settings.mFolder).c_str());
        return QzLog::GetDestination_DiskFile(
            wide(forms[settings.mIsCampaign ? (settings.mSeed + process) % std::size(forms)
                                            : process % (std::size(forms) - 1)])
                .c_str());
    }

    void WriteRecords(QzLog::Router& router, QzLog::Destination_DiskFile& log, WriterSettings const& settings,
        RecordNumber number, Ledger& ledger)
    {
        Ledger::Thread& own = ledger.mProcesses[number.mProcess].mThreads[number.mThread];
        std::mt19937_64 random(settings.mSeed + number.mProcess * Ledger::kMaxThreads + number.mThread);
        // In a campaign they end when no fault is at work, so that each can report what it has lost.
        std::uint64_t const share = settings.mIsCampaign ? ~std::uint64_t{0} : 1 + random() % kLargestShare;
        for (number.mSequence = 1; number.mSequence <= share && !ledger.mStops; ++number.mSequence)
        {
            std::string const body = MakeBody(number, settings.mSeed);
            own.mBegun = number.mSequence;
            QzLog::LogString(router, body.c_str(), nullptr, nullptr, nullptr, 0);
            own.mReturned = number.mSequence;
            ledger.mBytes += body.size();
            if (!settings.mIsCampaign)
                continue;
            QzLog::DiskFileStatistics const figures = log.GetStatistics();
            ledger.mProcesses[number.mProcess].mUnreported = figures.mLossesWaiting + figures.mLossesDropped;
            usleep(static_cast<useconds_t>(random() % 1000));
        }
    }

    void Log(WriterSettings const& settings, unsigned int process, Ledger& ledger)
    {
        QzLog::Initializer const module;
        QzBase::CountedPtr<QzLog::Destination_DiskFile> const log = OpenLog(settings, process);
        log->SetMaxFileSize(settings.mIsCampaign ? settings.mLimit / (1 + process % 3) : settings.mLimit);
        log->SetBackupCount(kBackups);
        log->SetRecovery(settings.mIsStrict ? QzLog::kRecoveryStrict : QzLog::kRecoveryBasic);
        log->SetRetryInterval(settings.mRetrySeconds);
        QzBase::CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Stress", "Info"));
        router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({log.get()}));

        std::vector<std::thread> threads;
        for (unsigned int thread = 0; thread < settings.mThreads; ++thread)
            threads.emplace_back([&, thread] { WriteRecords(*router, *log, settings, {process, thread, 0}, ledger); });
        for (std::thread& thread : threads)
            thread.join();
        QzLog::DiskFileStatistics const figures = log->GetStatistics();
        ledger.mProcesses[process].mUnreported = figures.mLossesWaiting + figures.mLossesDropped;
    }

    /// The sum of the lines in which a log that is closed reports what it has lost.
    std::uint64_t SumLosses(int errors)
    {
        std::uint64_t sum = 0;
        lseek(errors, 0, SEEK_SET);
        std::FILE* const lines = fdopen(errors, "r");
        unsigned long long count = 0;
        for (char line[1000]; std::fgets(line, sizeof line, lines);)
            if (std::sscanf(line, "QzLog: %llu messages lost and not reported", &count) == 1)
                sum += count;
        std::fclose(lines);
        return sum;
    }
}

int RunWriter(WriterSettings const& settings, unsigned int process, Ledger& ledger)
{
    if (settings.mUser != 0 && (setgid(settings.mUser) != 0 || setuid(settings.mUser) != 0))
        return 1;
    int const errors = settings.mIsCampaign ? memfd_create("stderr", MFD_CLOEXEC) : -1;
    if (settings.mIsCampaign && dup2(errors, STDERR_FILENO) < 0)
        return 1;
    Log(settings, process, ledger);
    if (settings.mIsCampaign)
        ledger.mProcesses[process].mReportedAtEnd = SumLosses(errors);
    return 0;
}
