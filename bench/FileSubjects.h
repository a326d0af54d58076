#pragma once

#include "CallPathBaseline.h"

#include <QzLog/QzLog.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// What the benchmarks of log files share: a folder, the library's log, the baseline, and the longest time of one
// record.

namespace FileSubjects
{
    // Never reached, so that records are measured without roll-overs.
    constexpr unsigned int kNoLimit = 2'000'000'000;

    /// A path in a private folder that goes with the program.
    inline std::string GetPath(char const* file)
    {
        struct Folder
        {
            Folder()
            {
                char name[] = "/tmp/qzlog-bench-XXXXXX";
                mName = mkdtemp(name);
            }
            Folder(Folder const&) = delete;
            Folder& operator=(Folder const&) = delete;
            ~Folder() { std::filesystem::remove_all(mName); }

            std::string mName;
        };
        static Folder const folder;
        return folder.mName + '/' + file;
    }

    /// Keeps the files small enough for the page cache; called outside the measured time.
    inline void Empty(std::string const& path)
    {
        if (truncate(path.c_str(), 0) != 0)
            std::ofstream(path).flush();
    }

    /// The bare system calls, with a query of the path that asks for as much as the library does.
    class BareFile
    {
    public:
        explicit BareFile(std::string path)
            : mPath(std::move(path)), mDescriptor(open(mPath.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666))
        {
        }

        BareFile(BareFile const&) = delete;
        BareFile& operator=(BareFile const&) = delete;
        ~BareFile() { close(mDescriptor); }

        /// Writes a header of this moment and the text.
        void Write(std::string const& text)
        {
            mRecord.resize(512);
            mRecord.resize(Baseline::FormatHeader(mRecord.data()));
            mRecord.append(1, ' ').append(text).append("\r\n");
            struct statx status;
            benchmark::DoNotOptimize(statx(AT_FDCWD, mPath.c_str(), 0, STATX_TYPE, &status));
            flock(mDescriptor, LOCK_EX);
            benchmark::DoNotOptimize(lseek(mDescriptor, 0, SEEK_END));
            benchmark::DoNotOptimize(write(mDescriptor, mRecord.data(), mRecord.size()));
            flock(mDescriptor, LOCK_UN);
        }

        int GetDescriptor() const { return mDescriptor; }

    private:
        std::string mPath;
        int mDescriptor;
        std::string mRecord;
    };

    /// The module with one disk-file destination on `file`.
    struct OwnLog
    {
        explicit OwnLog(char const* file)
            : mpLog(QzLog::GetDestination_DiskFile(QzBase::UTF8ToWideChar(GetPath(file).c_str(), false).c_str()))
        {
            mpLog->SetMaxFileSize(kNoLimit);
        }

        QzLog::Initializer mModule;
        QzBase::CountedPtr<QzLog::Destination_DiskFile> mpLog;
    };

    /// Writes records through the destination, each with a header of its moment, as all subjects do.
    class OwnWriter
    {
    public:
        explicit OwnWriter(QzLog::Destination& log) : mLog(log)
        {
            mpHeader->SetHostName("ws01");
            mpHeader->SetServerName("Engine");
            mpHeader->SetProcessID(static_cast<unsigned int>(getpid()));
            mpHeader->SetThreadID(static_cast<unsigned int>(gettid()));
            mpHeader->SetLoggerName("Kernel");
            mpHeader->SetDispatcherName("Info");
        }

        void Write(std::string const& text)
        {
            mpHeader->SetTimestampToNow();
            mLog.WriteMessage(text.c_str(), *mpHeader);
        }

    private:
        QzLog::Destination& mLog;
        QzBase::CountedPtr<QzLog::MessageHeader> mpHeader{QzLog::CreateMessageHeader()};
    };

    /// Does something for each iteration of a benchmark, and adds the counter "longest_us" to it: the longest time that
    /// one of its threads took for one iteration, in microseconds. Costs a reading of the clock for each iteration.
    template <class Work>
    void MeasureLongest(benchmark::State& state, Work const& work)
    {
        using Clock = std::chrono::steady_clock;
        static std::atomic<std::int64_t> longest;
        // The threads wait for each other at the beginning of the loop and at its end.
        if (state.thread_index() == 0)
            longest = 0;
        std::int64_t ownLongest = 0;
        Clock::time_point last{};
        for (auto _ : state)
        {
            if (last == Clock::time_point{})
                last = Clock::now();
            work();
            Clock::time_point const now = Clock::now();
            std::int64_t const time = std::chrono::nanoseconds(now - last).count();
            last = now;
            if (time <= ownLongest)
                continue;
            ownLongest = time;
            for (std::int64_t known = longest; known < time && !longest.compare_exchange_weak(known, time);)
                ;
        }
        if (state.thread_index() == 0)
            state.counters["longest_us"] = static_cast<double>(longest.load()) / 1000;
    }
}
