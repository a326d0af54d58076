#pragma once

#include <QzBase/Export.h>

namespace QzSynch
{
    /// Sets up what the locks and thread-local storages need of the system. The library holds one as long
    /// as it is loaded. Any number may exist, copies included. Nothing stops working when the last one is
    /// destroyed, because objects with static lifetime may still log then. What cannot be set up here is
    /// set up at its first use, which throws if that fails too.
    class QZLOG_API Initializer
    {
    public:
        Initializer() noexcept;
        Initializer(Initializer const&) noexcept;
        Initializer& operator=(Initializer const&) noexcept { return *this; }
        ~Initializer() = default;
    };
}
