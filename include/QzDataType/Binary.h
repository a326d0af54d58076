#pragma once

#include <QzBase/Export.h>
#include <QzBase/WideString.h>

#include <cstddef>

namespace QzDataType
{
    /// A block of bytes of a fixed full size, of which a part may be in use. Not synchronised.
    class QZLOG_API Binary
    {
    public:
        virtual ~Binary();

        /// The bytes in use.
        virtual std::size_t GetSize() const = 0;

        /// The first byte; valid as long as the object. Writable up to the full size.
        virtual unsigned char* GetData() = 0;

        /// Puts the full size in use again. The bytes are unchanged.
        virtual void Reset() = 0;

        /// Takes `count` bytes at the end out of use, or all if there are fewer.
        virtual void Shorten(std::size_t count) = 0;
    };

    /// A new block with all `size` bytes in use, zeroed; the caller deletes it. Throws std::bad_alloc.
    /// \param buffer  null.
    QZLOG_API Binary* CreateBinary(std::size_t size, QzBase::Buffer* buffer);
}
