#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzLog/Destination.h>
#include <QzLog/Destination_DiskFile.h>

namespace QzLog
{
    /// Publishes records to a Kafka topic, and has a disk file behind it. A record goes either to Kafka or
    /// to the file, once: to the file while the feature "KS/SLMS" is off (QzBase::SetFeatureEnabled), until
    /// SetServerInstanceName has given the topic its name, while no broker is connected, and when the client
    /// does not take it. While no broker is connected, one record in ten seconds tries Kafka all the same. The same
    /// holds while the broker refuses the topic (no right, no such topic, record too large): from the first accepted
    /// record that failed until one is delivered.
    ///
    /// A record that the client accepted and could not deliver is lost to the stream, and is counted. The next message
    /// through the destination first reports the count in the file, in the line that Destination_DiskFile describes.
    /// The line gives the client's reason for the first loss, and the process and thread that write it; it names no
    /// user. What is given up when the module ends is reported there too. Each loss is reported once: all Kafka
    /// destinations share one topic and one count. While the file cannot be written, the count waits. A process that
    /// ends without the module's end, by exit() for instance, loses the count and all that the client still has in its
    /// queue. KafkaClient::KafkaProducer::Configure names the properties that limit the queue.
    ///
    /// The topic is "Kvel.ReportingEngine.Diag.<computer>.<server instance name>"; the first complete pair of
    /// names wins and stays. The value of a record is its text as a log file would hold it, without the final
    /// LF. The text of UpdateLogRegistryStr goes to a topic of its own, which begins alike and ends in
    /// ".RegtrySettings": at once, and again whenever a broker comes back.
    ///
    /// The language of this destination is that of all its records. Its call-stack IDs serve those for Kafka, and the
    /// IDs of the disk file those in the file.
    ///
    /// All operations may be called from any thread, and throw std::bad_alloc. Brokers are set by
    /// KafkaClient::KafkaProducer::Configure.
    class QZLOG_API Destination_KafkaLog : public virtual Destination
    {
    public:
        ~Destination_KafkaLog() override;

        /// The disk file behind this destination, with a new reference.
        virtual QzBase::ReturnPtrI<Destination_DiskFile> GetDiskFileDestination() = 0;
    };

    /// The Kafka destination with the disk file at `path` (UTF-16, relative to the base path unless it is
    /// absolute) behind it; one object per normal form of the path until the module ends. Null gives null. Throws
    /// QzBase::Message when the module does not live, and QzLog::Exception as GetDestination_DiskFile does.
    QZLOG_API QzBase::ReturnPtrI<Destination_KafkaLog> GetDestination_KafkaLog(unsigned short const* path);

    /// Publishes a settings text (UTF-16; null counts as empty) as told above, and keeps a copy for the next time, for
    /// the life of the process. Throws QzBase::Message when the module does not live.
    QZLOG_API void UpdateLogRegistryStr(unsigned short const* text);
}
