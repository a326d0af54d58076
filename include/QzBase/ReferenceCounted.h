#pragma once

#include <QzBase/Export.h>

namespace QzBase
{
    /// Virtual base of every object that is shared by counted references. An object is made with the
    /// count 0; whoever keeps it takes a reference, and the release of the last one deletes it.
    /// To implement one, derive from QzSynch::Counted<Interface>. Holders use CountedPtr and never
    /// call these operations by hand. Both may be called from any thread at any time.
    class QZLOG_API ReferenceCounted
    {
    public:
        virtual ~ReferenceCounted();

        /// Takes one reference.
        virtual void AddRef() = 0;

        /// Gives one reference back. The object may be gone when this returns.
        virtual void Release() = 0;
    };
}
