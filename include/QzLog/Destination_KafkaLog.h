#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>
#include <QzLog/Destination.h>
#include <QzLog/Destination_DiskFile.h>

namespace QzLog
{
    /// Publishes records to a Kafka topic, with a disk file as its fallback. A record goes either to Kafka or to the
    /// file, once. It goes to the file
    /// - while the feature "KS/SLMS" is off (QzBase::SetFeatureEnabled);
    /// - until SetServerInstanceName or SetKafkaTopic has named the topic;
    /// - while no broker is connected;
    /// - from the first accepted record that fails, because the broker refuses the topic (no permission, no such topic,
    ///   record too large), until one is delivered;
    /// - if the client does not accept it. In the two cases before this one, one record in ten seconds tries Kafka.
    ///
    /// A record that the client accepted but could not deliver is lost, and counted. The next message through the
    /// destination first reports the count in the file, in the line that Destination_DiskFile describes. The line gives
    /// the client's reason for the first loss, and the process and thread that write it; it names no user. Losses are
    /// also reported there when the module ends. All Kafka destinations share one topic and one count, so each loss is
    /// reported once. While the file cannot be written, the count is kept. A process that ends without ending the
    /// module, by exit() for instance, loses the count and all records in the client's queue. For the limits of that
    /// queue see KafkaClient::KafkaProducer::Configure.
    ///
    /// The topic is "Kvel.ReportingEngine.Diag.<computer>.<server instance name>"; the first two names that are both
    /// set stay for the life of the process. SetKafkaTopic gives it another name, for servers whose computer gets a new
    /// name with each start, as in a container. The value of a record is its text as in a log file, without the final
    /// LF. The text of UpdateLogRegistryStr goes to a topic of its own, whose name begins the same way and ends in
    /// ".RegtrySettings": at once, and again whenever a broker connects.
    ///
    /// The language of this destination applies to all its records. Its call-stack IDs apply to records for Kafka, and
    /// those of the disk file to records in the file. Brokers are set by KafkaClient::KafkaProducer::Configure. All
    /// operations may be called from any thread, and throw std::bad_alloc.
    class QZLOG_API Destination_KafkaLog : public virtual Destination
    {
    public:
        ~Destination_KafkaLog() override;

        /// The disk file of this destination, with a new reference.
        virtual QzBase::ReturnPtrI<Destination_DiskFile> GetDiskFileDestination() = 0;
    };

    /// The Kafka destination with the disk file at `path` (UTF-16, relative to the base path unless it is
    /// absolute). There is one object per normal form of the path until the module ends. Null gives null. Throws
    /// QzBase::Message while no Initializer is alive, and QzLog::Exception as GetDestination_DiskFile does.
    QZLOG_API QzBase::ReturnPtrI<Destination_KafkaLog> GetDestination_KafkaLog(unsigned short const* path);

    /// Names the topic of records (UTF-16) and, unless a settings text was published before, the topic of that text:
    /// the same name with ".RegtrySettings" behind it. The first name that the process gets stays for its life, this
    /// one or the one that follows from SetServerInstanceName; so call it before that. Returns whether the topic has
    /// this name now; null and empty are no name. If the broker refuses the name, records go to the file. May be called
    /// from any thread at any time, also while no Initializer is alive. Throws std::bad_alloc.
    QZLOG_API bool SetKafkaTopic(unsigned short const* topic);

    /// The name of the topic of records, UTF-16; empty until it has one. May be called from any thread at any time.
    QZLOG_API QzBase::ReturnWString GetKafkaTopic();

    /// Publishes a settings text (UTF-16; null counts as empty) as described above, and keeps a copy to publish it
    /// again, for the life of the process. Throws QzBase::Message while no Initializer is alive.
    QZLOG_API void UpdateLogRegistryStr(unsigned short const* text);
}
