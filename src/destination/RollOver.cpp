#include "destination/RollOver.h"

#include "destination/BackupFiles.h"
#include "filesystem/FileChanges.h"
#include "filesystem/FileQueries.h"
#include "os/Cancellation.h"
#include "os/FilesByPath.h"

namespace QzLog
{
    namespace
    {
        /// Frees number 0. Deletes the oldest back-up if all numbers are taken.
        void ShiftBackups(QzBase::WideString const& path, unsigned int backupCount)
        {
            unsigned int number = 0;
            while (number < backupCount && QzFileSystem::IsFile(MakeBackupName(path, number).c_str()))
                ++number;
            if (number == backupCount && number != 0)
            {
                --number;
                // Deleted where it stands, since in another folder others might read it. If that fails, the move onto
                // its name replaces it.
                QzOs::DeleteFile(MakeBackupName(path, number).c_str());
            }
            // From the oldest on, so that no name is overwritten before it has been moved.
            for (; number != 0; --number)
                QzFileSystem::MoveFile(MakeBackupName(path, number - 1).c_str(), MakeBackupName(path, number).c_str());
        }
    }

    void RollOver(QzFileSystem::UpdateableFile& file, QzBase::WideString const& path, unsigned int backupCount)
    {
        // A thread that was cancelled here would leave half a back-up, which the next writer would move up.
        QzOs::NoCancellation const noCancellation;
        ShiftBackups(path, backupCount);
        CopyLog(file, MakeBackupName(path, 0));
        file.SetPosition(0);
        file.Truncate();
    }
}
