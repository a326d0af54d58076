#include "support/base/Features.h"

#include <QzBase/System.h>
#include <QzBase/WideString.h>

#include <atomic>
#include <memory>

namespace QzBase
{
    namespace
    {
        // A query takes no lock: the list only grows, at its head, by one entry for each name that was ever set.
        struct Feature
        {
            WideString mName;
            std::atomic<bool> mEnabled;
            Feature* mpNext;
        };

        constinit std::atomic<Feature*> gFeatures{nullptr};

        bool IsEqual(unsigned short const* left, unsigned short const* right) noexcept
        {
            while (*left != 0 && *left == *right)
            {
                ++left;
                ++right;
            }
            return *left == *right;
        }

        /// Looks between `first` and `last`, which is not included.
        Feature* Find(Feature* first, Feature const* last, unsigned short const* name) noexcept
        {
            // Not by the operator of the string, which measures the name first.
            while (first != last && !IsEqual(first->mName.c_str(), name))
                first = first->mpNext;
            return first != last ? first : nullptr;
        }
    }

    bool IsFeatureEnabled(unsigned short const* name)
    {
        Feature const* const feature = name ? Find(gFeatures.load(std::memory_order_acquire), nullptr, name) : nullptr;
        return feature && feature->mEnabled.load(std::memory_order_acquire);
    }

    bool FeatureQuery::Find() noexcept
    {
        Feature const* const feature = QzBase::Find(gFeatures.load(std::memory_order_acquire), nullptr, mName);
        if (!feature)
            return false;
        mpState.store(&feature->mEnabled, std::memory_order_release);
        return feature->mEnabled.load(std::memory_order_acquire);
    }

    void SetFeatureEnabled(unsigned short const* name, bool enabled)
    {
        if (!name)
            return;
        Feature* head = gFeatures.load(std::memory_order_acquire);
        Feature* feature = Find(head, nullptr, name);
        if (!feature)
        {
            std::unique_ptr<Feature> added(new Feature{name, enabled, head});
            // Another thread may add the same name first: each attempt searches what was added since.
            while (!feature && !gFeatures.compare_exchange_weak(head, added.get(), std::memory_order_acq_rel))
            {
                feature = Find(head, added->mpNext, name);
                added->mpNext = head;
            }
            if (!feature)
            {
                (void)added.release();
                return;
            }
        }
        feature->mEnabled.store(enabled, std::memory_order_release);
    }
}
