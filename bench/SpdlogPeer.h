#pragma once

#include "Calls.h"

#include <benchmark/benchmark.h>

#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstddef>
#include <memory>
#include <string>

// spdlog as the benchmarks use it: with the content of the library's header in its pattern, and a sink that formats the
// messages and drops them, or a rotating file.

namespace SpdlogPeer
{
    constexpr char const* kPattern =
        "%Y-%m-%d %H:%M:%S.%e%z [HOST:ws01][SERVER:Engine][PID:%P][THR:%t][%n][Info][UID:0][SID:0][OID:0]";

    template <class Mutex>
    class DroppingSink : public spdlog::sinks::base_sink<Mutex>
    {
        void sink_it_(spdlog::details::log_msg const& message) override
        {
            spdlog::memory_buf_t buffer;
            this->formatter_->format(message, buffer);
            benchmark::DoNotOptimize(buffer.data());
            benchmark::DoNotOptimize(message.payload.data());
        }

        void flush_() override {}
    };

    template <class Mutex>
    std::shared_ptr<spdlog::logger> MakeDropping(char const* name, std::string const& pattern)
    {
        auto const made = std::make_shared<spdlog::logger>(name, std::make_shared<DroppingSink<Mutex>>());
        made->set_formatter(std::make_unique<spdlog::pattern_formatter>(pattern, spdlog::pattern_time_type::local, ""));
        return made;
    }

    /// The mixed messages of Calls.h, each by a logger of its own. Message ID and user have no place in a pattern; they
    /// begin the text.
    template <class Mutex>
    class MixedMessages
    {
    public:
        MixedMessages()
        {
            for (std::size_t i = 0; i < CallPath::kCallCount; ++i)
            {
                CallPath::Call const& call = CallPath::kCalls[i];
                std::string pattern("%Y-%m-%d %H:%M:%S.%e%z [HOST:ws01][SERVER:Engine][PID:%P][THR:%t][%n][");
                pattern.append(call.mpDispatcher).append(call.IsError() ? "][%s:%! at line:%#]%v" : "]%v");
                mLoggers[i] = MakeDropping<Mutex>(call.mpLogger, pattern);
            }
        }

        void Log(std::size_t number)
        {
            std::size_t const i = number % CallPath::kCallCount;
            CallPath::Call const& call = CallPath::kCalls[i];
            spdlog::source_loc const location{call.mpFile, call.mLine, call.mpFunction};
            if (call.mMessageID != 0)
                mLoggers[i]->log(location, spdlog::level::info, "[0x{:08X}][UID:{}][SID:0][OID:0] {}", call.mMessageID,
                    call.mpUser, CallPath::kText);
            else
                mLoggers[i]->log(
                    location, spdlog::level::info, "[UID:{}][SID:0][OID:0] {}", call.mpUser, CallPath::kText);
        }

    private:
        std::shared_ptr<spdlog::logger> mLoggers[CallPath::kCallCount];
    };

    /// Flushes each record.
    inline std::shared_ptr<spdlog::logger> MakeFile(std::string const& path)
    {
        auto const made = spdlog::rotating_logger_mt("file", path, 2'000'000'000, 1);
        made->set_pattern(
            "%Y-%m-%d %H:%M:%S.%e [HOST:ws01][SERVER:Engine][PID:%P][THR:%t][%n][Info][UID:0][SID:0][OID:0] %v");
        made->flush_on(spdlog::level::info);
        return made;
    }
}
