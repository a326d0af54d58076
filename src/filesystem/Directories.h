#pragma once

#include "filesystem/Paths.h"

#include <QzBase/Message.h>

// Directories: the process's own two, creation and removal. Threads, paths and failures as in FileQueries.h.

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

    /// Creates a directory, with `recursive` also its missing ancestors. Fails when it is there already.
    void CreateDirectory(unsigned short const* path, bool recursive);

    /// Removes an empty directory.
    bool RemoveDirectory(unsigned short const* path, QzBase::Message* err);
}
