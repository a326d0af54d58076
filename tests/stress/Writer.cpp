#include "Writer.h"

#include "Record.h"

#include <QzBase/Conversions.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/LogFunctions.h>

#include <algorithm>
#include <cstdio>
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
            wide(forms[(settings.mSeed + process) % (std::size(forms) - !settings.mHasWay)]).c_str());
    }

    /// The sum of the lines on standard error in which a log that is closed reports what it has lost.
    std::uint64_t SumLosses()
    {
        std::string lines;
        char block[4096];
        for (ssize_t count = 1; count > 0; lines.append(block, static_cast<std::size_t>(count)))
            count = std::max<ssize_t>(pread(STDERR_FILENO, block, sizeof block, static_cast<off_t>(lines.size())), 0);
        if (lines.find(kAmidFork) != lines.npos)
            std::abort();
        std::uint64_t sum = 0;
        unsigned long long count = 0;
        for (std::size_t at = lines.find("QzLog: "); at != lines.npos; at = lines.find("QzLog: ", at + 1))
            if (std::sscanf(lines.c_str() + at, "QzLog: %llu messages lost and not reported", &count) == 1)
                sum += count;
        return sum;
    }
}

Writer::Writer(WriterSettings const& settings, unsigned int process, Ledger& ledger)
    : mLedger(ledger), mSettings(settings), mProcess(process), mModule(std::in_place), mpLog(OpenLog(settings, process))
{
    mpLog->SetMaxFileSize(settings.mLimit / (1 + process % WriterSettings::kLimits));
    mpLog->SetBackupCount(kBackups);
    mpLog->SetRecovery(settings.mIsStrict ? QzLog::kRecoveryStrict : QzLog::kRecoveryBasic);
    mpLog->SetRetryInterval(settings.mRetrySeconds);
    mpRouter = QzLog::CreateRouter("Stress", "Info");
    mpRouter->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({mpLog.get()}));
}

void Writer::Close()
{
    if (!mModule)
        return;
    mpRouter.reset();
    mpLog.reset();
    mModule.reset();
    NoteReported(mProcess, mLedger);
}

void Writer::Log(unsigned int thread)
{
    Ledger::Process& process = mLedger.mProcesses[mProcess];
    Ledger::Thread& own = process.mThreads[thread];
    RecordNumber const number{mProcess, thread, own.mReturned + 1};
    std::string const body = MakeBody(number, mSettings.mSeed);
    own.mBegun = number.mSequence;
    QzLog::LogString(*mpRouter, body.c_str(), nullptr, nullptr, nullptr, 0);
    own.mReturned = number.mSequence;
    mLedger.mBytes += body.size();
    QzLog::DiskFileStatistics const figures = mpLog->GetStatistics();
    process.mUnreported = figures.mLossesWaiting + figures.mLossesDropped;
}

void Writer::LogMany(unsigned int thread, std::uint64_t most)
{
    std::mt19937_64 random(mSettings.mSeed + std::uint64_t{mProcess} * Ledger::kMaxThreads + thread +
                           mLedger.mProcesses[mProcess].mThreads[thread].mReturned);
    for (std::uint64_t count = 0; count < most && (count < mSettings.mLeastRecords || !mLedger.mStops); ++count)
    {
        Log(thread);
        if (mSettings.mpAfterRecord)
            mSettings.mpAfterRecord(*this, thread, random);
        if (mSettings.mLongestPause != 0)
            usleep(static_cast<useconds_t>(random() % mSettings.mLongestPause));
    }
}

void Writer::LogInThreads(std::uint64_t most)
{
    InThreads(mSettings, [&](unsigned int thread) { LogMany(thread, most); });
}

void Writer::BecomeChild(unsigned int process)
{
    if (mProcess == process)
        return;
    mProcess = process;
    mLedger.mProcesses[process].mId = getpid();
    KeepErrors();
}

void InThreads(WriterSettings const& settings, std::function<void(unsigned int thread)> const& work)
{
    std::vector<std::jthread> threads;
    for (unsigned int thread = 0; thread < settings.mThreads; ++thread)
        threads.emplace_back(work, thread);
}

void KeepErrors()
{
    int const errors = memfd_create("stderr", MFD_CLOEXEC);
    if (errors < 0 || dup2(errors, STDERR_FILENO) < 0)
        std::abort();
    if (errors != STDERR_FILENO)
        close(errors);
}

void NoteReported(unsigned int process, Ledger& ledger)
{
    // Another thread's writer can have been closed since, and have noted more.
    std::atomic<std::uint64_t>& most = ledger.mProcesses[process].mReportedAtEnd;
    std::uint64_t const sum = SumLosses();
    for (std::uint64_t noted = most; noted < sum && !most.compare_exchange_weak(noted, sum);)
        continue;
}

int RunWriter(WriterSettings const& settings, unsigned int process, Ledger& ledger)
{
    if (settings.mUser != 0 && (setgid(settings.mUser) != 0 || setuid(settings.mUser) != 0))
        return 1;
    Writer writer(settings, process, ledger);
    // Those that take their time end when no fault is at work, so that each can report what it has lost.
    bool const isPatient = settings.mLongestPause != 0 || settings.mpAfterRecord;
    writer.LogInThreads(isPatient ? kAll : 1 + std::mt19937_64(settings.mSeed + process)() % kLargestShare);
    return 0;
}
