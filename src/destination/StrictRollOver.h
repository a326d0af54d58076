#pragma once

#include "filesystem/FileObjects.h"

#include <QzBase/WideString.h>

namespace QzLog
{
    /// Like RollOver, but one that fails leaves every back-up as it was. It copies the log beside the back-ups, shifts
    /// these, puts the copy in its place and empties the log, in this order: whenever the process is killed, each
    /// record is in the log, in a back-up or in both.
    ///
    /// Throws QzBase::Message, and std::bad_alloc.
    void StrictRollOver(QzFileSystem::UpdateableFile& file, QzBase::WideString const& path, unsigned int backupCount);
}
