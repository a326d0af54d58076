#pragma once

#include "destination/LogCounters.h"
#include "filesystem/FileLocks.h"
#include "filesystem/FileObjects.h"
#include "support/synch/ForkableSection.h"

#include <QzBase/CountedPtr.h>
#include <QzBase/WideString.h>
#include <QzLog/LossObserver.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace QzLog
{
    /// The log file of a destination, the settings for writing to it, and the steps that both recoveries share. Used by
    /// the thread that holds the destination's section; any thread may read the counters. What throws, throws
    /// QzBase::Message.
    class LogFile
    {
    public:
        /// \param section  the destination's. Not used before its construction is done.
        explicit LogFile(QzSynch::ForkableSection* section);

        /// Holds the lock on the file: the one that the thread before has left, or else takes it and records the wait.
        /// A wait of more than some milliseconds is a gap in the section. By then a delivery must not have done more
        /// than open the file.
        class Lock
        {
        public:
            explicit Lock(LogFile& log);
            ~Lock() { Unlock(); }
            Lock(Lock const&) = delete;
            Lock& operator=(Lock const&) = delete;

            void Unlock() noexcept;

            /// In place of Unlock, when a record is written. Leaves the lock held for a thread that will soon be in the
            /// section, within the limits below.
            void PassOn() noexcept;

        private:
            LogFile& mLog;
            bool mIsOwner = true;
        };

        /// For whoever leaves the section after Lock::PassOn or without a lock: the lock on the file stays held only if
        /// another thread will soon be in the section, and within the limits below.
        void ReleaseUnlessAwaited() noexcept;

        /// For whoever leaves the section and was not there to write, and before a fork.
        void Release() noexcept;

        void CreateFolder() const;

        /// Opens the file at the path, or creates it.
        void Open();
        void Close() noexcept;

        bool IsFull(std::int64_t size) const noexcept { return size >= std::int64_t{mMaxFileSize}; }

        /// Writes a record under the lock that the caller holds. An empty file gets its head with it.
        /// \param size  the file's.
        /// \return  the size after that.
        std::int64_t Append(std::int64_t size, std::string_view record);

        [[noreturn]] void ThrowRaceFailure() const;

        QzBase::WideString mPath;
        /// Null while the file is lost.
        std::unique_ptr<QzFileSystem::UpdateableFile> mpFile;
        unsigned int mBackupCount = 1;
        unsigned int mMaxFileSize = 2'000'000;
        unsigned int mRetryInterval = 300; // seconds
        QzBase::CountedPtr<LossObserver> mpObserver;
        LogCounters mCounters;

        /// How often a message tries to find room in the file before it is lost.
        static constexpr int kWritePasses = 10;

        /// So many records are written under one lock on the file if threads wait for each other. Taking and releasing
        /// that lock is two of the five system calls of a record. More would save little, and make other processes wait
        /// for longer.
        static constexpr unsigned int kRecordsPerLock = 8;

        /// No further record follows once the writes under the lock have taken that long: then two system calls hardly
        /// count, and other processes would wait for a slow disk.
        static constexpr std::int64_t kNanosecondsPerLock = 50'000;

    private:
        std::int64_t GetLockNanoseconds() const { return mpFile->GetWriteLockTimer().GetTotalNanoseconds(); }
        std::int64_t GetWriteNanoseconds() const { return mpFile->GetWriteTimer().GetTotalNanoseconds(); }

        QzSynch::ForkableSection* const mpSection;
        /// While the lock on the file is held.
        std::optional<QzFileSystem::FileWriteLock> mFileLock;
        unsigned int mRecordsUnderLock = 0;
        std::int64_t mWriteNanosecondsBefore = 0; // before that lock
        std::string const mHeader;
    };
}
