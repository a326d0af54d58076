#pragma once

#include <QzBase/Message.h>
#include <QzBase/TotalTimer.h>
#include <QzDataType/Binary.h>

#include <cstdint>
#include <memory>
#include <string_view>

// Files as objects over one handle of the operating system, without buffering. An object opens its file when
// it is made: it finds or creates it, never empties it, and starts at offset 0. It has no lock of its own:
// its holder serialises the calls. Every failure is a thrown QzBase::Message unless a line says otherwise,
// and leaves the object as it was. The operations of a closed object fail, except Unlock.

namespace QzFileSystem
{
    /// What the destructor does to a file that is still open.
    enum CloseDisposition : unsigned int
    {
        /// Empties and closes it.
        EmptyOnClose = 0,
        /// Empties, closes and deletes it.
        DeleteOnClose = 1,
        /// Closes it.
        KeepOnClose = 2
    };

    /// Queries and the position.
    class GenericFile
    {
    public:
        GenericFile() = default;
        GenericFile(GenericFile const&) = delete;
        GenericFile& operator=(GenericFile const&) = delete;
        virtual ~GenericFile();

        /// The path that the file was opened under, unchanged; valid as long as the object.
        virtual unsigned short const* GetPath() const = 0;

        /// Whether the file that is now at the path is the open one. Throws nothing: after a failure it returns
        /// false, and puts the failure in front of what `err` holds, unless that is null.
        virtual bool IsSameFile(QzBase::Message* err) = 0;

        /// The size in bytes.
        virtual std::int64_t GetSize() = 0;

        virtual std::int64_t GetPosition() = 0;

        /// Moves by `offset` bytes from where the position is. Returns the new position.
        virtual std::int64_t MovePosition(std::int64_t offset) = 0;

        /// Moves to `offset` bytes from the start.
        virtual void SetPosition(std::int64_t offset) = 0;

        /// Moves to the end. Returns the new position, which is the size. One system call.
        virtual std::int64_t MovePositionToEnd() = 0;
    };

    /// Input, timed by the read timer, and the shared lock on the whole file.
    class ReadableFile : public virtual GenericFile
    {
    public:
        /// One read into the binary, of at most `maximum` bytes if that is not 0, otherwise of its full size. Its
        /// length becomes the number of bytes read, which is 0 at the end of the file.
        virtual void ReadBinary(QzDataType::Binary& binary, std::uint64_t maximum) = 0;

        /// Reads exactly `count` bytes; fewer are a failure.
        virtual void Read(void* buffer, std::uint64_t count) = 0;

        /// Reads four bytes, least significant first.
        virtual void ReadUInt32(unsigned int& value) = 0;

        /// Reads one line, its LF included. A line longer than the binary is read in pieces. A zero byte ends a
        /// line and is not read. Length 0 is the end of the file.
        virtual void ReadLine(QzDataType::Binary& binary) = 0;

        virtual QzBase::TotalTimer& GetReadTimer() = 0;
        virtual QzBase::TotalTimer& GetReadLockTimer() = 0;

        /// Takes the shared lock on the whole file and returns true. With `failAtOnce` it returns false if
        /// somebody else holds the lock; without, it waits as long as it takes.
        virtual bool ReadLock(bool failAtOnce) = 0;

        /// Releases the lock, shared or exclusive. If the system refuses that, the file is opened once more, and what
        /// was open is closed with its lock. If that is refused too, the object is closed. Throws nothing. Timed by
        /// the read lock timer.
        void Unlock() { ReleaseReadLock(); }

    protected:
        virtual void ReleaseReadLock() noexcept = 0;
    };

    /// Output, timed by the write timer, and the exclusive lock on the whole file.
    class WriteableFile : public virtual GenericFile
    {
    public:
        /// Writes exactly `count` bytes, at most 1 MiB with one system call. What was written before a
        /// failure stays written.
        virtual void Write(void const* buffer, std::uint64_t count) = 0;

        /// Writes `count` bytes of the text, or all of it up to its terminator if `count` is 0.
        virtual void WriteText(char const* text, std::uint64_t count) = 0;

        /// Writes four bytes, least significant first.
        virtual void WriteUInt32(unsigned int const& value) = 0;

        /// Returns when all that was written is on the disk.
        virtual void Flush() = 0;

        /// Makes the file end at the present position.
        virtual void Truncate() = 0;

        /// Closes the file; the disposition has no effect any more. It is closed even after a failure.
        virtual void Close() = 0;

        virtual QzBase::TotalTimer& GetWriteTimer() = 0;
        virtual QzBase::TotalTimer& GetWriteLockTimer() = 0;

        /// Like ReadLock, for the exclusive lock. It belongs to this object: two objects on one file exclude
        /// each other as two processes do. Used through the guards of FileLocks.h.
        virtual bool WriteLock(bool failAtOnce) = 0;

        /// Like ReadableFile::Unlock. Timed by the write lock timer.
        void Unlock() { ReleaseWriteLock(); }

    protected:
        virtual void ReleaseWriteLock() noexcept = 0;

    public:
        /// Like WriteLock, but waits for some milliseconds at most. Returns false if it did not get the lock.
        virtual bool WriteLockSoon() = 0;

        /// Writes both texts as Write does, with the first one and the beginning of the second in one system call.
        /// \param first  less than 1 MiB.
        virtual void WriteTexts(std::string_view first, std::string_view second) = 0;

        /// For an object that came into this process by a fork: gives it an open file of its own at the same
        /// position, since the inherited one shares its position and its lock with the parent. Fails where the system
        /// opens files by their path only (without /proc, or for another user), if another one is there. Does nothing
        /// in the process that opened the file, and then costs no system call.
        virtual void ReopenAfterFork() = 0;

        /// Like IsSameFile, for one that asks often: what is open is asked about once only. One system call.
        virtual bool IsAtPath() = 0;

        /// Whether another file is at the path, or none. Like IsAtPath, false if that cannot be determined.
        virtual bool IsReplaced() = 0;

        /// Throws when what was opened is a pipe, a device or a socket.
        virtual void RefuseSpecialFile() = 0;

        /// Creates a file at another path for a copy of this one, as QzOs::ReplaceFile does: for the same users, and
        /// never through a link or a pipe that stands there. A directory at the path fails.
        /// \return  a descriptor for writing, as of File::OpenDescriptor, whose failure this one has too.
        virtual int OpenDescriptorOfCopy(unsigned short const* path) = 0;

        /// Has the system copy from the position to the end, to the position of a descriptor, as QzOs::OffloadCopy
        /// does: perhaps nothing, perhaps a part. Does nothing if the file has less than `smallestSize` bytes. Throws
        /// nothing.
        virtual void OffloadCopy(int descriptor, std::int64_t smallestSize) = 0;
    };

    /// Both, over one handle.
    class UpdateableFile : public ReadableFile, public WriteableFile
    {
    };

    /// Open or create a file for reading and writing, or for writing alone. Every process may open, rename
    /// and delete it meanwhile.
    std::unique_ptr<UpdateableFile> CreateUpdateableFile(unsigned short const* path, CloseDisposition disposition);
    /// For reading and appending: each write goes to the end that the file has at that moment, wherever the position
    /// is and whoever else changes the size. The position is then at that end.
    std::unique_ptr<UpdateableFile> CreateAppendableFile(unsigned short const* path, CloseDisposition disposition);
    std::unique_ptr<WriteableFile> CreateWriteableFile(unsigned short const* path, CloseDisposition disposition);
}
