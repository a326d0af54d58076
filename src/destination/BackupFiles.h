#pragma once

#include "filesystem/FileObjects.h"
#include "filesystem/stdio/FileGuards.h"
#include "os/Files.h"

#include <QzBase/WideString.h>

#include <optional>
#include <string_view>

// What the two kinds of roll-over share.

namespace QzLog
{
    /// "<path>.bak00" and so on.
    QzBase::WideString MakeBackupName(QzBase::WideString const& path, unsigned int number);

    /// "<path>.bak" and an ending in ASCII.
    QzBase::WideString MakeBackupName(QzBase::WideString const& path, std::string_view ending);

    /// A file that is kept open, so that no other file can get its identity, whatever becomes of its name.
    struct KeptFile
    {
        std::optional<QzFileSystem::File::ScopedDescriptor> mDescriptor;
        QzOs::FileIdentity mIdentity{};
    };

    /// Copies the content of a log to a new file with the permissions of the log, which replaces what is there. Throws
    /// QzBase::Message; the target may then be incomplete.
    /// \param kept  gets the new file, unless it is null.
    void CopyLog(QzFileSystem::UpdateableFile& file, QzBase::WideString const& target, KeptFile* kept = nullptr);
}
