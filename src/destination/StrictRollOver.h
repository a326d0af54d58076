#pragma once

#include "filesystem/FileObjects.h"

#include <QzBase/WideString.h>

namespace QzLog
{
    /// Like RollOver, but if it fails, every back-up is unchanged; where the system refuses to rename them back, they
    /// keep their content under higher numbers. It copies the log beside the back-ups, moves these up, renames the copy
    /// to number 0 and empties the log, in this order: whenever the process is killed, each record is in the log, in a
    /// back-up or in both.
    ///
    /// Throws QzBase::Message, and std::bad_alloc.
    /// \return  false when another file has taken the log's place meanwhile, or whoever writes to that one renames the
    ///          back-ups too. The log still has all its content.
    bool StrictRollOver(QzFileSystem::UpdateableFile& file, QzBase::WideString const& path, unsigned int backupCount);
}
