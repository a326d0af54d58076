#pragma once

#include "filesystem/Paths.h"

#include <QzBase/Message.h>
#include <QzDataType/StringCollection.h>

// Directories: the process's own two, listing, creation and removal. Threads, paths and failures as in
// FileQueries.h.

namespace QzFileSystem
{
    /// The process's current directory, with "/" between its components.
    QzBase::ReturnWString GetCurrentWorkingDirectory();

    void SetCurrentWorkingDirectory(unsigned short const* path);

    /// The path itself if it is absolute, else its normal form resolved against the current directory.
    QzBase::ReturnWString GetAbsolutePath(unsigned short const* path);
    QzBase::ReturnWString GetAbsolutePath(unsigned short const* path, PathStyle style);

    /// The directory for temporary files with its closing separator: TMPDIR if that is set, else /tmp.
    /// Empty when it has 260 or more code units. Never fails.
    QzBase::ReturnWString GetTemporaryDirectory();

    /// The paths that match a pattern, in the order of the file system. "*" and "?" count in its last
    /// component only. No match is an empty list, a missing directory a failure. The caller deletes the list.
    QzDataType::StringCollection* FindFiles(unsigned short const* pattern);

    /// Creates a directory, with `recursive` also its missing ancestors. Fails when it is there already.
    void CreateDirectory(unsigned short const* path, bool recursive);

    /// Removes an empty directory.
    bool RemoveDirectory(unsigned short const* path, QzBase::Message* err);

    /// Removes a directory and all below it. Symbolic links below it are removed and not followed; one
    /// at the path itself fails, and so does the empty path. What cannot be removed does not stop the rest.
    bool RemoveDirectoryTree(unsigned short const* path, QzBase::Message* err);
}
