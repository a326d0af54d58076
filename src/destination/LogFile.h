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

        /// Holds the lock on the file, and records the wait for it. A wait of more than some milliseconds is a gap in
        /// the section. By then a delivery must not have done more than open the file.
        class Lock : public QzFileSystem::FileWriteLock
        {
        public:
            explicit Lock(LogFile& log) : Lock(log, log.GetLockNanoseconds()) {}

        private:
            Lock(LogFile& log, std::int64_t before);
        };

        void CreateFolder() const;

        /// Opens the file at the path, or creates it.
        void Open();
        void Close() noexcept { mpFile.reset(); }

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

    private:
        std::int64_t GetLockNanoseconds() const { return mpFile->GetWriteLockTimer().GetTotalNanoseconds(); }

        QzSynch::ForkableSection* const mpSection;
        std::string const mHeader;
    };
}
