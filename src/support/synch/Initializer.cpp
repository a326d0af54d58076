#include <QzSynch/Initializer.h>

#include "support/synch/ThreadLocalStorage_Impl.h"

namespace QzSynch
{
    namespace
    {
        // The one that the library holds.
        Initializer const gInitializer;
    }

    Initializer::Initializer() noexcept
    {
        PrepareThreadLocalStorages();
    }

    Initializer::Initializer(Initializer const&) noexcept : Initializer() {}
}
