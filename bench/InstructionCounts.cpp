// What scripts/instructions.sh has callgrind count: the instructions of CountedCalls, which makes kCalls calls of the
// kind that is named on the command line. The calls before are not counted.

#include "CallPath.h"
#include "CallPathBaseline.h"
#include "FileSubjects.h"

#include <QzLog/QzLog.h>

#ifdef QZLOG_BENCH_LOG4CPLUS
#include "Log4cplusPeer.h"
#endif
#ifdef QZLOG_BENCH_SPDLOG
#include "SpdlogPeer.h"
#endif

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <mutex>
#include <string>

// With C names, which the command line of callgrind gets. Never inlined, so that callgrind sees their beginning and
// end.
#define QZLOG_COUNTED extern "C" [[gnu::noinline]] void

namespace
{
    constexpr int kCalls = 1000;
    constexpr int kCallsBefore = 100;

    /// What the calls go through.
    struct Subjects
    {
        explicit Subjects(char const* folder)
            : mpFile(QzLog::GetDestination_DiskFile(
                  QzBase::UTF8ToWideChar((std::string(folder) + "/counted.log").c_str(), false).c_str()))
        {
            using namespace QzBase::Literals;
            QzLog::SetServerInstanceName(u"Engine"_w);
            QzBase::CountedPtr<QzLog::Destination> const destination(mpFile.get());
            mpToFile->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({destination.get()}));
        }

        QzLog::Initializer mModule;
        QzBase::CountedPtr<QzLog::Router> mpDisabled{QzLog::CreateRouter("Kernel", "Off")};
        QzBase::CountedPtr<QzLog::Router> mpDropping{CallPath::MakeDroppingRouter("Kernel", "Info")};
        CallPath::MixedMessages mMixed;
        QzBase::CountedPtr<QzLog::Destination_DiskFile> mpFile;
        QzBase::CountedPtr<QzLog::Router> mpToFile{QzLog::CreateRouter("Kernel", "File")};
    };

    void LogTo(QzLog::Router& router, int calls)
    {
        for (int i = 0; i < calls; ++i)
            QzLog::LogString(router, CallPath::kText, nullptr, "src/kernel/Scheduler.cpp", "Dispatch", 118);
    }

    void LogValues(Subjects& subjects, int calls)
    {
        for (int i = 0; i < calls; ++i)
            QzLog::Log(*subjects.mpDropping, "Report %1 of user %2 finished after %3 ms", 4711, "alice", 128);
    }

    void EnterAndLeave(Subjects& subjects, int calls)
    {
        for (int i = 0; i < calls; ++i)
            QzLog::ScopeGuard const guard(*subjects.mpDropping, "Writer::Flush", "src/reports/Writer.cpp", 42);
    }

    void LogMixed(Subjects& subjects, int calls)
    {
        for (int i = 0; i < calls; ++i)
            subjects.mMixed.Log(static_cast<std::size_t>(i));
    }

    class KeptSink : public Baseline::Sink
    {
    public:
        void Write(char const* header, std::size_t headerLength, char const* body) override
        {
            benchmark::DoNotOptimize(header);
            benchmark::DoNotOptimize(headerLength);
            benchmark::DoNotOptimize(body);
        }
    };

    template <bool isEnabled>
    void CallBaseline(Subjects&, int calls)
    {
        Baseline::Switch const enabled{isEnabled};
        KeptSink sink;
        for (int i = 0; i < calls; ++i)
            if constexpr (isEnabled)
                Baseline::LogEnabled(enabled, sink, CallPath::kText);
            else
                Baseline::LogDisabled(enabled, CallPath::kText, __FILE__, __func__, __LINE__);
    }

    void CallMixedBaseline(Subjects&, int calls)
    {
        Baseline::Switch const enabled{true};
        KeptSink sink;
        for (int i = 0; i < calls; ++i)
            Baseline::LogCall(
                enabled, sink, CallPath::kCalls[static_cast<std::size_t>(i) % CallPath::kCallCount], CallPath::kText);
    }

    void WriteBaseline(Subjects&, int calls)
    {
        static FileSubjects::BareFile file(FileSubjects::GetPath("counted.log"));
        std::string const text(CallPath::kText);
        for (int i = 0; i < calls; ++i)
            file.Write(text);
    }

#ifdef QZLOG_BENCH_SPDLOG
    using ThreadMutex = std::mutex; // that of a program with several threads

    template <spdlog::level::level_enum level>
    void CallSpdlog(Subjects&, int calls)
    {
        static auto const logger = SpdlogPeer::MakeDropping<ThreadMutex>("Kernel", SpdlogPeer::kPattern);
        for (int i = 0; i < calls; ++i)
            logger->log(spdlog::source_loc{"src/kernel/Scheduler.cpp", 118, "Dispatch"}, level, CallPath::kText);
    }

    void CallSpdlogWithValues(Subjects&, int calls)
    {
        static auto const logger = SpdlogPeer::MakeDropping<ThreadMutex>("Kernel", SpdlogPeer::kPattern);
        for (int i = 0; i < calls; ++i)
            logger->info("Report {} of user {} finished after {} ms", 4711, "alice", 128);
    }

    void CallMixedSpdlog(Subjects&, int calls)
    {
        static SpdlogPeer::MixedMessages<ThreadMutex> messages;
        for (int i = 0; i < calls; ++i)
            messages.Log(static_cast<std::size_t>(i));
    }

    void WriteSpdlog(Subjects&, int calls)
    {
        static auto const logger = SpdlogPeer::MakeFile(FileSubjects::GetPath("spdlog.log"));
        for (int i = 0; i < calls; ++i)
            logger->info(CallPath::kText);
    }
#endif

#ifdef QZLOG_BENCH_LOG4CPLUS
    template <bool withLockFile>
    void WriteLog4cplus(Subjects&, int calls)
    {
        static log4cplus::Logger const logger =
            Log4cplusPeer::MakeFile("Kernel", FileSubjects::GetPath("log4cplus.log"), withLockFile);
        for (int i = 0; i < calls; ++i)
            LOG4CPLUS_INFO_STR(logger, CallPath::kText);
    }
#endif

    struct Kind
    {
        char const* mpName;
        void (*mpMakeCalls)(Subjects& subjects, int calls);
    };

    constexpr Kind kKinds[] = {
        {"disabled_call", [](Subjects& subjects, int calls) { LogTo(*subjects.mpDisabled, calls); }},
        {"dropped_call", [](Subjects& subjects, int calls) { LogTo(*subjects.mpDropping, calls); }},
        {"dropped_call_with_three_values", LogValues},
        {"dropped_mixed_call", LogMixed},
        {"dropped_scope_guard", EnterAndLeave},
        {"file_record", [](Subjects& subjects, int calls) { LogTo(*subjects.mpToFile, calls); }},
        {"baseline:disabled_call", CallBaseline<false>},
        {"baseline:dropped_call", CallBaseline<true>},
        {"baseline:dropped_mixed_call", CallMixedBaseline},
        {"baseline:file_record", WriteBaseline},
#ifdef QZLOG_BENCH_SPDLOG
        {"spdlog:disabled_call", CallSpdlog<spdlog::level::debug>},
        {"spdlog:dropped_call", CallSpdlog<spdlog::level::info>},
        {"spdlog:dropped_call_with_three_values", CallSpdlogWithValues},
        {"spdlog:dropped_mixed_call", CallMixedSpdlog},
        {"spdlog:file_record", WriteSpdlog},
#endif
#ifdef QZLOG_BENCH_LOG4CPLUS
        {"log4cplus:file_record", WriteLog4cplus<false>},
        {"log4cplus_with_lock_file:file_record", WriteLog4cplus<true>},
#endif
    };
}

// With a C name, for the command line of callgrind, and never inlined, so that callgrind sees its beginning and its
// end.
extern "C" [[gnu::noinline]] void CountedCalls(Kind const& kind, Subjects& subjects)
{
    kind.mpMakeCalls(subjects, kCalls);
}

int main(int argc, char** argv)
{
    Kind const* const kind = argc == 3 ? std::find_if(std::begin(kKinds), std::end(kKinds),
                                             [&](Kind const& each) { return std::strcmp(each.mpName, argv[1]) == 0; })
                                       : std::end(kKinds);
    if (kind == std::end(kKinds))
    {
        // The script takes the kinds from here.
        for (Kind const& each : kKinds)
            std::puts(each.mpName);
        return argc == 1 ? 0 : 2;
    }
    Subjects subjects(argv[2]);
    kind->mpMakeCalls(subjects, kCallsBefore);
    CountedCalls(*kind, subjects);
    return 0;
}
