#pragma once

namespace QzSynch
{
    /// Asks the system for what all storages need. Returns false when it cannot be had now; creating a
    /// storage asks again.
    bool PrepareThreadLocalStorages() noexcept;
}
