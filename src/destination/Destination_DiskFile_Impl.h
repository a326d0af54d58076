#pragma once

#include "destination/ConcreteDestination.h"
#include "destination/LossAccount.h"
#include "filesystem/FileObjects.h"
#include "support/synch/ForkableSection.h"

#include <QzBase/WideString.h>
#include <QzLog/Destination_DiskFile.h>

#include <cstdint>
#include <memory>
#include <string>
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

        /// Goes over to another file, which is made with its directory if they are missing. The present path
        /// changes nothing. A failure to open begins a count of losses.
        void SetFilePath(unsigned short const* path);

        /// Writes a record that is no message of this destination.
        /// \return  false when the file is lost; the record is then not counted as missed.
        bool WriteForeignRecord(std::string_view text);

    private:
        void GoOnInForkedChild(bool wasGap) noexcept override;

        // All of the following is called by the thread that has the section.

        /// Writes a record that stands for a number of messages. False: they are lost, and have been counted.
        bool WriteOrCount(std::string_view text, unsigned int messages);

        /// Whether the lost file is open again. False: these messages are lost too, and have been counted.
        bool PassRetryGate(unsigned int messages);

        /// Opens the file and tells in it what was lost. Throws QzBase::Message.
        void ReopenFile();

        /// Gives a forked child an open file of its own, if it still has its parent's. Throws QzBase::Message.
        void ReopenAfterFork();

        /// Writes a record at the end of the file, under the lock on the file. Throws QzBase::Message.
        void WriteRecord(std::string_view record);

        /// Writes it under the lock that the caller holds. An empty file gets its head with it: `size` is the file's.
        void Append(std::int64_t size, std::string_view record);
        [[noreturn]] void ThrowRaceFailure() const;

        void CloseFile() noexcept { mpFile.reset(); }

        QzBase::WideString mFilePath;
        std::string const mFileHeader;
        /// Null while the file is lost.
        std::unique_ptr<QzFileSystem::UpdateableFile> mpFile;
        unsigned int mBackupCount = 1;
        unsigned int mMaxFileSize = 2'000'000;
        LossAccount mLosses;
        /// Guards all members and every use of the file. Taken before the lock on the file and held through a whole
        /// delivery, so a process that keeps the file's lock stalls the threads here. The wait for that lock is the
        /// only gap. At that moment the delivery has opened the file at most.
        // The last member: a fork takes it, and must find all others constructed.
        QzSynch::ForkableSection mSection;
    };
}
