#pragma once

#include "following/Growing.h"

#include <librdkafka/rdkafka.h>

#include <cstdint>
#include <memory>
#include <string>

namespace QzLogTool
{
    template <auto Free>
    struct KafkaDeleter
    {
        template <class Object>
        void operator()(Object* pObject) const
        {
            Free(pObject);
        }
    };
    using KafkaClientPtr = std::unique_ptr<rd_kafka_t, KafkaDeleter<rd_kafka_destroy>>;
    using KafkaTopicPtr = std::unique_ptr<rd_kafka_topic_t, KafkaDeleter<rd_kafka_topic_destroy>>;
    using KafkaMessagePtr = std::unique_ptr<rd_kafka_message_t, KafkaDeleter<rd_kafka_message_destroy>>;

    /// The records of one partition of a topic.
    class Partition : public RecordSource, public Growth
    {
    public:
        /// Of the two offsets the first is where to begin, the second where the first look ends.
        Partition(rd_kafka_t& client, std::string topic, std::int32_t number, std::int64_t begin, std::int64_t end);
        ~Partition() override;
        Partition(Partition const&) = delete;
        Partition& operator=(Partition const&) = delete;

        void Look() override;
        bool Next(Record& record) override;
        bool NextPart(std::string_view&) override { return false; }

    private:
        bool Take();

        std::string const mTopic;
        std::int32_t const mNumber;
        KafkaTopicPtr const mpTopic;
        // The offset up to which the first look goes; later ones take what the queue holds, up to mRoom.
        std::int64_t mEnd;
        std::int64_t mNext;
        bool mIsFirstLook = true;
        bool mHasLooked = false;
        int mRoom = 0;
        KafkaMessagePtr mpMessage;
        std::string mText;
        std::int64_t mTime = std::numeric_limits<std::int64_t>::min();
    };
}
