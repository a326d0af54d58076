#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

/// A record that can be told from all others and whose text follows from its number alone, so that the checker
/// knows each byte that a log has to hold.
struct RecordNumber
{
    unsigned int mProcess;
    unsigned int mThread;
    std::uint64_t mSequence;
};

/// What every log begins with.
inline constexpr std::string_view kHead = "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n";

/// What every record's text begins with, after the header of the line.
inline constexpr char kRecordMark[] = "<record ";

/// The body to log: 1 byte to 1 MiB of payload between its mark and its end, often of several lines.
std::string MakeBody(RecordNumber const& number, std::uint64_t seed);

/// The same text as a log file holds it, from the mark to the final CR LF.
std::string MakeFileText(RecordNumber const& number, std::uint64_t seed);

/// Empty when there is no such file.
std::string ReadFile(std::filesystem::path const& path);

/// Reads the number at a mark; false when there is none.
bool ReadNumber(char const* text, std::size_t length, RecordNumber& number);
