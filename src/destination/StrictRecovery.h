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
        void GoOnInForkedChild() override;
        Losses TakeLosses() override { return mRuns.Take(); }
        void PutLosses(Losses&& losses) override { mRuns.Put(std::move(losses)); }

    private:
        /// Updates the counters and the notices after a loss.
        void NoteLosses(LossNotices& notices);

        // These throw QzBase::Message.

        /// Opens the file, and creates it with its directory. Anything but a plain file fails and is not opened.
        void Open();

        /// The same if the file is closed. A forked child gets an open file of its own.
        void OpenOwnFile();

        /// Writes a record to the end of the file at the path, after the lines about losses.
        void WriteRecord(std::string_view record, LossNotices& notices);

        /// Reports all losses, under the lock that the caller holds. `size` is the file's; returns the new one.
        std::int64_t ReportLosses(std::int64_t size, LossNotices& notices);

        /// Like LogFile::Append, but leaves nothing in the file if it fails.
        std::int64_t Append(std::int64_t size, std::string_view text);

        LogFile& mLog;
        LossRuns mRuns;
    };
}
