#include <QzSynch/Locks.h>

#include <mutex>

namespace QzSynch
{
    namespace
    {
        class CriticalSection_Impl final : public CriticalSection
        {
        public:
            explicit CriticalSection_Impl(EnumHvnLockStackCategory category) noexcept : mCategory(category) {}

            void Delete() override { delete this; }
            EnumHvnLockStackCategory GetCategory() const override { return mCategory; }

        private:
            void Enter() override { mMutex.lock(); }
            void Leave() override { mMutex.unlock(); }

            std::recursive_mutex mMutex;
            EnumHvnLockStackCategory const mCategory;
        };
    }

    CriticalSection::~CriticalSection() = default;

    CriticalSection* CreateCriticalSection(EnumHvnLockStackCategory category)
    {
        return new CriticalSection_Impl(category);
    }
}
