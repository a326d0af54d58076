#include "support/kafka/TopicLosses.h"

#include "support/synch/ForkSafeLocks.h"

#include <map>
#include <new>
#include <utility>

namespace KafkaClient
{
    namespace
    {
        struct Book final : private QzSynch::ForkHold::Client
        {
            std::map<QzBase::WideString, TopicLosses> mTopics;

            void GoOnInForkedChild() noexcept override
            {
                for (auto& [name, losses] : mTopics)
                    losses.Forget();
            }

            QzSynch::CriticalSectionPtr const mpLock{
                QzSynch::CreateForkSafeSection(QzSynch::kLockStackCategoryStatic, QzSynch::ForkHold::kInnermost, this)};
        };

        Book& GetBook()
        {
            // Not destroyed: records may come until the process ends.
            static Book& book = *new Book;
            return book;
        }

        // Created when the library is loaded, so that no fork happens during its construction.
        [[maybe_unused]] Book& gBook = GetBook();
    }

    void KeepReason(std::string& kept, char const* reason) noexcept
    try
    {
        kept = reason;
    }
    catch (std::bad_alloc const&)
    {
        kept.clear();
    }

    void TopicLosses::Add(std::uint64_t count, char const* reason) noexcept
    {
        QzDataType::DateTime const now = QzDataType::DateTime::Now();
        QzSynch::CriticalSection::SmartLock const hold(*GetBook().mpLock);
        if (mLosses.mCount == 0)
        {
            KeepReason(mLosses.mReason, reason);
            mLosses.mSince = now;
        }
        mLosses.mCount += count;
        mExist.store(true, std::memory_order_release);
    }

    Losses TopicLosses::Take()
    {
        QzSynch::CriticalSection::SmartLock const hold(*GetBook().mpLock);
        mExist.store(false, std::memory_order_relaxed);
        return std::exchange(mLosses, Losses());
    }

    void TopicLosses::PutBack(Losses&& losses) noexcept
    {
        QzSynch::CriticalSection::SmartLock const hold(*GetBook().mpLock);
        // They are older, so time and reason are theirs.
        losses.mCount += mLosses.mCount;
        mLosses = std::move(losses);
        mExist.store(true, std::memory_order_release);
    }

    void TopicLosses::Forget() noexcept
    {
        mExist.store(false, std::memory_order_relaxed);
        mLosses.mCount = 0;
    }

    TopicLosses& GetTopicLosses(QzBase::WideString const& topic)
    {
        Book& book = GetBook();
        QzSynch::CriticalSection::SmartLock const hold(*book.mpLock);
        return book.mTopics.try_emplace(topic, topic, book.mTopics.size()).first->second;
    }
}
