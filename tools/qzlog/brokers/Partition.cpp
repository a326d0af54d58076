#include "brokers/Partition.h"

#include "Trouble.h"
#include "reading/RecordStart.h"

#include <algorithm>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        // How long the answer of a broker is waited for.
        constexpr int kTimeoutMilliseconds = 30'000;

        // So much of one stream before it is the others' turn.
        constexpr int kMostAtOnce = 10'000;
    }

    Partition::Partition(
        rd_kafka_t& client, std::string topic, std::int32_t number, std::int64_t begin, std::int64_t end)
        : mTopic(std::move(topic)),
          mNumber(number),
          mpTopic(rd_kafka_topic_new(&client, mTopic.c_str(), nullptr)),
          mEnd(end),
          mNext(begin)
    {
        if (!mpTopic || rd_kafka_consume_start(mpTopic.get(), mNumber, begin) != 0)
            throw Trouble(mTopic + ": " + rd_kafka_err2str(rd_kafka_last_error()));
    }

    Partition::~Partition()
    {
        mpMessage.reset();
        rd_kafka_consume_stop(mpTopic.get(), mNumber);
    }

    void Partition::Look()
    {
        mIsFirstLook = !std::exchange(mHasLooked, true);
        mRoom = kMostAtOnce;
    }

    bool Partition::Next(Record& record)
    {
        if (!Take())
            return false;
        mText.assign(static_cast<char const*>(mpMessage->payload), mpMessage->len);
        // A record goes without its final LF.
        mText += '\n';
        record = Record();
        if (BeginsRecord(mText, mTime))
            record.mKind = Record::Kind::Message;
        else if (rd_kafka_timestamp_type_t type; rd_kafka_message_timestamp(mpMessage.get(), &type) >= 0)
            mTime = rd_kafka_message_timestamp(mpMessage.get(), &type);
        record.mText = mText;
        record.mTime = mTime;
        record.mpPath = &mTopic;
        record.mOffset = static_cast<std::uint64_t>(mpMessage->offset);
        return true;
    }

    /// Takes the next message. False when there is none that belongs to this look.
    bool Partition::Take()
    {
        for (;;)
        {
            if (mIsFirstLook ? mNext >= mEnd : mRoom-- <= 0)
                return false;
            mpMessage.reset(rd_kafka_consume(mpTopic.get(), mNumber, mIsFirstLook ? kTimeoutMilliseconds : 0));
            if (!mpMessage && !mIsFirstLook)
                return false;
            if (!mpMessage)
                throw Trouble(mTopic + ": the broker does not answer");
            if (mpMessage->err == RD_KAFKA_RESP_ERR_NO_ERROR)
            {
                mNext = mpMessage->offset + 1;
                return true;
            }
            // What is left up to the end may be no records: marks of transactions, or what was compacted.
            if (mpMessage->err == RD_KAFKA_RESP_ERR__PARTITION_EOF)
                mNext = std::max(mNext, mpMessage->offset);
            else
                throw Trouble(mTopic + ": " + rd_kafka_message_errstr(mpMessage.get()));
        }
    }
}
