// What a destination of the kit that wraps another one adds to a message that it passes: each beside the same message
// without it. The target drops what it gets.

#include <QzLog/Destination_Impl.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>
#include <QzLogKit/Destination_Language.h>
#include <QzLogKit/Destination_RateLimit.h>
#include <QzLogKit/Destination_Selection.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <benchmark/benchmark.h>

namespace
{
    using QzBase::CountedPtr;
    using QzLog::Destination;

    class DroppingDestination final : public QzSynch::Counted<QzLog::Destination_Impl>
    {
    public:
        void WriteMessage(char const* text, QzLog::MessageHeader&) override { benchmark::DoNotOptimize(text); }
        void WriteMessage(QzLog::MessageHeader&, QzLog::MessageBody&) override {}
    };

    CountedPtr<Destination> Bare(Destination& target)
    {
        return &target;
    }

    CountedPtr<Destination> Language(Destination& target)
    {
        return QzLogKit::CreateDestination_Language(target, 0x407);
    }

    CountedPtr<Destination> Selection(Destination& target)
    {
        return QzLogKit::CreateDestination_Selection(
            target, {.mUserIDs = {"bob", "carol", "alice"}, .mSessionIDs = {"S4711", "S4712"}});
    }

    template <QzLogKit::RateLimitPer per>
    CountedPtr<Destination> RateLimit(Destination& target)
    {
        return QzLogKit::CreateDestination_RateLimit(target, {1u << 31, std::chrono::hours(24)}, per);
    }

    /// One destination for all threads, a header for each.
    template <CountedPtr<Destination> (*create)(Destination&)>
    void Pass(benchmark::State& state)
    {
        static CountedPtr<Destination> const target(new DroppingDestination);
        static CountedPtr<Destination> const destination = create(*target);
        CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
        header->SetLoggerName("Kernel");
        header->SetDispatcherName("Error");
        header->SetMessageID(0x80000304);
        header->SetSourceFile("source/server/reporting/Client.cpp");
        header->SetSourceLine(77);
        header->SetUserID("alice");
        header->SetSessionID("S4711");
        header->SetTimestampToNow();
        for (auto _ : state)
            destination->WriteMessage("Report 4711 of user alice finished after 128 ms", *header);
    }
}

BENCHMARK(Pass<Bare>)->Name("kit pass/bare")->ThreadRange(1, 2);
BENCHMARK(Pass<Language>)->Name("kit pass/language")->ThreadRange(1, 2);
BENCHMARK(Pass<Selection>)->Name("kit pass/selection")->ThreadRange(1, 2);
BENCHMARK(Pass<RateLimit<QzLogKit::RateLimitPer::kMessageID>>)->Name("kit pass/per ID")->ThreadRange(1, 2);
BENCHMARK(Pass<RateLimit<QzLogKit::RateLimitPer::kCallSite>>)->Name("kit pass/per call site")->ThreadRange(1, 2);
BENCHMARK(Pass<RateLimit<QzLogKit::RateLimitPer::kDispatcher>>)->Name("kit pass/per dispatcher")->ThreadRange(1, 2);
