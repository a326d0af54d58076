#pragma once

#include <QzBase/Export.h>

namespace QzSynch
{
    /// Sets up what the locks and thread-local storages need of the system. The library holds one for as
    /// long as it is loaded; more are allowed, and copies are as good as the first. Nothing stops working
    /// with the last one, because objects with static lifetime may still log then. What cannot be had
    /// here is asked for again where it is first needed, and fails there.
    class QZLOG_API Initializer
    {
    public:
        Initializer() noexcept;
        Initializer(Initializer const&) noexcept;
        Initializer& operator=(Initializer const&) noexcept { return *this; }
        ~Initializer() = default;
    };
}
