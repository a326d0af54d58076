#pragma once

#include <QzBase/Message.h>
#include <QzDataType/StringCollection.h>

// Directories with what is in them. Threads, paths and failures as in FileQueries.h. Used by nobody in the library
// itself: it makes the family complete.

namespace QzFileSystem
{
    /// The paths that match a pattern, in the order of the file system. "*" and "?" count in its last
    /// component only. No match is an empty list, a missing directory a failure. The caller deletes the list.
    QzDataType::StringCollection* FindFiles(unsigned short const* pattern);

    /// Removes a directory and all below it. Symbolic links below it are removed and not followed; one
    /// at the path itself fails, and so does the empty path. What cannot be removed does not stop the rest.
    bool RemoveDirectoryTree(unsigned short const* path, QzBase::Message* err);
}
