#pragma once

#include "destination/LogRecovery.h"
#include "destination/LossRuns.h"

#include <cstdint>

namespace QzLog
{
    class LogFile;

    /// kRecoveryStrict.
    class StrictRecovery final : public LogRecovery
    {
    public:
        explicit StrictRecovery(LogFile& log) : mLog(log) {}

        void Start() override;
        bool Write(std::string_view record, unsigned int messages, LossNotices& notices) override;
        void End(LossNotices& notices) override;
        void ForgetLosses() noexcept override { mRuns.ForgetCounts(); }
        Losses TakeLosses() override { return mRuns.Take(); }
        void PutLosses(Losses&& losses) override { mRuns.Put(std::move(losses)); }

    private:
        /// Tells the counters and those who listen that there are more losses.
        void NoteLosses(LossNotices& notices);

        // These throw QzBase::Message.

        /// Opens the file with its directory. What is no plain file fails, and is not opened.
        void Open();

        /// Writes a record at the end of the file that is at the path, behind the lines about what was lost.
        void WriteRecord(std::string_view record, LossNotices& notices);

        /// Reports all losses, under the lock that the caller holds. `size` is the file's; returns the new one.
        std::int64_t ReportLosses(std::int64_t size, LossNotices& notices);

        /// Like LogFile::Append, but leaves nothing behind when it fails.
        std::int64_t Append(std::int64_t size, std::string_view text);

        LogFile& mLog;
        LossRuns mRuns;
    };
}
