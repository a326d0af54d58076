#include "destination/StrictRollOver.h"

#include "destination/BackupFiles.h"
#include "filesystem/Failures.h"
#include "filesystem/FileChanges.h"
#include "os/Cancellation.h"
#include "os/FilesByPath.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace QzLog
{
    namespace
    {
        /// Renames files, and renames them back when it is destroyed, unless Keep was called. If one cannot be renamed
        /// back, neither are those before it: their names are taken by files that are still to go back.
        class Moves
        {
        public:
            Moves() = default;
            Moves(Moves const&) = delete;
            Moves& operator=(Moves const&) = delete;

            ~Moves()
            {
                for (auto move = mDone.rbegin(); move != mDone.rend(); ++move)
                    if (QzOs::MoveFile(move->second.c_str(), move->first.c_str()) != 0)
                        break;
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

        /// The file at a path, if there is one; a directory is none. Throws if that cannot be determined: a back-up
        /// that counted as missing would be overwritten.
        std::optional<QzOs::FileIdentity> Find(QzBase::WideString const& path)
        {
            QzOs::FileKind kind;
            QzOs::FileIdentity identity{};
            QzOs::Error const error = QzOs::FindFile(path.c_str(), kind, identity);
            if (error != 0)
                throw QzFileSystem::MakeAttributesFailure(error, path.c_str());
            return kind == QzOs::FileKind::File ? std::optional(identity) : std::nullopt;
        }

        /// Frees number 0. The oldest back-up is renamed to `oldest` if all numbers are taken.
        void ShiftBackups(
            QzBase::WideString const& path, unsigned int backupCount, QzBase::WideString const& oldest, Moves& moves)
        {
            unsigned int number = 0;
            while (number < backupCount && Find(MakeBackupName(path, number)))
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
        if (Find(oldest) && !Find(lastName))
            QzOs::MoveFile(oldest.c_str(), lastName.c_str());

        QzOs::FileIdentity identity{};
        CopyLog(file, copy.mPath, &identity);
        // Copying takes long. Whoever writes to another file at the path holds the lock on that one, and the lock on
        // this one does not keep him from these names any more.
        if (!file.IsAtPath())
            return false;
        Moves moves;
        try
        {
            ShiftBackups(path, count, oldest, moves);
            moves.Move(copy.mPath, newest);
            if (Find(newest) != identity)
            {
                moves.Keep(); // the names are another's
                return false;
            }
            file.SetPosition(0);
            file.Truncate();
        }
        catch (...)
        {
            if (file.IsReplaced())
                moves.Keep();
            throw;
        }
        moves.Keep();
        QzOs::DeleteFile(oldest.c_str());
        return true;
    }
}
