#pragma once

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace KafkaClient
{
    /// Counts the records of all producers of the process; two of them exist while one replaces the other. A forked
    /// child begins at 0.
    struct RecordCounts
    {
        /// Without those of the present producer, which counts them for each topic.
        std::atomic<std::uint64_t> mAccepted{0};
        std::atomic<std::uint64_t> mDelivered{0};
        std::atomic<std::uint64_t> mFailed{0};
    };

    extern RecordCounts gRecordCounts;

    /// Counts lost records.
    void AddFailed(std::uint64_t count, char const* reason) noexcept;

    /// Writes a line, joined from pieces (UTF-8), to the debug output. Without memory for it, the line is dropped.
    void WriteLine(std::initializer_list<std::string_view> pieces) noexcept;

    /// Reports how many records were lost since the last report, at most once in ten seconds unless it is forced.
    void ReportFailures(bool isForced) noexcept;
}
