#pragma once

#include <QzBase/Export.h>

namespace QzSynch
{
    /// Makes the locks and thread-local storages usable. The library holds one for as long as it is
    /// loaded; more are allowed, and copies count.
    class QZLOG_API Initializer
    {
    public:
        Initializer();
        Initializer(Initializer const&);
        Initializer& operator=(Initializer const&) { return *this; }
        ~Initializer();
    };
}
