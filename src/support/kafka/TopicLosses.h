#pragma once

#include <QzBase/WideString.h>
#include <QzDataType/DateTime.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace KafkaClient
{
    /// Records that were accepted and could not be delivered.
    struct Losses
    {
        std::uint64_t mCount = 0;
        /// When the first of them became known, local time.
        QzDataType::DateTime mSince{0.0};
        /// Why the first was lost, in the client's words (UTF-8).
        std::string mReason;
    };

    /// Without memory for it, the reason is left out: the threads of librdkafka, which report, must not throw.
    void KeepReason(std::string& kept, char const* reason) noexcept;

    /// The unreported losses of one topic. Whoever reports them takes them, so that each is reported
    /// once. All operations may be called from any thread. A forked child begins without any.
    class TopicLosses
    {
    public:
        /// \param number  counts the topics of the process from 0.
        TopicLosses(QzBase::WideString const& topic, std::size_t number) : mTopic(topic), mNumber(number) {}

        QzBase::WideString const& GetTopic() const noexcept { return mTopic; }
        std::size_t GetNumber() const noexcept { return mNumber; }

        /// Costs one read: every record asks.
        bool Exist() const noexcept { return mExist.load(std::memory_order_acquire); }

        void Add(std::uint64_t count, char const* reason) noexcept;

        /// Empty when another thread was first.
        Losses Take();

        /// For losses that were taken and could not be reported.
        void PutBack(Losses&& losses) noexcept;

        /// For the child of a fork.
        void Forget() noexcept;

    private:
        QzBase::WideString const mTopic;
        std::size_t const mNumber;
        // Written under the lock that guards mLosses, which is one for all topics.
        std::atomic<bool> mExist{false};
        Losses mLosses;
    };

    /// The losses of the topic with that name (UTF-16). Created on first use; lives as long as the process.
    TopicLosses& GetTopicLosses(QzBase::WideString const& topic);
}
