#pragma once

#include <QzBase/Export.h>

namespace QzDataType
{
    /// A list of wide strings (UTF-16). Not synchronised. Adding and creating throw std::bad_alloc.
    class QZLOG_API StringCollection
    {
    public:
        virtual ~StringCollection();

        /// Adds a copy of `text` at the end; null counts as empty.
        virtual void Append(unsigned short const* text) = 0;

        virtual unsigned int GetCount() const = 0;

        /// \param index  below GetCount(). The text is valid until the next Append.
        virtual unsigned short const* GetItem(unsigned int index) const = 0;
    };

    /// A new empty list; the caller deletes it.
    QZLOG_API StringCollection* CreateStringCollection();
}
