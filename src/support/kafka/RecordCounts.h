#pragma once

#include <KafkaClient/KafkaProducer.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace KafkaClient
{
    /// Counts the records of all producers of the process; two of them exist while one replaces the other. A forked
    /// child begins at 0.
    struct RecordCounts
    {
        std::atomic<std::uint64_t> mAccepted{0};
        std::atomic<std::uint64_t> mDelivered{0};
        std::atomic<std::uint64_t> mFailed{0};

        KafkaProducer::Counters Get() const noexcept;
    };

    extern RecordCounts gRecordCounts;

    /// Counts lost records.
    void AddFailed(std::uint64_t count, char const* reason);

    /// Writes a line (UTF-8) to the debug output.
    void Tell(std::string const& text);

    /// Reports how many records were lost since the last report, at most once in ten seconds unless it is forced.
    void TellFailures(bool isForced);
}
