#pragma once

#include <atomic>

namespace QzBase
{
    /// A feature that is asked for with every message. Costs two memory reads, where IsFeatureEnabled compares names.
    /// Any thread may ask. Constant-initialised.
    class FeatureQuery
    {
    public:
        /// \param name  UTF-16; outlives this object.
        constexpr explicit FeatureQuery(unsigned short const* name) noexcept : mName(name) {}
        FeatureQuery(FeatureQuery const&) = delete;
        FeatureQuery& operator=(FeatureQuery const&) = delete;

        /// As IsFeatureEnabled.
        bool IsEnabled() noexcept
        {
            std::atomic<bool> const* const state = mpState.load(std::memory_order_acquire);
            return state ? state->load(std::memory_order_acquire) : Find();
        }

    private:
        bool Find() noexcept;

        unsigned short const* const mName;
        // Null until the feature was set for the first time. The list of features never loses one.
        std::atomic<std::atomic<bool> const*> mpState{nullptr};
    };
}
