#pragma once

#include <QzBase/Export.h>

namespace QzBase
{
    /// Virtual base of every object that is shared by counted references. An object is created with the
    /// count 0. Each holder takes a reference; the release of the last one deletes the object.
    /// To implement one, derive from QzSynch::Counted<Interface>. Holders use CountedPtr and never
    /// call these operations by hand. Both may be called from any thread at any time.
    class QZLOG_API ReferenceCounted
    {
    public:
        virtual ~ReferenceCounted();

        /// Takes one reference.
        virtual void AddRef() = 0;

        /// Releases one reference. The object may be deleted when this returns.
        virtual void Release() = 0;
    };
}
