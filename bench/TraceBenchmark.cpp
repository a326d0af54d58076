// Updates of the operation traces on one and two threads, each with its own bucket, beside a bare look-up in
// a map of maps and an addition under a std::shared_mutex.

#include <QzLog/CmdLogTrace.h>
#include <QzLog/Module.h>
#include <QzLog/MsgLogTrace.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <shared_mutex>

namespace
{
    constexpr int kCommands = 50;

    unsigned long GetKey(benchmark::State const& state)
    {
        return 1000 + static_cast<unsigned long>(state.thread_index());
    }

    void UpdateCommand(benchmark::State& state)
    {
        static QzLog::CmdLogTrace trace;
        unsigned long const key = GetKey(state);
        int id = 0;
        for ([[maybe_unused]] auto _ : state)
            trace.AddToLogTrace(key, id++ % kCommands, 128);
    }

    void UpdateMessage(benchmark::State& state)
    {
        static QzLog::Initializer module;
        QzBase::WideString name(8, 'D');
        QzLog::MsgLogTrace::SetMsgLogTrace(true);
        unsigned long const key = GetKey(state);
        int id = 0;
        for ([[maybe_unused]] auto _ : state)
            QzLog::MsgLogTrace::SendToLogTrace(key, id++ % kCommands, name, 128, QzLog::MsgOpFirst);
    }

    void UpdateMap(benchmark::State& state)
    {
        static std::shared_mutex mutex;
        static std::map<unsigned long, std::map<int, std::int64_t>> map;
        unsigned long const key = GetKey(state);
        {
            std::unique_lock const hold(mutex);
            for (int id = 0; id < kCommands; ++id)
                map[key][id] = 0;
        }
        int id = 0;
        for ([[maybe_unused]] auto _ : state)
        {
            std::shared_lock const hold(mutex);
            map.find(key)->second.find(id++ % kCommands)->second += 128;
        }
    }

    BENCHMARK(UpdateCommand)->Name("CommandTrace/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(UpdateMap)->Name("CommandTrace/Baseline")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(UpdateMessage)->Name("MessageTrace/QzLog")->ThreadRange(1, 2)->UseRealTime();
    BENCHMARK(UpdateMap)->Name("MessageTrace/Baseline")->ThreadRange(1, 2)->UseRealTime();
}
