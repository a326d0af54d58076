#pragma once

#include "filesystem/FileObjects.h"

#include <QzBase/WideString.h>

namespace QzLog
{
    /// Moves the content of a log into its back-up number 0, for which earlier back-ups make room, and empties the
    /// log in place: it keeps its identity, and whoever has it open goes on with it. The caller holds the exclusive
    /// lock on the file, which also orders writers of other processes at the back-ups, and `path` leads to it.
    ///
    /// Throws QzBase::Message; the log then still has all its content, and earlier back-ups may have made room.
    /// \param backupCount  how many back-ups to keep; 0 counts as 1.
    void RollOver(QzFileSystem::UpdateableFile& file, QzBase::WideString const& path, unsigned int backupCount);
}
