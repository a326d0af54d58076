// A log that goes to a Kafka broker, and to a file while no broker takes it.
//
//     example_kafka_log [BROKER:PORT]

#include <QzLog/QzLog.h>

#include <chrono>
#include <cstdio>
#include <thread>

using namespace QzBase::Literals;
using KafkaClient::KafkaProducer;

int main(int argc, char** argv)
try
{
    QzLog::Initializer const module;

    // Without any of these three, all records go to the file.
    KafkaProducer::Configure({{"bootstrap.servers", argc > 1 ? argv[1] : "localhost:9092"}});
    QzBase::SetFeatureEnabled(u"KS/SLMS"_w, true);
    QzLog::SetServerInstanceName(u"Hello"_w);

    QzBase::CountedPtr<QzLog::Destination_KafkaLog> const kafka(QzLog::GetDestination_KafkaLog(u"kafka.log"_w));
    QzBase::CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Kernel", "Info"));
    router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({kafka.get()}));

    QzLog::Log(*router, "The connection takes some time: this record is in the file.");
    // A server has no need to wait. This program would have ended before.
    for (int i = 0; i < 100 && KafkaProducer::GetKafkaProducerStatus() != KafkaProducer::kStatusUp; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    QzLog::Log(*router, "User %1 waited %2 ms.", "alice", 12.8);
}
// The end of the module has waited for the broker to have the record.
catch (QzBase::Message& message)
{
    std::fprintf(stderr, "%s\n", QzBase::WideCharToUTF8(message.GetMessage(), true).c_str());
    return 1;
}
