#pragma once

#include "following/LogPosition.h"
#include "reading/ByteSource.h"
#include "reading/InputFile.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace QzLogTool
{
    /// A log and its back-ups as bytes, and what is added to them from look to look.
    ///
    /// A look is taken while the writers pause, so that what it finds belongs together: the log ends where a record
    /// ends, and the back-ups stand still. While there is no log there is nothing to pause them by; a look that sees
    /// one come is dropped. All back-ups that a look has found stay open, so that no later file can be taken for one of
    /// them, and one that is deleted before it was read is read all the same. A look therefore tells for sure which
    /// back-ups have come since the last one, and they are, in order of age, what was moved out of the log meanwhile:
    /// the first one goes on where the log was left. Nothing is read during a look but the first bytes of files.
    ///
    /// Outside of a look the log may be emptied at any moment. Each reading is followed by a glance at the first bytes
    /// of the log: when they are what they were, so was all that was read before. No two contents of a log begin
    /// alike, because records have their time and thread, and none is written twice.
    class FollowedBytes : public ByteSource
    {
    public:
        /// Gets, in a sentence without the log's name, what the user should know.
        using Report = std::function<void(std::string const&)>;

        /// \param path  of the log, which need not be there yet.
        FollowedBytes(std::string path, Report report);

        /// Goes on at a position that GetPosition has returned, perhaps in another process. Call it before the first
        /// look.
        void Resume(LogPosition const& position);

        /// What was read, up to an offset in the present file; all that was read when there is no such file.
        LogPosition GetPosition(std::optional<std::uint64_t> offset) const;

        /// How many bytes are known to be missing; there may be more. Empty unless some may be missing that this has
        /// not returned yet.
        std::optional<std::uint64_t> TakeLoss() { return std::exchange(mLoss, std::nullopt); }

        /// Looks at what there is. OpenNext and Read give what it has found, up to the end, and after that nothing
        /// until the next look.
        void Look();

        /// Whether the last look has found back-ups that the one before it had not: a busy log may be rolled over more
        /// often than it has back-ups within one moment.
        bool IsUrgent() const { return mHasRolledOver; }

        bool OpenNext() override;
        std::size_t Read(char* buffer, std::size_t size) override;
        bool CanMove() const override { return true; }
        void MoveTo(std::uint64_t offset) override;
        std::uint64_t GetOffset() const override { return mIsInLog ? mOffset : mPiece.mOffset; }
        std::string const& GetPath() const override { return mIsInLog ? mPath : mPiece.mpFile->GetPath(); }

    private:
        using File = std::shared_ptr<InputFile>;
        using Pause = std::optional<InputFile::WriterPause>;

        /// What is to be read of a file that nobody writes any more.
        struct Piece
        {
            File mpFile;
            std::uint64_t mOffset = 0;
            std::uint64_t mEnd = 0;
        };

        /// What a file held at a look. Nothing while it holds no more than the head, which all files have.
        struct Content
        {
            std::string mBeginning;
            std::uint64_t mSize = 0;
        };

        /// A file that was the log until it was deleted or replaced. A writer that had it open may add a last record.
        struct Former
        {
            File mpFile;
            std::uint64_t mOffset = 0;
            std::chrono::steady_clock::time_point mEnd;
        };

        using FilesByKey = std::map<std::pair<std::uint64_t, std::uint64_t>, File>;

        /// The back-ups that a look has found.
        struct Backups
        {
            /// Those that the look before had not found, the oldest first.
            std::vector<File> mNew;
            FilesByKey mKnown;
            /// Why others could not be opened.
            std::vector<std::string> mObstacles;
        };

        void LookAgain();
        File FindLog(FileStatus& status);
        bool Hold(Pause& pause, InputFile const& file);
        Backups OpenBackups() const;
        void Sort(File const& log, std::vector<File> backups);
        void MoveSeenTo(File const& file);
        void LoseSeen(bool hasBackups);
        void Retire();
        void ReadFormer();
        void ReportPresence(bool wasThere, bool isThere);
        static Content Examine(InputFile const& file);
        static bool Holds(InputFile const& file, Content const& content);
        static bool IsLeftover(InputFile const& older, InputFile const& newer);

        std::string const mPath;
        Report const mReport;

        // What is to be read, in this order: the rest of mPiece, then mPieces, then the log from mOffset up to what the
        // last look has seen. While mIsInLog the last of these is being read, up to mEnd, and mPieces is empty.
        Piece mPiece;
        std::deque<Piece> mPieces;
        File mpLog;
        Content mSeen;
        std::uint64_t mOffset = 0;
        std::uint64_t mEnd = 0;
        bool mIsInLog = false;
        // How many of them belong to this look. Those that looks in between have added wait for the next one, so that
        // a busy log does not keep others waiting.
        std::size_t mStretches = 0;

        FilesByKey mKnown;
        Former mFormer;
        std::chrono::steady_clock::time_point mLastLook;
        bool mHasRolledOver = false;
        bool mHasLooked = false;
        // Of the last file that was read to its end.
        LogPosition mLast;
        std::optional<std::uint64_t> mLoss;
        bool mIsUnlockable = false;
        std::string mObstacle;
    };
}
