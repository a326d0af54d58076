#include <QzSynch/ThreadLocalStorage.h>

#include "os/Fork.h"
#include "os/ThreadKey.h"
#include "support/synch/ThreadLocalStorage_Impl.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

// All storages share one key of the system: it holds the thread's list of values, in which a storage finds
// its own by its number. Numbers are never used again, so a value that a deleted storage left is not taken for
// that of a new storage at the same address.

namespace QzSynch
{
    namespace
    {
        struct Value
        {
            std::uint64_t mStorage;
            ThreadContext* mpContext; // null: another storage may take this entry
        };

        // The values of one thread. Only that thread adds places and gives them to storages, with the
        // registry's lock held; other threads look at the list and take contexts out with that lock held.
        // So a thread reads its own places without a lock.
        struct ThreadValues
        {
            std::vector<Value> mValues;
            ThreadValues* mpNext = nullptr;
            ThreadValues* mpPrevious = nullptr;
        };

        // The lists of all threads that have one. No code of others is called with the lock held.
        class Registry
        {
        public:
            void Add(ThreadValues& values)
            {
                std::lock_guard const hold(mLock);
                values.mpNext = mpFirst;
                if (mpFirst)
                    mpFirst->mpPrevious = &values;
                mpFirst = &values;
            }

            // From here on the list belongs to the caller alone.
            void Remove(ThreadValues& values)
            {
                std::lock_guard const hold(mLock);
                if (values.mpNext)
                    values.mpNext->mpPrevious = values.mpPrevious;
                (values.mpPrevious ? values.mpPrevious->mpNext : mpFirst) = values.mpNext;
            }

            // Returns the context that was there.
            ThreadContext* Set(ThreadValues& values, std::uint64_t storage, ThreadContext* context)
            {
                std::lock_guard const hold(mLock);
                Value* freePlace = nullptr;
                for (Value& value : values.mValues)
                {
                    if (value.mStorage == storage)
                        return std::exchange(value.mpContext, context);
                    if (!value.mpContext)
                        freePlace = &value;
                }
                if (freePlace)
                    *freePlace = Value{storage, context};
                else
                    values.mValues.push_back(Value{storage, context});
                return nullptr;
            }

            // Takes contexts of a storage out of all threads' lists, as many as there is room for.
            template <std::size_t size>
            std::size_t Take(std::uint64_t storage, std::array<ThreadContext*, size>& contexts)
            {
                std::lock_guard const hold(mLock);
                std::size_t count = 0;
                for (ThreadValues* values = mpFirst; values; values = values->mpNext)
                    for (Value& value : values->mValues)
                        if (value.mStorage == storage && value.mpContext && count < size)
                            contexts[count++] = std::exchange(value.mpContext, nullptr);
                return count;
            }

            // A forked child must not inherit a lock that another thread of its parent holds.
            void BeforeFork() { mLock.LockBeforeFork(); }
            void AfterForkInParent() { mLock.UnlockAfterFork(); }

            // Threads other than `own`'s are not in the child, and may have been changing their values at the
            // fork: these values are never touched again, but stay reachable for leak checkers.
            void AfterForkInChild(ThreadValues* own)
            {
                for (ThreadValues** link = &mpFirst; *link;)
                {
                    ThreadValues* const values = *link;
                    if (values == own)
                    {
                        link = &values->mpNext;
                        continue;
                    }
                    *link = values->mpNext;
                    values->mpNext = std::exchange(mpAbandoned, values);
                }
                if (own)
                    own->mpPrevious = nullptr;
                mLock.UnlockAfterFork();
            }

        private:
            QzOs::ForkMutex mLock;
            ThreadValues* mpFirst = nullptr;
            ThreadValues* mpAbandoned = nullptr;
        };

        static_assert(std::is_trivially_destructible_v<Registry>, "threads may end after static objects");
        constinit Registry gRegistry;
        constinit std::atomic<std::uint64_t> gLastStorage{0};

        // What the key holds. Every message reads it, so it is not read by a call of the system.
        [[gnu::tls_model("initial-exec")]] constinit thread_local ThreadValues* gpValuesOfThread = nullptr;

        void DeleteValuesOfThread(void* pointer)
        {
            std::unique_ptr<ThreadValues> const values(static_cast<ThreadValues*>(pointer));
            gpValuesOfThread = nullptr;
            gRegistry.Remove(*values);
            for (Value const& value : values->mValues)
                if (value.mpContext)
                    value.mpContext->Delete();
        }

        QzOs::ThreadKey GetKey()
        {
            static QzOs::ThreadKey const key = []
            {
                QzOs::ThreadKey made{};
                if (!QzOs::CreateThreadKey(made, &DeleteValuesOfThread))
                    throw std::bad_alloc();
                return made;
            }();
            return key;
        }

        // When the library is loaded, so that no fork happens during the first call. Handlers that are registered first
        // are called last before a fork: this lock is taken under those of ForkHold.cpp.
        [[gnu::constructor(102)]] void HoldRegistryAroundForks()
        {
            QzOs::CallAroundFork([] { gRegistry.BeforeFork(); }, [] { gRegistry.AfterForkInParent(); },
                [] { gRegistry.AfterForkInChild(gpValuesOfThread); });
        }

        class ThreadLocalStorage_Impl final : public ThreadLocalStorage
        {
        public:
            explicit ThreadLocalStorage_Impl(QzOs::ThreadKey key) noexcept
                : mKey(key), mNumber(gLastStorage.fetch_add(1, std::memory_order_relaxed) + 1)
            {
            }

            void SetValue(ThreadContext* context) override
            {
                ThreadValues* values = gpValuesOfThread;
                if (!values)
                {
                    if (!context)
                        return;
                    values = &AddValuesOfThread();
                }
                ThreadContext* const old = gRegistry.Set(*values, mNumber, context);
                if (old && old != context)
                    old->Delete();
            }

            ThreadContext* GetValue() const override
            {
                if (ThreadValues const* const values = gpValuesOfThread)
                    for (Value const& value : values->mValues)
                        if (value.mStorage == mNumber)
                            return value.mpContext;
                return nullptr;
            }

            // In portions, because deleting a storage must not fail for want of memory; and until nothing is
            // left, because a context that is deleted may set another one.
            void Delete() override
            {
                std::array<ThreadContext*, 64> contexts{};
                while (std::size_t const count = gRegistry.Take(mNumber, contexts))
                    for (std::size_t i = 0; i < count; ++i)
                        contexts[i]->Delete();
                delete this;
            }

        private:
            ThreadValues& AddValuesOfThread() const
            {
                auto values = std::make_unique<ThreadValues>();
                if (!QzOs::SetThreadPointer(mKey, values.get()))
                    throw std::bad_alloc();
                gRegistry.Add(*values);
                gpValuesOfThread = values.release();
                return *gpValuesOfThread;
            }

            QzOs::ThreadKey const mKey;
            std::uint64_t const mNumber;
        };
    }

    ThreadContext::~ThreadContext() = default;
    ThreadLocalStorage::~ThreadLocalStorage() = default;

    bool PrepareThreadLocalStorages() noexcept
    {
        try
        {
            GetKey();
            return true;
        }
        catch (std::bad_alloc const&)
        {
            return false;
        }
    }

    ThreadLocalStorage* CreateThreadLocalStorage()
    {
        if (!PrepareThreadLocalStorages())
            throw std::bad_alloc();
        return new ThreadLocalStorage_Impl(GetKey());
    }
}
