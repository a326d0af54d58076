#pragma once

#include <QzBase/Message.h>
#include <QzBase/ReturnString.h>

// Changes of a single file by its path. Threads, paths and failures as in FileQueries.h.

namespace QzFileSystem
{
    /// Moves a file to another name, which it replaces; a directory there is a failure. Inside one file
    /// system the change is atomic. Between two, the content is on disk under the new name before the old
    /// name is removed. If both are names of one file, the old name is removed.
    void MoveFile(unsigned short const* from, unsigned short const* to);

    /// Like MoveFile within one file system, but replaces nothing, however short a time it has been there.
    /// \return  false when something has that name, or nothing the old one.
    bool MoveFileToFreeName(unsigned short const* from, unsigned short const* to);

    /// Deletes a file, if there is one, without moving it before.
    void DeleteFileInPlace(unsigned short const* path);

    /// Deletes a file. It is first moved to the directory for temporary files, so that its name is free at
    /// once; where that directory lies on another file system, it is deleted in place. Throws nothing.
    bool DeleteFile(unsigned short const* path, QzBase::Message* err);

    /// Creates an empty file in the directory for temporary files, with a name that begins with `prefix`,
    /// and returns its path; the empty text when the directory's path has 260 or more code units.
    /// Used by nobody in the library itself.
    QzBase::ReturnWString CreateTemporaryFile(unsigned short const* prefix);
}
