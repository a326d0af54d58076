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
        ///
        /// Replaces nothing: whoever holds the lock on another file, which took the log's place a moment ago, may be
        /// renaming the same back-ups.
        class Moves
        {
        public:
            Moves() = default;
            Moves(Moves const&) = delete;
            Moves& operator=(Moves const&) = delete;

            ~Moves()
            {
                for (auto move = mDone.rbegin(); move != mDone.rend(); ++move)
                    if (QzOs::MoveFileToFreeName(move->second.c_str(), move->first.c_str()) != 0)
                        break;
            }

            /// \return  false if somebody else was faster.
            bool Move(QzBase::WideString from, QzBase::WideString to)
            {
                mDone.reserve(mDone.size() + 1);
                if (!QzFileSystem::MoveFileToFreeName(from.c_str(), to.c_str()))
                    return false;
                mDone.emplace_back(std::move(from), std::move(to));
                return true;
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

        /// Frees number 0. The oldest back-up is renamed to `oldest` if all numbers are taken. So is what only seems to
        /// have a free number: a link that leads to no file.
        /// \return  false if somebody else renames the back-ups too.
        bool ShiftBackups(
            QzBase::WideString const& path, unsigned int backupCount, QzBase::WideString const& oldest, Moves& moves)
        {
            unsigned int number = 0;
            while (number < backupCount && Find(MakeBackupName(path, number)))
                ++number;
            bool const isTaken = number == backupCount;
            if (isTaken)
                --number;
            QzBase::WideString freed = MakeBackupName(path, number);
            if (isTaken || QzOs::GetFileKind(freed.c_str(), QzOs::Links::Keep) == QzOs::FileKind::File)
            {
                // Left by a process that was killed, and replaced since.
                QzFileSystem::DeleteFileInPlace(oldest.c_str());
                if (!moves.Move(std::move(freed), oldest))
                    return false;
                // Somebody else may have put a back-up in the link's place a moment ago.
                if (!isTaken && Find(oldest))
                    return false;
            }
            // From the oldest on, so that each name is free.
            for (; number != 0; --number)
                if (!moves.Move(MakeBackupName(path, number - 1), MakeBackupName(path, number)))
                    return false;
            return true;
        }

        bool IsEmpty(QzFileSystem::UpdateableFile& file) noexcept
        {
            try
            {
                return file.GetSize() == 0;
            }
            catch (...)
            {
                return false;
            }
        }

        /// Whether a file is one of the back-ups: mostly the newest, unless somebody else has made one since.
        bool IsBackup(QzBase::WideString const& path, unsigned int backupCount, QzOs::FileIdentity const& identity)
        {
            for (unsigned int number = 0; number != backupCount; ++number)
                if (Find(MakeBackupName(path, number)) == identity)
                    return true;
            return false;
        }
    }

    bool StrictRollOver(QzFileSystem::UpdateableFile& file, QzBase::WideString const& path, unsigned int backupCount)
    {
        QzOs::NoCancellation const noCancellation;
        unsigned int const count = std::max(backupCount, 1u);
        Leftover const copy(MakeBackupName(path, "~n"));
        QzBase::WideString const newest = MakeBackupName(path, 0);
        QzBase::WideString const oldest = MakeBackupName(path, "~o");
        KeptFile kept;
        CopyLog(file, copy.mPath, &kept);
        Moves moves;
        bool isInPlace = false;
        try
        {
            // Copying takes long. Whoever writes to another file at the path holds the lock on that one, and the lock
            // on this one does not keep him from these names any more.
            bool const isDone =
                file.IsAtPath() && ShiftBackups(path, count, oldest, moves) && moves.Move(copy.mPath, newest);
            // Two who copy at once have one name for their copies: either may have put the other's in place.
            if (!IsBackup(path, count, kept.mIdentity))
            {
                if (isDone)
                    moves.Keep();
                return false;
            }
            isInPlace = true;
            file.SetPosition(0);
            file.Truncate();
        }
        catch (...)
        {
            // Others may have gone on from what was renamed. And the copy is all there is if the log was emptied,
            // though the system has reported a failure.
            if (file.IsReplaced() || (isInPlace && IsEmpty(file)))
                moves.Keep();
            throw;
        }
        moves.Keep();
        QzOs::DeleteFile(oldest.c_str());
        return true;
    }
}
