// Masking of texts of three lengths, without a value and with many, beside the baseline (one memmem pass and
// one copy of the same text) and beside RE2 doing the same replacement.

#include <QzLog/Masking.h>

#include <benchmark/benchmark.h>

#ifdef QZLOG_BENCH_RE2
#include <re2/re2.h>
#endif

#include <cstring>
#include <map>
#include <random>
#include <string>
#include <string_view>

namespace
{
    // What a case searches: how a value begins, and the words of the text around it.
    struct Form
    {
        std::string mBeginning;
        std::string mPattern;
        std::string mRegularExpression;
        char const* mWords[6];
    };

    Form const gAttribute{R"( password=")", R"( password=")", R"re(( password=")[^"]*")re",
        {"<row ", R"(id="17" )", R"(name="Quarterly report" )", R"(value="3.14"/>)", "some plain words, ",
            "2026-11-18 "}};
    Form const gHTTP{R"("password":")", R"("password")", R"re(("password"[^:]*:[^"]*")(?:\\"|[^"])*")re",
        {R"({"user":"bob",)", R"("path":"\/a\/b",)", R"("id":17},)", R"("name":"Quarterly report",)", R"("on":true,)",
            R"("note":"some \"plain\" words",)"}};

    std::string MakeText(Form const& form, std::size_t size, std::size_t values)
    {
        std::mt19937 random(4711);
        std::size_t const distance = values > 0 ? size / values : size;
        std::string text;
        for (std::size_t value = 0; text.size() < size;)
        {
            if (value < values && text.size() >= value * distance)
            {
                text += form.mBeginning + "secret\" ";
                ++value;
            }
            text += form.mWords[random() % std::size(form.mWords)];
        }
        text.resize(size);
        return text;
    }

    std::string const& GetText(Form const& form, benchmark::State const& state)
    {
        static std::map<std::string, std::string> texts;
        std::string& text =
            texts[form.mBeginning + std::to_string(state.range(0)) + '/' + std::to_string(state.range(1))];
        if (text.empty())
            text = MakeText(form, static_cast<std::size_t>(state.range(0)), static_cast<std::size_t>(state.range(1)));
        return text;
    }

    std::string Mask(Form const& form, std::string const& text)
    {
        return &form == &gAttribute ? QzLog::ReplaceSensitiveMessage(text.c_str(), "password", "***").c_str()
                                    : QzLog::ReplaceSensitiveMessageInHTTP(text.c_str()).c_str();
    }

    void RunAttribute(benchmark::State& state)
    {
        std::string const& text = GetText(gAttribute, state);
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize(QzLog::ReplaceSensitiveMessage(text.c_str(), "password", "***"));
        state.SetBytesProcessed(state.iterations() * state.range(0));
    }

    void RunHTTP(benchmark::State& state)
    {
        std::string const& text = GetText(gHTTP, state);
        for ([[maybe_unused]] auto _ : state)
            benchmark::DoNotOptimize(QzLog::ReplaceSensitiveMessageInHTTP(text.c_str()));
        state.SetBytesProcessed(state.iterations() * state.range(0));
    }

    std::size_t CountWithMemmem(std::string_view text, std::string_view pattern)
    {
        std::size_t count = 0;
        while (void const* const found = memmem(text.data(), text.size(), pattern.data(), pattern.size()))
        {
            ++count;
            text.remove_prefix(
                static_cast<std::size_t>(static_cast<char const*>(found) - text.data()) + pattern.size());
        }
        return count;
    }

    void RunBaseline(benchmark::State& state, Form const& form)
    {
        std::string const& text = GetText(form, state);
        for ([[maybe_unused]] auto _ : state)
        {
            benchmark::DoNotOptimize(CountWithMemmem(text, form.mPattern));
            std::string copy(text);
            benchmark::DoNotOptimize(copy.data());
        }
        state.SetBytesProcessed(state.iterations() * state.range(0));
    }

#ifdef QZLOG_BENCH_RE2
    void RunRE2(benchmark::State& state, Form const& form)
    {
        std::string const& text = GetText(form, state);
        re2::RE2 const expression(form.mRegularExpression, re2::RE2::Latin1);
        std::string masked(text);
        re2::RE2::GlobalReplace(&masked, expression, R"(\1***")");
        if (masked != Mask(form, text))
            state.SkipWithError("RE2 gives another text");
        for ([[maybe_unused]] auto _ : state)
        {
            std::string copy(text);
            re2::RE2::GlobalReplace(&copy, expression, R"(\1***")");
            benchmark::DoNotOptimize(copy.data());
        }
        state.SetBytesProcessed(state.iterations() * state.range(0));
    }
#endif

    void SetSizes(benchmark::internal::Benchmark* benchmark)
    {
        benchmark->ArgNames({"bytes", "values"});
        for (auto const& [bytes, values] : {std::pair{100, 1}, {10000, 100}, {10000000, 100000}})
            benchmark->Args({bytes, 0})->Args({bytes, values});
    }

    BENCHMARK(RunAttribute)->Name("MaskAttribute/QzLog")->Apply(SetSizes);
    BENCHMARK(RunHTTP)->Name("MaskHTTP/QzLog")->Apply(SetSizes);
    BENCHMARK_CAPTURE(RunBaseline, Attribute, gAttribute)->Name("MaskAttribute/Baseline")->Apply(SetSizes);
    BENCHMARK_CAPTURE(RunBaseline, HTTP, gHTTP)->Name("MaskHTTP/Baseline")->Apply(SetSizes);
#ifdef QZLOG_BENCH_RE2
    BENCHMARK_CAPTURE(RunRE2, Attribute, gAttribute)->Name("MaskAttribute/RE2")->Apply(SetSizes);
    BENCHMARK_CAPTURE(RunRE2, HTTP, gHTTP)->Name("MaskHTTP/RE2")->Apply(SetSizes);
#endif
}
