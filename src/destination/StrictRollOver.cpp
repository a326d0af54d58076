#include "destination/StrictRollOver.h"

#include "destination/BackupFiles.h"
#include "filesystem/FileChanges.h"
#include "filesystem/FileQueries.h"
#include "os/Cancellation.h"
#include "os/FilesByPath.h"

#include <QzBase/Message.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace QzLog
{
    namespace
    {
        /// Renames files, and renames them back when it is destroyed, unless Keep was called.
        class Moves
        {
        public:
            Moves() = default;
            Moves(Moves const&) = delete;
            Moves& operator=(Moves const&) = delete;

            ~Moves()
            {
                for (auto move = mDone.rbegin(); move != mDone.rend(); ++move)
                    QzOs::MoveFile(move->second.c_str(), move->first.c_str());
            }

            void Move(QzBase::WideString from, QzBase::WideString to)
            {
                mDone.reserve(mDone.size() + 1);
                QzFileSystem::MoveFile(from.c_str(), to.c_str());
                mDone.emplace_back(std::move(from), std::move(to));
            }

            void Keep() noexcept { mDone.clear(); }

        private:
            std::vector<std::pair<QzBase::WideString, QzBase::WideString>> mDone;
        };

        /// Deletes a file when it is destroyed, if the file exists.
        class Leftover
        {
        public:
            explicit Leftover(QzBase::WideString path) : mPath(std::move(path)) {}
            ~Leftover() { QzOs::DeleteFile(mPath.c_str()); }
            Leftover(Leftover const&) = delete;
            Leftover& operator=(Leftover const&) = delete;

            QzBase::WideString const mPath;
        };

        bool IsThere(QzBase::WideString const& path)
        {
            return QzFileSystem::IsFile(path.c_str());
        }

        bool IsAt(QzBase::WideString const& path, QzOs::FileIdentity const& identity)
        {
            QzOs::FileIdentity found{};
            return QzOs::GetFileIdentity(path.c_str(), found) == 0 && found == identity;
        }

        /// Frees number 0. The oldest back-up is renamed to `oldest` if all numbers are taken.
        void ShiftBackups(
            QzBase::WideString const& path, unsigned int backupCount, QzBase::WideString const& oldest, Moves& moves)
        {
            unsigned int number = 0;
            while (number < backupCount && IsThere(MakeBackupName(path, number)))
                ++number;
            if (number == backupCount)
                moves.Move(MakeBackupName(path, --number), oldest);
            // From the oldest on, so that no name is overwritten before it has been moved.
            for (; number != 0; --number)
                moves.Move(MakeBackupName(path, number - 1), MakeBackupName(path, number));
        }
    }

    bool StrictRollOver(QzFileSystem::UpdateableFile& file, QzBase::WideString const& path, unsigned int backupCount)
    {
        QzOs::NoCancellation const noCancellation;
        unsigned int const count = std::max(backupCount, 1u);
        Leftover const copy(MakeBackupName(path, "~n"));
        QzBase::WideString const newest = MakeBackupName(path, 0);
        QzBase::WideString const oldest = MakeBackupName(path, "~o");
        QzBase::WideString const lastName = MakeBackupName(path, count - 1);
        // A process that was killed may have renamed the oldest back-up and not yet moved another to its number.
        if (IsThere(oldest) && !IsThere(lastName))
            QzOs::MoveFile(oldest.c_str(), lastName.c_str());

        QzOs::FileIdentity const identity = CopyLog(file, copy.mPath);
        // Copying takes long. Whoever writes to another file at the path holds the lock on that one, and the lock on
        // this one does not keep him from these names any more.
        if (!file.IsAtPath())
            return false;
        Moves moves;
        try
        {
            ShiftBackups(path, count, oldest, moves);
            moves.Move(copy.mPath, newest);
            if (!IsAt(newest, identity))
            {
                moves.Keep(); // the names are another's
                return false;
            }
            file.SetPosition(0);
            file.Truncate();
        }
        catch (QzBase::Message&)
        {
            if (!file.IsAtPath())
                moves.Keep();
            throw;
        }
        moves.Keep();
        QzOs::DeleteFile(oldest.c_str());
        return true;
    }
}
