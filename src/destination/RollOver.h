#pragma once

#include "filesystem/FileObjects.h"

#include <QzBase/WideString.h>

namespace QzLog
{
    /// Moves earlier back-ups up, copies the content of a log to its back-up number 0, and empties the log in place:
    /// it is the same file for all who have it open. The caller holds the exclusive lock on the file, which also
    /// keeps other processes from the back-ups, and `path` leads to the file.
    ///
    /// Throws QzBase::Message; the log then still has all its content, and earlier back-ups may have moved up.
    /// \param backupCount  how many back-ups to keep; 0 counts as 1.
    void RollOver(QzFileSystem::UpdateableFile& file, QzBase::WideString const& path, unsigned int backupCount);
}
