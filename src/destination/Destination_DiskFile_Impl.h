#pragma once

#include "destination/BasicRecovery.h"
#include "destination/ConcreteDestination.h"
#include "destination/LogFile.h"
#include "destination/StrictRecovery.h"
#include "support/synch/ForkableSection.h"

#include <QzLog/Destination_DiskFile.h>

#include <string_view>

namespace QzLog
{
    class Destination_DiskFile_Impl final : public ConcreteDestination<Destination_DiskFile>,
                                            private QzSynch::ForkableSection::Client
    {
    public:
        using ConcreteDestination::WriteMessage;

        explicit Destination_DiskFile_Impl(unsigned short const* path);
        ~Destination_DiskFile_Impl() override;

        void WriteMessage(char const* bodyText, MessageHeader& header) override;
        void SetMaxFileSize(unsigned int maxFileSize) override;
        unsigned int GetMaxFileSize() override;
        void SetBackupCount(unsigned int backupCount) override;
        unsigned int GetBackupCount() override;
        QzBase::ReturnWString GetFilePath() override;
        void SetRecovery(Recovery recovery) override;
        Recovery GetRecovery() override;
        void SetRetryInterval(unsigned int seconds) override;
        unsigned int GetRetryInterval() override;
        DiskFileStatistics GetStatistics() override { return mLog.mCounters.Get(); }
        void SetLossObserver(LossObserver* observer) override;

        /// Changes to another file, and creates it with its directory if they are missing. The present path changes
        /// nothing. A failure to open is no loss yet.
        void SetFilePath(unsigned short const* path);

        /// The last chance to report losses: for the end of the module, which this object can outlive, and for the end
        /// of this object.
        void EndReports() noexcept;

        /// Writes a record that is no message of this destination.
        /// \return  false if it could not be written; the record is then not counted as missed.
        bool WriteForeignRecord(std::string_view text);

    private:
        /// A stay in the section, and what becomes of the lock on the file at its end.
        template <class Section, void (LogFile::*leave)() noexcept>
        class Stay : private Section
        {
        public:
            explicit Stay(Destination_DiskFile_Impl& destination)
                : Section(destination.mSection), mLog(destination.mLog)
            {
            }
            ~Stay() { (mLog.*leave)(); }
            Stay(Stay const&) = delete;
            Stay& operator=(Stay const&) = delete;

        private:
            LogFile& mLog;
        };

        /// Leaves the lock on the file held only for a thread that comes next.
        using Hold = Stay<QzSynch::ForkableSection::Hold, &LogFile::ReleaseUnlessAwaited>;

        // The others release the lock on the file: they write no record that counts against the limits within which it
        // is passed on. Threads that come again and again, each awaited by another, would keep it for ever.

        /// For a change that opens or closes the file.
        using Change = Stay<QzSynch::ForkableSection::Hold, &LogFile::Release>;

        /// For a setting, read or set, that can change while the holder is in its gap.
        using Look = Stay<QzSynch::ForkableSection::Look, &LogFile::Release>;

        void PrepareForFork() noexcept override;
        void GoOnInForkedChild(bool wasGap) noexcept override;

        /// Writes a record that contains a number of messages. False: they are lost, and have been counted.
        bool WriteOrCount(std::string_view text, unsigned int messages);

        LogFile mLog;
        BasicRecovery mBasic;
        StrictRecovery mStrict;
        LogRecovery* mpRecovery = &mBasic;
        /// Guards all members and every use of the file, but for the counters. Taken before the lock on the file and
        /// held through a whole delivery, so a process that keeps the file's lock stalls the threads here. The wait for
        /// that lock is the only gap. The lock on the file can outlast a stay in the section: see LogFile::Lock.
        // The last member: a fork takes it, when all others must be constructed.
        QzSynch::ForkableSection mSection;
    };
}
