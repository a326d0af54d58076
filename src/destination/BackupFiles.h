#pragma once

#include "filesystem/FileObjects.h"

#include <QzBase/WideString.h>

#include <string_view>

// What the two ways to roll a log over share.

namespace QzLog
{
    /// "<path>.bak00" and so on.
    QzBase::WideString MakeBackupName(QzBase::WideString const& path, unsigned int number);

    /// "<path>.bak" and an ending in ASCII.
    QzBase::WideString MakeBackupName(QzBase::WideString const& path, std::string_view ending);

    /// Copies the content of a log into a new file, for the users of the log, in the place of what stands there. Throws
    /// QzBase::Message; the target then may be incomplete.
    void CopyLog(QzFileSystem::UpdateableFile& file, QzBase::WideString const& target);
}
