// How the library's times grow: with the destinations of a dispatcher, the dispatchers of a logger, the routers of a
// dispatcher, the length of a text and the number of back-ups.

#include "CallPath.h"
#include "FileSubjects.h"

#include <QzLog/QzLog.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace
{
    using namespace FileSubjects;
    using RouterPtr = QzBase::CountedPtr<QzLog::Router>;

    void Log(QzLog::Router& router, char const* text)
    {
        QzLog::LogString(router, text, nullptr, __FILE__, __func__, __LINE__);
    }

    /// Several destinations that drop their messages.
    class DroppingDestinations : public QzSynch::Counted<QzLog::DestinationCollection>
    {
    public:
        explicit DroppingDestinations(std::int64_t count)
        {
            for (std::int64_t i = 0; i < count; ++i)
                mDestinations.emplace_back(new CallPath::DroppingDestination);
        }

        unsigned int GetCount() override { return static_cast<unsigned int>(mDestinations.size()); }
        QzLog::Destination* GetDestination(unsigned int index) override { return mDestinations[index].get(); }

    private:
        std::vector<QzBase::CountedPtr<QzLog::Destination>> mDestinations;
    };

    void CallToDestinations(benchmark::State& state)
    {
        QzLog::Initializer const module;
        RouterPtr const router(QzLog::CreateRouter("Kernel", "Info"));
        QzBase::CountedPtr<DroppingDestinations> const destinations(new DroppingDestinations(state.range(0)));
        router->GetDispatcher()->SetDestinations(destinations);
        for (auto _ : state)
            Log(*router, CallPath::kText);
    }

    /// Makes one router for each of many dispatchers.
    std::vector<RouterPtr> MakeRouters(std::int64_t count)
    {
        std::vector<RouterPtr> routers;
        for (std::int64_t i = 0; i < count; ++i)
            routers.emplace_back(QzLog::CreateRouter("Kernel", ("Dispatcher" + std::to_string(i)).c_str()));
        return routers;
    }

    void CallBesideDispatchers(benchmark::State& state)
    {
        QzLog::Initializer const module;
        std::vector<RouterPtr> const others = MakeRouters(state.range(0) - 1);
        RouterPtr const router = CallPath::MakeDroppingRouter("Kernel", "Info");
        for (auto _ : state)
            Log(*router, CallPath::kText);
    }

    void CreateRouterBesideDispatchers(benchmark::State& state)
    {
        QzLog::Initializer const module;
        std::vector<RouterPtr> const others = MakeRouters(state.range(0));
        for (auto _ : state)
            RouterPtr const router(QzLog::CreateRouter("Kernel", "Dispatcher0"));
    }

    /// Two changes: on and off again.
    void ChangeOfDestinations(benchmark::State& state)
    {
        QzLog::Initializer const module;
        std::vector<RouterPtr> routers;
        for (std::int64_t i = 0; i < state.range(0); ++i)
            routers.emplace_back(QzLog::CreateRouter("Kernel", "Info"));
        QzLog::Dispatcher& dispatcher = *routers.front()->GetDispatcher();
        QzBase::CountedPtr<DroppingDestinations> const destinations(new DroppingDestinations(1));
        for (auto _ : state)
        {
            dispatcher.SetDestinations(destinations);
            dispatcher.SetDestinations(nullptr);
        }
    }

    void CallWithText(benchmark::State& state)
    {
        QzLog::Initializer const module;
        RouterPtr const router = CallPath::MakeDroppingRouter("Kernel", "Info");
        std::string const text(static_cast<std::size_t>(state.range(0)), 'x');
        for (auto _ : state)
            Log(*router, text.c_str());
    }

    void RecordOfText(benchmark::State& state)
    {
        OwnLog const log("text.log");
        Empty(GetPath("text.log"));
        OwnWriter writer(*log.mpLog);
        std::string const text(static_cast<std::size_t>(state.range(0)), 'x');
        for (auto _ : state)
            writer.Write(text);
    }

    /// Each record rolls the log over, with all back-ups there.
    void RollOverWithBackups(benchmark::State& state)
    {
        OwnLog const log("backups.log");
        log.mpLog->SetMaxFileSize(1);
        log.mpLog->SetBackupCount(static_cast<unsigned int>(state.range(0)));
        OwnWriter writer(*log.mpLog);
        for (std::int64_t i = 0; i <= state.range(0); ++i)
            writer.Write("first");
        for (auto _ : state)
            writer.Write("next");
    }

    /// Many dispatchers take longer to make than to measure, so there is no trial run.
    void Dispatchers(benchmark::internal::Benchmark* benchmark)
    {
        benchmark->Repetitions(3)->Iterations(100'000)->RangeMultiplier(10)->Range(1, 10'000);
    }

    BENCHMARK(CallToDestinations)->Name("CallToDestinations/QzLog")->Repetitions(3)->RangeMultiplier(2)->Range(1, 16);
    BENCHMARK(CallBesideDispatchers)->Name("CallBesideDispatchers/QzLog")->Apply(Dispatchers);
    BENCHMARK(CreateRouterBesideDispatchers)->Name("CreateRouterBesideDispatchers/QzLog")->Apply(Dispatchers);
    BENCHMARK(ChangeOfDestinations)
        ->Name("ChangeOfDestinations/QzLog")
        ->Repetitions(3)
        ->RangeMultiplier(10)
        ->Range(1, 100'000);
    BENCHMARK(CallWithText)->Name("CallWithText/QzLog")->Repetitions(3)->RangeMultiplier(10)->Range(10, 10'000'000);
    BENCHMARK(RecordOfText)->Name("RecordOfText/QzLog")->Repetitions(3)->RangeMultiplier(10)->Range(10, 10'000'000);
    BENCHMARK(RollOverWithBackups)
        ->Name("RollOverWithBackups/QzLog")
        ->Repetitions(3)
        ->RangeMultiplier(4)
        ->Range(1, 256);
}
