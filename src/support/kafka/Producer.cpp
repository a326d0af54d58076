#include "support/kafka/Producer.h"

#include "os/Calls.h"
#include "os/Cancellation.h"
#include "os/Fork.h"
#include "os/Sockets.h"
#include "support/kafka/ModuleLoader.h"
#include "support/kafka/RecordCounts.h"
#include "support/kafka/TopicLosses.h"

#include <QzBase/Conversions.h>

#include <array>
#include <cstddef>
#include <limits>
#include <utility>

namespace KafkaClient
{
    namespace
    {
        constexpr int kFlushMilliseconds = 3000;
        constexpr int kPurgeMilliseconds = 500;
        constexpr std::int64_t kTryIntervalNanoseconds = 10'000'000'000;

        /// Whether the broker still accepts a topic. Reports come from the event thread of the producer, queries from
        /// any thread.
        class Gate
        {
        public:
            /// Whether a record may pass. While the gate is shut, one per interval may, as a trial.
            bool LetsThrough() noexcept
            {
                std::int64_t nextTry = mNextTry.load(std::memory_order_relaxed);
                if (nextTry == kOpen)
                    return true;
                std::int64_t const now = QzOs::gCalls.mpGetMonotonicNanoseconds();
                return now >= nextTry && mNextTry.compare_exchange_strong(
                                             nextTry, now + kTryIntervalNanoseconds, std::memory_order_relaxed);
            }

            void Open() noexcept
            {
                if (mNextTry.load(std::memory_order_relaxed) != kOpen)
                    mNextTry.store(kOpen, std::memory_order_relaxed);
            }

            /// A gate that is already shut keeps its interval: many failures in a row do not delay the trial.
            void Shut() noexcept
            {
                if (mNextTry.load(std::memory_order_relaxed) == kOpen)
                    mNextTry.store(
                        QzOs::gCalls.mpGetMonotonicNanoseconds() + kTryIntervalNanoseconds, std::memory_order_relaxed);
            }

        private:
            static constexpr std::int64_t kOpen = std::numeric_limits<std::int64_t>::min();

            std::atomic<std::int64_t> mNextTry{kOpen};
        };

        // librdkafka takes a lock of the whole process when the threads of a producer have ended. A child that was
        // forked meanwhile would wait for it for ever.
        constinit std::atomic<int> gEndingProducers{0};
        constinit std::atomic<bool> gLockMayBeLeft{false};
    }

    /// What one producer knows of one topic.
    class Producer::Topic
    {
    public:
        explicit Topic(TopicLosses& losses) : mLosses(losses) {}
        Topic(Topic const&) = delete;
        Topic& operator=(Topic const&) = delete;

        /// Called by the event thread.
        void TakeReport(char const* reason) noexcept
        {
            mReported.store(mReported.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
            if (!reason)
            {
                mGate.Open();
                return;
            }
            mGate.Shut();
            AddLosses(1, reason);
        }

        /// Called when the event thread has ended.
        void GiveUpTheRest() noexcept
        {
            std::uint64_t const accepted = mAccepted.load(std::memory_order_relaxed);
            std::uint64_t const reported = mReported.load(std::memory_order_relaxed);
            if (accepted != reported)
                AddLosses(accepted - reported, "Local: Purged in flight");
        }

        /// The producer creates it, and releases it before the connection.
        void* mpHandle = nullptr;
        Gate mGate;
        std::atomic<std::uint64_t> mAccepted{0};

    private:
        void AddLosses(std::uint64_t count, char const* reason) noexcept
        {
            // Added here first, so that whoever sees the count finds the losses.
            mLosses.Add(count, reason);
            AddFailed(count, reason);
        }

        TopicLosses& mLosses;
        [[maybe_unused]] std::array<std::byte, 64> mCacheLine{}; // between what senders write and what they do not
        std::atomic<std::uint64_t> mReported{0};
    };

    Producer::Producer(KafkaModule const& module, Properties const& properties)
        : mForkGeneration(QzOs::GetForkGeneration())
    {
        if (gLockMayBeLeft.load(std::memory_order_relaxed))
            ThrowConfigurationError("this process was forked while a producer of its parent was being destroyed.");
        QzOs::NoCancellation const noCancellation;
        std::string reason;
        mpConnection = module.Connect(properties, *this, reason);
        if (!mpConnection)
            ThrowConfigurationError(reason);
    }

    Producer::~Producer()
    {
        // librdkafka's threads do not exist in a forked child: nothing can be shut down there.
        if (!IsOfThisProcess())
        {
            static_cast<void>(mpConnection.release());
            return;
        }
        QzOs::NoCancellation const noCancellation;
        if (!mpConnection->Flush(kFlushMilliseconds))
        {
            mpConnection->Purge();
            mpConnection->Flush(kPurgeMilliseconds);
        }
        for (auto const& [name, topic] : mTopics)
            mpConnection->ReleaseTopic(topic->mpHandle);
        gEndingProducers.fetch_add(1);
        mpConnection.reset();
        gEndingProducers.fetch_sub(1);
        for (auto const& [name, topic] : mTopics)
            topic->GiveUpTheRest();
        TellFailures(true);
    }

    void Producer::GoOnInForkedChild() noexcept
    {
        if (gEndingProducers.exchange(0) != 0)
            gLockMayBeLeft = true;
    }

    bool Producer::IsOfThisProcess() const noexcept
    {
        return mForkGeneration == QzOs::GetForkGeneration();
    }

    KafkaProducer::EnumKafkaProducerStatus Producer::GetStatus() const noexcept
    {
        return IsOfThisProcess() ? mStatus.load(std::memory_order_relaxed) : KafkaProducer::kStatusUnusable;
    }

    Producer::Topic* Producer::FindTopic(QzBase::WideString const& name) const
    {
        auto const found = mTopics.find(name);
        return found == mTopics.end() ? nullptr : found->second.get();
    }

    Producer::Topic* Producer::MakeTopic(QzBase::WideString const& name, TopicLosses& losses)
    {
        if (Topic* const present = FindTopic(name))
            return present;
        QzBase::ReturnString const text = QzBase::WideCharToUTF8(name.c_str(), false);
        Topic& topic = *mTopics.emplace(name, std::make_unique<Topic>(losses)).first->second;
        QzOs::NoCancellation const noCancellation;
        topic.mpHandle = mpConnection->CreateTopic(text.c_str());
        if (topic.mpHandle)
            return &topic;
        mTopics.erase(name);
        return nullptr;
    }

    bool Producer::Send(Topic& topic, std::string const* key, std::string_view value)
    {
        if (!topic.mGate.LetsThrough())
            return false;
        QzOs::NoCancellation const noCancellation;
        // Counted first, so that no record is seen reported that was not accepted.
        gRecordCounts.mAccepted.fetch_add(1, std::memory_order_relaxed);
        topic.mAccepted.fetch_add(1, std::memory_order_relaxed);
        if (mpConnection->Send(topic.mpHandle, key, value, &topic))
            return true;
        topic.mAccepted.fetch_sub(1, std::memory_order_relaxed);
        gRecordCounts.mAccepted.fetch_sub(1, std::memory_order_relaxed);
        return false;
    }

    void Producer::TakeReport(void* tag, char const* reason) noexcept
    {
        static_cast<Topic*>(tag)->TakeReport(reason);
        mNewlyDelivered += !reason;
    }

    void Producer::EndReports() noexcept
    {
        gRecordCounts.mDelivered.fetch_add(std::exchange(mNewlyDelivered, 0), std::memory_order_release);
        TellFailures(false);
    }

    void Producer::SetConnected(bool isConnected) noexcept
    {
        mStatus = isConnected ? KafkaProducer::kStatusUp : KafkaProducer::kStatusDown;
    }

    void Producer::TakeLogLine(char const* facility, char const* text) noexcept
    {
        Tell({facility, ": ", text});
    }

    /// A connection that became descriptor 2 would get what the program and the debug output write there.
    int Producer::OpenSocket(int domain, int type, int protocol) noexcept
    {
        return QzOs::OpenSocket(domain, type, protocol);
    }
}
