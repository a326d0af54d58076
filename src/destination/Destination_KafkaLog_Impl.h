#pragma once

#include "destination/ConcreteDestination.h"

#include <QzDataType/DateTime.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzSynch/Locks.h>

#include <atomic>

namespace QzLog
{
    class Destination_KafkaLog_Impl final : public ConcreteDestination<Destination_KafkaLog>
    {
    public:
        using ConcreteDestination::WriteMessage;

        /// `path` is the normal form of the path that the user gave. Throws what GetDestination_DiskFile throws.
        explicit Destination_KafkaLog_Impl(unsigned short const* path);

        void WriteMessage(char const* bodyText, MessageHeader& header) override;
        QzBase::ReturnPtrI<Destination_DiskFile> GetDiskFileDestination() override;

        /// Names the message topic, unless it has a name already or one of the two is null or empty.
        static void ConfigureKafkaTopic(unsigned short const* computerName, unsigned short const* serverName);

        /// Sends the settings text if a broker is connected, and keeps it for when one connects again.
        static void PublishRegistrySettings(unsigned short const* text);

        /// Reports in a disk file what Kafka has accepted and not delivered since the last report, with the names of
        /// the machine and the server (UTF-8) in the line's header. If the file fails, a later call reports it.
        static void ReportLosses(Destination_DiskFile& file, char const* hostName, char const* serverName);

    private:
        bool KafkaIsToBeTried();
        bool ProbeIsDue(int status);
        bool StatusHasChanged(int status);

        QzBase::CountedPtr<Destination_DiskFile> mpDiskFile;
        // Guards the time. Test and update are two holds: two threads may both probe.
        QzSynch::RWLockPtr mpLock;
        QzDataType::DateTime mLastProbeTime;
        std::atomic<int> mLastStatus;
    };
}
