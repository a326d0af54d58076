#include <QzSynch/ReferenceCountedImpl.h>

namespace QzSynch
{
    template class ReferenceCountedImpl<AtomicLong>;
}
