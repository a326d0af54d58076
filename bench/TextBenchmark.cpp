// What becomes of a text on its way to debug output and to the system log: to UTF-16 and back. 1 MB that is malformed
// in several ways, beside 1 MB of well-formed characters of one to four bytes.

#include <QzBase/Conversions.h>

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <string_view>

namespace
{
    constexpr std::size_t kBytes = 1'000'000;

    std::string Repeat(std::string_view piece)
    {
        std::string text;
        while (text.size() + piece.size() <= kBytes)
            text += piece;
        return text;
    }

    std::string MakeRandom(unsigned int lowestByte)
    {
        std::mt19937 random(4711);
        std::string text(kBytes, '\0');
        for (char& byte : text)
            byte = static_cast<char>(lowestByte + random() % (256 - lowestByte));
        return text;
    }

    std::string MakeWellFormed()
    {
        char const* const characters[] = {"a", "\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"};
        std::mt19937 random(4711);
        std::string text;
        while (text.size() + 4 <= kBytes)
            text += characters[random() % std::size(characters)];
        return text;
    }

    void Convert(benchmark::State& state, std::string const& text)
    {
        for ([[maybe_unused]] auto _ : state)
        {
            QzBase::ReturnWString const wide = QzBase::UTF8ToWideChar(text.c_str(), true);
            benchmark::DoNotOptimize(QzBase::WideCharToUTF8(wide.c_str(), true));
        }
        state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
    }

    void Register(std::string const& name, std::string const& malformed)
    {
        static std::string const wellFormed = MakeWellFormed();
        benchmark::RegisterBenchmark(
            (name + "/QzLog").c_str(), [malformed](auto& state) { Convert(state, malformed); });
        benchmark::RegisterBenchmark((name + "/WellFormed").c_str(), [](auto& state) { Convert(state, wellFormed); });
    }

    [[maybe_unused]] bool const gAreRegistered = []
    {
        Register("OneByteAgainAndAgain", Repeat("\xFF"));
        Register("LeadBytesAlone", Repeat("\xE4"));
        Register("CharactersCutShort", Repeat("\xF0\x9F\x98"));
        Register("BetweenLetters", Repeat("a\xFF"));
        Register("RandomBytes", MakeRandom(1));
        Register("RandomBytesThatAreNoASCII", MakeRandom(0x80));
        return true;
    }();
}
