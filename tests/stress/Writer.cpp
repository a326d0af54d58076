#include "Writer.h"

#include "Record.h"

#include <QzBase/Conversions.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/LogFunctions.h>
#include <QzLog/Module.h>
#include <QzLog/Router.h>

#include <random>
#include <thread>
#include <vector>

namespace
{
    constexpr unsigned int kBackups = 256;
    constexpr unsigned int kLargestShare = 2000;

    /// One log in several forms of its path.
    QzBase::CountedPtr<QzLog::Destination_DiskFile> OpenLog(WriterSettings const& settings, unsigned int process)
    {
        auto const wide = [](std::string const& text) { return QzBase::UTF8ToWideChar(text.c_str(), false); };
        std::string const forms[] = {
            settings.mFolder + "/stress.log", "stress.log", "sub\\../stress.log", "./stress.log"};
        QzLog::SetBasePath(wide(settings.mFolder).c_str());
        return QzLog::GetDestination_DiskFile(wide(forms[process % std::size(forms)]).c_str());
    }

    void WriteRecords(QzLog::Router& router, WriterSettings const& settings, RecordNumber number, Ledger& ledger)
    {
        Ledger::Thread& own = ledger.mProcesses[number.mProcess].mThreads[number.mThread];
        std::mt19937_64 random(settings.mSeed + number.mProcess * Ledger::kMaxThreads + number.mThread);
        std::uint64_t const share = 1 + random() % kLargestShare;
        for (number.mSequence = 1; number.mSequence <= share && !ledger.mStops; ++number.mSequence)
        {
            std::string const body = MakeBody(number, settings.mSeed);
            own.mBegun = number.mSequence;
            QzLog::LogString(router, body.c_str(), nullptr, nullptr, nullptr, 0);
            own.mReturned = number.mSequence;
            ledger.mBytes += body.size();
        }
    }
}

int RunWriter(WriterSettings const& settings, unsigned int process, Ledger& ledger)
{
    QzLog::Initializer const module;
    QzBase::CountedPtr<QzLog::Destination_DiskFile> const log = OpenLog(settings, process);
    log->SetMaxFileSize(settings.mLimit);
    log->SetBackupCount(kBackups);
    QzBase::CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Stress", "Info"));
    router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({log.get()}));

    std::vector<std::thread> threads;
    for (unsigned int thread = 0; thread < settings.mThreads; ++thread)
        threads.emplace_back([&, thread] { WriteRecords(*router, settings, {process, thread, 0}, ledger); });
    for (std::thread& thread : threads)
        thread.join();
    return 0;
}
