#pragma once

#include "destination/LogRecovery.h"
#include "destination/LossAccount.h"

namespace QzLog
{
    class LogFile;

    /// kRecoveryBasic.
    class BasicRecovery final : public LogRecovery
    {
    public:
        explicit BasicRecovery(LogFile& log) : mLog(log) {}

        void Start() override;
        bool Write(std::string_view record, unsigned int messages, LossNotices& notices) override;
        void End(LossNotices&) override {}
        void GoOnInForkedChild() override;
        Losses TakeLosses() override { return mLosses.Take(); }
        void PutLosses(Losses&& losses) override { mLosses.Put(std::move(losses)); }

    private:
        /// Like Write, without the notices of a loss.
        bool WriteOrCount(std::string_view record, unsigned int messages, LossNotices& notices);

        /// Whether the lost file is open again. False: these messages are lost too, and have been counted.
        bool PassRetryGate(unsigned int messages, LossNotices& notices);

        // These throw QzBase::Message.

        /// Opens the file and reports in it what was lost.
        void ReopenFile(LossNotices& notices);

        /// Gives a forked child an open file of its own, if it still has its parent's.
        void LeaveFileOfParent();

        /// Writes a record at the end of the file, under the lock on the file.
        void WriteRecord(std::string_view record);

        LogFile& mLog;
        LossAccount mLosses;
    };
}
