#include <QzSynch/ThreadSpecificLogInfo.h>

#include "support/synch/ForkSafeLocks.h"

#include <utility>

namespace QzSynch
{
    namespace
    {
        template <class Signature>
        class Registration
        {
        public:
            using Function = std::function<Signature>;

            explicit Registration(CriticalSection& lock) noexcept : mLock(lock) {}

            void Set(Function&& function)
            {
                Replace(function ? std::make_shared<Function const>(std::move(function)) : nullptr);
            }

            void Clear() { Replace(nullptr); }

            // Null while nothing is registered. The function lives as long as somebody calls it.
            std::shared_ptr<Function const> Get()
            {
                CriticalSection::SmartLock const hold(mLock);
                return mpFunction;
            }

        private:
            // The old function is the registering module's code, so it is destroyed without the lock.
            void Replace(std::shared_ptr<Function const> function)
            {
                CriticalSection::SmartLock const hold(mLock);
                mpFunction.swap(function);
            }

            CriticalSection& mLock;
            std::shared_ptr<Function const> mpFunction;
        };

        struct Registrations
        {
            CriticalSectionPtr mpLock{CreateForkSafeSection(kLockStackCategoryStatic)};
            Registration<std::shared_ptr<QzLog::ThreadSpecificLogInfo>()> mGetter{*mpLock};
            Registration<void(QzLog::ThreadSpecificLogInfo*)> mSetter{*mpLock};
            Registration<void()> mUnsetter{*mpLock};
        };

        // Never destroyed: thread pools of static objects may call until the process ends.
        Registrations& GetRegistrations()
        {
            static Registrations& registrations = *new Registrations;
            return registrations;
        }

        // Created when the library is loaded, so that no fork happens during its construction.
        [[maybe_unused]] Registrations& gRegistrations = GetRegistrations();
    }

    void RegisterThreadSpecificLogInfoGetter(std::function<std::shared_ptr<QzLog::ThreadSpecificLogInfo>()>&& getter)
    {
        GetRegistrations().mGetter.Set(std::move(getter));
    }

    void RegisterThreadSpecificLogInfoSetter(std::function<void(QzLog::ThreadSpecificLogInfo*)>&& setter)
    {
        GetRegistrations().mSetter.Set(std::move(setter));
    }

    void RegisterThreadSpecificLogInfoUnsetter(std::function<void()>&& unsetter)
    {
        GetRegistrations().mUnsetter.Set(std::move(unsetter));
    }

    void DeregisterThreadSpecificLogInfoGetter()
    {
        GetRegistrations().mGetter.Clear();
    }
    void DeregisterThreadSpecificLogInfoSetter()
    {
        GetRegistrations().mSetter.Clear();
    }
    void DeregisterThreadSpecificLogInfoUnsetter()
    {
        GetRegistrations().mUnsetter.Clear();
    }

    std::shared_ptr<QzLog::ThreadSpecificLogInfo> CaptureThreadSpecificLogInfo()
    {
        auto const getter = GetRegistrations().mGetter.Get();
        return getter ? (*getter)() : nullptr;
    }

    void ApplyThreadSpecificLogInfo(QzLog::ThreadSpecificLogInfo* info)
    {
        if (auto const setter = GetRegistrations().mSetter.Get())
            (*setter)(info);
    }

    void ResetThreadSpecificLogInfo()
    {
        if (auto const unsetter = GetRegistrations().mUnsetter.Get())
            (*unsetter)();
    }
}
