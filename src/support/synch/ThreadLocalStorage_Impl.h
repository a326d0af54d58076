#pragma once

namespace QzSynch
{
    /// Asks the system for what all storages need. Returns false if the system refuses; creating a storage
    /// asks again.
    bool PrepareThreadLocalStorages() noexcept;
}
