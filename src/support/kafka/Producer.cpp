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

namespace KafkaClient
{
    namespace
    {
        constexpr int kFlushMilliseconds = 3000;
        constexpr int kPurgeMilliseconds = 500;
        constexpr std::int64_t kTryIntervalNanoseconds = 10'000'000'000;

        /// Whether the broker still accepts a topic. It is shut by the event thread of the producer; all else is done
        /// by any thread.
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
                if (mNextTry.load() != kOpen)
                    mNextTry.store(kOpen);
            }

            /// A gate that is already shut keeps its interval: many failures in a row do not delay the trial.
            void Shut() noexcept
            {
                if (mNextTry.load() == kOpen)
                    mNextTry.store(QzOs::gCalls.mpGetMonotonicNanoseconds() + kTryIntervalNanoseconds);
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

        /// Called by any of librdkafka's threads, as is ExpectFailure.
        void TakeDelivery() noexcept
        {
            mDelivered.fetch_add(1);
            mGate.Open();
        }

        void ExpectFailure() noexcept { mDeliveredBeforeFailure = mDelivered.load(); }

        /// Called by the event thread.
        void TakeFailure(char const* reason) noexcept
        {
            mFailed.fetch_add(1, std::memory_order_relaxed);
            mGate.Shut();
            // The report may be late: if a record has been delivered since this one failed, the broker accepts the
            // topic again. Either the thread that counted it found the gate shut and has opened it, or the count is
            // seen here, since all these operations have one order.
            if (mDelivered.load() != mDeliveredBeforeFailure.load())
                mGate.Open();
            AddLosses(1, reason);
        }

        /// Called when librdkafka's threads have ended.
        void GiveUpTheRest() noexcept
        {
            std::uint64_t const accepted = mAccepted.load(std::memory_order_relaxed);
            std::uint64_t const reported =
                mDelivered.load(std::memory_order_relaxed) + mFailed.load(std::memory_order_relaxed);
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
        std::atomic<std::uint64_t> mDelivered{0};
        std::atomic<std::uint64_t> mDeliveredBeforeFailure{0};
        std::atomic<std::uint64_t> mFailed{0};
    };

    Producer::Producer(KafkaModule const& module, Properties const& properties, StatusObserver& observer)
        : mObserver(observer), mForkGeneration(QzOs::GetForkGeneration())
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
        ReportFailures(true);
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
        if (mTopicsByNumber.size() <= losses.GetNumber())
            mTopicsByNumber.resize(losses.GetNumber() + 1);
        Topic& topic = *mTopics.emplace(name, std::make_unique<Topic>(losses)).first->second;
        QzOs::NoCancellation const noCancellation;
        topic.mpHandle = mpConnection->CreateTopic(text.c_str());
        if (topic.mpHandle)
            return mTopicsByNumber[losses.GetNumber()] = &topic;
        mTopics.erase(name);
        return nullptr;
    }

    bool Producer::Send(Topic& topic, std::string const* key, std::string_view value)
    {
        if (!topic.mGate.LetsThrough())
            return false;
        QzOs::NoCancellation const noCancellation;
        // Counted first, so that no record is seen reported that was not accepted.
        topic.mAccepted.fetch_add(1, std::memory_order_relaxed);
        if (mpConnection->Send(topic.mpHandle, key, value, &topic))
            return true;
        topic.mAccepted.fetch_sub(1, std::memory_order_relaxed);
        return false;
    }

    std::uint64_t Producer::GetAccepted() const noexcept
    {
        std::uint64_t accepted = 0;
        if (IsOfThisProcess())
            for (auto const& [name, topic] : mTopics)
                accepted += topic->mAccepted.load(std::memory_order_relaxed);
        return accepted;
    }

    void Producer::TakeDelivery(void* tag) noexcept
    {
        static_cast<Topic*>(tag)->TakeDelivery();
        gRecordCounts.mDelivered.fetch_add(1, std::memory_order_release);
    }

    void Producer::ExpectFailure(void* tag) noexcept
    {
        static_cast<Topic*>(tag)->ExpectFailure();
    }

    void Producer::TakeFailure(void* tag, char const* reason) noexcept
    {
        static_cast<Topic*>(tag)->TakeFailure(reason);
    }

    void Producer::EndReports() noexcept
    {
        ReportFailures(false);
    }

    void Producer::SetConnected(bool isConnected) noexcept
    {
        KafkaProducer::EnumKafkaProducerStatus const status =
            isConnected ? KafkaProducer::kStatusUp : KafkaProducer::kStatusDown;
        if (mStatus.exchange(status) != status)
            mObserver.StatusHasChanged(*this);
    }

    void Producer::TakeLogLine(char const* facility, char const* text) noexcept
    {
        WriteLine({facility, ": ", text});
    }

    /// A connection that became descriptor 2 would get what the program and the debug output write there.
    int Producer::OpenSocket(int domain, int type, int protocol) noexcept
    {
        return QzOs::OpenSocket(domain, type, protocol);
    }
}
