#include "Record.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

namespace
{
    constexpr std::size_t kLargestPayload = 1 << 20;

    std::size_t ChooseSize(std::mt19937_64& random)
    {
        // Mostly short, as messages are, and now and then one that needs more than one write.
        unsigned int const kind = static_cast<unsigned int>(random() % 1000);
        if (kind < 900)
            return 1 + random() % 200;
        if (kind < 998)
            return 1 + random() % 20'000;
        return kLargestPayload - random() % 1000;
    }
}

std::string MakeBody(RecordNumber const& number, std::uint64_t seed)
{
    std::seed_seq sequence{seed, std::uint64_t{number.mProcess}, std::uint64_t{number.mThread}, number.mSequence};
    std::mt19937_64 random(sequence);
    std::string body = kRecordMark + std::to_string(number.mProcess) + ' ' + std::to_string(number.mThread) + ' ' +
                       std::to_string(number.mSequence) + '>';
    std::size_t const payload = ChooseSize(random);
    bool const hasLines = random() % 4 == 0;
    char const letter = static_cast<char>('a' + random() % 26);
    body.append(payload, letter);
    // No two line ends side by side: the library would make one of them.
    for (std::size_t at = body.size() - payload + 1; hasLines && at + 1 < body.size(); at += 2 + random() % 300)
        body[at] = '\n';
    return body += "</record>";
}

std::string MakeFileText(RecordNumber const& number, std::uint64_t seed)
{
    std::string text;
    for (char const c : MakeBody(number, seed))
        c == '\n' ? text += "\r\n" : text += c;
    return text += "\r\n";
}

std::string ReadFile(std::filesystem::path const& path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

bool ReadNumber(char const* text, std::size_t length, RecordNumber& number)
{
    unsigned long long sequence = 0;
    int end = 0;
    std::string const start(text, std::min<std::size_t>(length, 100));
    std::string const format = std::string(kRecordMark) + "%u %u %llu>%n";
    std::sscanf(start.c_str(), format.c_str(), &number.mProcess, &number.mThread, &sequence, &end);
    number.mSequence = sequence;
    return end != 0;
}
