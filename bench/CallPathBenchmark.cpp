// The log path without a real destination: a disabled call, an enabled call whose destination takes the header
// text and the body and drops them, both with their values in the call, calls that differ from one to the next, the
// header text alone, a scope guard. Beside each the baseline and spdlog with the same header content in its pattern
// and a sink that formats and drops.

#include "CallPath.h"
#include "CallPathBaseline.h"

#include <QzLog/QzLog.h>

#include <benchmark/benchmark.h>

#ifdef QZLOG_BENCH_SPDLOG
#include "SpdlogPeer.h"
#endif

#include <cstddef>
#include <mutex>

namespace
{
    using CallPath::kText;

    /// The module with one router that is off and one that reaches a dropping destination.
    struct Setup
    {
        Setup()
        {
            using namespace QzBase::Literals;
            QzLog::SetServerInstanceName(u"Engine"_w);
        }

        QzLog::Initializer mModule;
        QzBase::CountedPtr<QzLog::Router> mpDisabled{QzLog::CreateRouter("Kernel", "Off")};
        QzBase::CountedPtr<QzLog::Router> mpEnabled{CallPath::MakeDroppingRouter("Kernel", "Info")};
    };

    Setup& GetSetup()
    {
        static Setup setup;
        return setup;
    }

    void DisabledCall(benchmark::State& state)
    {
        QzLog::Router& router = *GetSetup().mpDisabled;
        for (auto _ : state)
            QzLog::LogString(router, kText, nullptr, __FILE__, __func__, __LINE__);
    }

    void DisabledBaseline(benchmark::State& state)
    {
        static Baseline::Switch switchedOff;
        for (auto _ : state)
            Baseline::LogDisabled(switchedOff, kText, __FILE__, __func__, __LINE__);
    }

    void EnabledCall(benchmark::State& state)
    {
        QzLog::Router& router = *GetSetup().mpEnabled;
        for (auto _ : state)
            QzLog::LogString(router, kText, nullptr, __FILE__, __func__, __LINE__);
    }

    void MixedCalls(benchmark::State& state)
    {
        GetSetup();
        static CallPath::MixedMessages messages;
        std::size_t number = 0;
        for (auto _ : state)
            messages.Log(number++);
        QzLog::ClearThreadSpecificLogInfo();
    }

    void FormattedCall(benchmark::State& state)
    {
        QzLog::Router& router = *GetSetup().mpEnabled;
        for (auto _ : state)
        {
            QzResource::MessageFormatter& formatter = QzLog::GetMessageFormatter();
            formatter << 4711 << "alice" << 128;
            QzLog::LogMessage(
                router, "Report %1 of user %2 finished after %3 ms", formatter, nullptr, __FILE__, __func__, __LINE__);
        }
    }

    /// The values of a call, which the compiler does not know.
    struct CallValues
    {
        CallValues()
        {
            benchmark::DoNotOptimize(mReport);
            benchmark::DoNotOptimize(mpUser);
            benchmark::DoNotOptimize(mMilliseconds);
        }

        int mReport = 4711;
        char const* mpUser = "alice";
        int mMilliseconds = 128;
    };

    void LogWithValues(benchmark::State& state, QzLog::Router& router)
    {
        CallValues const values;
        for (auto _ : state)
            QzLog::Log(router, "Report %1 of user %2 finished after %3 ms", values.mReport, values.mpUser,
                values.mMilliseconds);
    }

    void DisabledLog(benchmark::State& state)
    {
        LogWithValues(state, *GetSetup().mpDisabled);
    }

    void EnabledLog(benchmark::State& state)
    {
        LogWithValues(state, *GetSetup().mpEnabled);
    }

    class BaselineSink : public Baseline::Sink
    {
    public:
        void Write(char const* header, std::size_t headerLength, char const* body) override
        {
            benchmark::DoNotOptimize(header);
            benchmark::DoNotOptimize(headerLength);
            benchmark::DoNotOptimize(body);
        }
    };

    void EnabledBaseline(benchmark::State& state)
    {
        static Baseline::Switch switchedOn{true};
        BaselineSink sink;
        for (auto _ : state)
            Baseline::LogEnabled(switchedOn, sink, kText);
    }

    void MixedBaseline(benchmark::State& state)
    {
        static Baseline::Switch switchedOn{true};
        BaselineSink sink;
        std::size_t number = 0;
        for (auto _ : state)
            Baseline::LogCall(switchedOn, sink, CallPath::kCalls[number++ % CallPath::kCallCount], kText);
    }

    void HeaderText(benchmark::State& state)
    {
        QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
        header->SetHostName("ws01");
        header->SetServerName("Engine");
        header->SetProcessID(4242);
        header->SetThreadID(9876);
        header->SetLoggerName("Kernel");
        header->SetDispatcherName("Info");
        for (auto _ : state)
        {
            header->SetTimestampToNow();
            benchmark::DoNotOptimize(header->GetHeaderText());
        }
    }

    void HeaderBaseline(benchmark::State& state)
    {
        char header[512];
        for (auto _ : state)
        {
            benchmark::DoNotOptimize(Baseline::FormatHeader(header));
            benchmark::ClobberMemory();
        }
    }

    void GuardOff(benchmark::State& state)
    {
        QzLog::Router& router = *GetSetup().mpDisabled;
        for (auto _ : state)
            QzLog::ScopeGuard const guard(router, "Writer::Flush", __FILE__, 42);
    }

    void GuardOn(benchmark::State& state)
    {
        QzLog::Router& router = *GetSetup().mpEnabled;
        for (auto _ : state)
            QzLog::ScopeGuard const guard(router, "Writer::Flush", __FILE__, 42);
    }

    void GuardOffBaseline(benchmark::State& state)
    {
        static Baseline::Switch switchedOff;
        for (auto _ : state)
        {
            Baseline::LogDisabled(switchedOff, "Enter", __FILE__, __func__, __LINE__);
            Baseline::LogDisabled(switchedOff, "Leave", __FILE__, __func__, __LINE__);
        }
    }

    void GuardOnBaseline(benchmark::State& state)
    {
        static Baseline::Switch switchedOn{true};
        BaselineSink sink;
        for (auto _ : state)
        {
            Baseline::LogEnabled(switchedOn, sink, "Enter 'Writer::Flush' near CallPathBenchmark.cpp(42)");
            Baseline::LogEnabled(switchedOn, sink, "Leave 'Writer::Flush' near CallPathBenchmark.cpp(42)");
        }
    }

    BENCHMARK(DisabledCall)->Name("Disabled/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(DisabledBaseline)->Name("Disabled/Baseline")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(EnabledCall)->Name("Enabled/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(EnabledBaseline)->Name("Enabled/Baseline")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(MixedCalls)->Name("Mixed/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(EnabledCall)->Name("Mixed/SameMessageAgain")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(MixedBaseline)->Name("Mixed/Baseline")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(FormattedCall)->Name("Formatted/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(DisabledLog)->Name("DisabledLog/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(DisabledCall)->Name("DisabledLog/LogString")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(EnabledLog)->Name("EnabledLog/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(FormattedCall)->Name("EnabledLog/LogMessage")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(HeaderText)->Name("HeaderText/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(HeaderBaseline)->Name("HeaderText/Baseline")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(GuardOff)->Name("GuardOff/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(GuardOffBaseline)->Name("GuardOff/Baseline")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(GuardOn)->Name("GuardOn/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(GuardOnBaseline)->Name("GuardOn/Baseline")->ThreadRange(1, 2)->UseRealTime();

#ifdef QZLOG_BENCH_SPDLOG
    using namespace SpdlogPeer;

    /// With the null mutex where one thread logs, to spdlog's advantage.
    spdlog::logger& GetSpdlog(int threads)
    {
        static auto const single = MakeDropping<spdlog::details::null_mutex>("Kernel", kPattern);
        static auto const shared = MakeDropping<std::mutex>("Kernel", kPattern);
        return threads == 1 ? *single : *shared;
    }

    spdlog::source_loc Here(int line)
    {
        return {__FILE__, line, "Here"};
    }

    void DisabledSpdlog(benchmark::State& state)
    {
        spdlog::logger& logger = GetSpdlog(state.threads());
        for (auto _ : state)
            logger.log(Here(__LINE__), spdlog::level::debug, kText);
    }

    void DisabledLogSpdlog(benchmark::State& state)
    {
        spdlog::logger& logger = GetSpdlog(state.threads());
        CallValues const values;
        for (auto _ : state)
            logger.log(Here(__LINE__), spdlog::level::debug, "Report {} of user {} finished after {} ms",
                values.mReport, values.mpUser, values.mMilliseconds);
    }

    void EnabledSpdlog(benchmark::State& state)
    {
        spdlog::logger& logger = GetSpdlog(state.threads());
        for (auto _ : state)
            logger.log(Here(__LINE__), spdlog::level::info, kText);
    }

    template <class Mutex>
    void MixedSpdlog(benchmark::State& state)
    {
        static MixedMessages<Mutex> messages;
        std::size_t number = 0;
        for (auto _ : state)
            messages.Log(number++);
    }

    void FormattedSpdlog(benchmark::State& state)
    {
        spdlog::logger& logger = GetSpdlog(state.threads());
        for (auto _ : state)
            logger.log(
                Here(__LINE__), spdlog::level::info, "Report {} of user {} finished after {} ms", 4711, "alice", 128);
    }

    void HeaderSpdlog(benchmark::State& state)
    {
        spdlog::pattern_formatter formatter(kPattern, spdlog::pattern_time_type::local, "");
        for (auto _ : state)
        {
            spdlog::details::log_msg const message(Here(__LINE__), "Kernel", spdlog::level::info, kText);
            spdlog::memory_buf_t buffer;
            formatter.format(message, buffer);
            benchmark::DoNotOptimize(buffer.data());
        }
    }

    void GuardOffSpdlog(benchmark::State& state)
    {
        spdlog::logger& logger = GetSpdlog(state.threads());
        for (auto _ : state)
        {
            logger.log(Here(42), spdlog::level::debug, "Enter '{}' near {}({})", "Writer::Flush", __FILE__, 42);
            logger.log(Here(42), spdlog::level::debug, "Leave '{}' near {}({})", "Writer::Flush", __FILE__, 42);
        }
    }

    void GuardOnSpdlog(benchmark::State& state)
    {
        spdlog::logger& logger = GetSpdlog(state.threads());
        for (auto _ : state)
        {
            logger.log(Here(42), spdlog::level::info, "Enter '{}' near {}({})", "Writer::Flush", __FILE__, 42);
            logger.log(Here(42), spdlog::level::info, "Leave '{}' near {}({})", "Writer::Flush", __FILE__, 42);
        }
    }

    BENCHMARK(DisabledSpdlog)->Name("Disabled/spdlog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(DisabledLogSpdlog)->Name("DisabledLog/spdlog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(MixedSpdlog<spdlog::details::null_mutex>)->Name("Mixed/spdlog")->UseRealTime()->Threads(1);
    BENCHMARK(MixedSpdlog<std::mutex>)->Name("Mixed/spdlog")->UseRealTime()->Threads(2);
    BENCHMARK(FormattedSpdlog)->Name("EnabledLog/spdlog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(EnabledSpdlog)->Name("Enabled/spdlog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(FormattedSpdlog)->Name("Formatted/spdlog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(HeaderSpdlog)->Name("HeaderText/spdlog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(GuardOffSpdlog)->Name("GuardOff/spdlog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(GuardOnSpdlog)->Name("GuardOn/spdlog")->ThreadRange(1, 2)->UseRealTime();
#endif
}
