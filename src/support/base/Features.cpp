#include <QzBase/System.h>
#include <QzBase/WideString.h>

#include <atomic>
#include <mutex>
#include <set>

namespace QzBase
{
    namespace
    {
        using FeatureSet = std::set<WideString>;

        // Readers take the snapshot without a lock. A change publishes a new one; the old ones stay, because a
        // reader may still look at one, and features are switched a handful of times in a process.
        constinit std::atomic<FeatureSet const*> gEnabledFeatures{nullptr};
        constinit std::mutex gChangeMutex;

        struct Retired
        {
            FeatureSet const* mpSet;
            Retired const* mpNext;
        };

        // Keeps what was replaced reachable. Under gChangeMutex.
        constinit Retired const* gRetired = nullptr;
    }

    bool IsFeatureEnabled(unsigned short const* name)
    {
        FeatureSet const* const enabled = gEnabledFeatures.load(std::memory_order_acquire);
        return name && enabled && enabled->count(name) != 0;
    }

    void SetFeatureEnabled(unsigned short const* name, bool enabled)
    {
        if (!name)
            return;
        std::lock_guard const hold(gChangeMutex);
        FeatureSet const* const present = gEnabledFeatures.load(std::memory_order_relaxed);
        if (enabled == (present && present->count(name) != 0))
            return;

        FeatureSet* const next = present ? new FeatureSet(*present) : new FeatureSet;
        if (enabled)
            next->insert(name);
        else
            next->erase(name);
        if (present)
            gRetired = new Retired{present, gRetired};
        gEnabledFeatures.store(next, std::memory_order_release);
    }
}
