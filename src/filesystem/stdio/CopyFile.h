#pragma once

#include <QzDataType/Binary.h>

namespace QzFileSystem
{
    /// Copies the content of a file to another path, which it replaces, without times and permissions. The
    /// copy is on the disk when this returns. Throws QzBase::Message. May be called from any thread. Used by
    /// nobody in the library itself.
    /// \param binary  the buffer of the copy, not empty; without it one of 16384 bytes is made.
    void CopyFile(unsigned short const* from, unsigned short const* to, QzDataType::Binary& binary);
    void CopyFile(unsigned short const* from, unsigned short const* to);
}
