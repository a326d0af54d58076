#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Open files. Any thread may call all of it; calls on one handle that use its position are ordered by who
// owns the handle. Nothing here throws or keeps state. Paths are UTF-16 with either separator; how they meet
// the system's own is a matter of its folder. A path that this system cannot name (a drive, an unpaired surrogate)
// fails like a missing file.

namespace QzOs
{
    /// How a call ended: 0 for success, the system's error number, or one of the negative values below.
    using Error = int;

    /// Somebody else holds the lock that was asked for without waiting.
    inline constexpr Error kLockTaken = -1;
    /// The listing of a directory is at its end.
    inline constexpr Error kNoMoreFiles = -2;
    /// The file stays where it is, since it can be deleted only there.
    inline constexpr Error kDeletedInPlaceOnly = -3;

    /// The system's error numbers that others have to know.
    extern Error const kErrorExists;
    extern Error const kErrorInvalid;
    extern Error const kErrorInvalidHandle;
    extern Error const kErrorLocked;
    extern Error const kErrorMissing;
    extern Error const kErrorNoSpace;
    extern Error const kErrorOverflow;

    /// A path or a name that the system gave.
    using PathText = std::basic_string<unsigned short>;

    /// The system's handle of an open file.
    using FileHandle = std::intptr_t;
    inline constexpr FileHandle kNoFile = -1;

    enum class Access
    {
        Read,
        Write,
        ReadWrite,
        /// Reads at the position. Writes go to the end that the file has at that moment, and move the position to
        /// that end.
        ReadAppend
    };

    enum class Creation
    {
        /// Fails when the file is missing.
        OpenExisting,
        /// Finds or creates it.
        OpenAlways,
        /// Empties or creates it.
        CreateAlways
    };

    /// What others may do with a file while it is open: open it for reading, open it for writing, and delete or rename
    /// it. A system that does not restrict openers allows all of it.
    enum class Sharing
    {
        Nothing,
        Read,
        ReadWrite,
        ReadWriteDelete
    };

    /// Opens a file at position 0, closed on exec and never as one of the standard streams. A new one gets the
    /// permissions that the process gives new files. A directory fails.
    Error OpenFile(unsigned short const* path, Access access, Creation creation, Sharing sharing, FileHandle& handle);

    /// Creates a file for writing, which others may read, and replaces what is at the path. That is deleted
    /// first and never opened; a directory fails. The new file gets owner, group, permissions and access control list
    /// of the open file `model` as far as the process may give them, and is at no moment open to anybody to whom that
    /// one is not. Where the process may not delete what is there, a plain file with a single name and with owner,
    /// group and permissions of `model` is emptied and used.
    Error ReplaceFile(unsigned short const* path, FileHandle model, FileHandle& handle);

    /// Opens what is open under `handle` once more, at the same position but as an open file of its own, also
    /// when it has no name any more; shared like Sharing::ReadWriteDelete. A handle that a forked child inherits shares
    /// position and locks with the parent's. Where the system does not open files by their handles to this process, it
    /// is opened by `path`; that fails when another file is there, or none.
    Error OpenAgain(FileHandle handle, unsigned short const* path, Access access, FileHandle& own);

    /// The handle is closed afterwards, whatever the result. No point of cancellation, so that destructors can call it.
    Error CloseFile(FileHandle handle);

    /// One call each, taken up again after a signal. Fewer bytes than asked are no error: reading ends at the end of
    /// the file, writing where there is no more room. Writing beyond the process's limit of file sizes is an error and
    /// nothing else.
    Error ReadFile(FileHandle handle, void* buffer, std::uint64_t count, std::uint64_t& done);
    Error WriteFile(FileHandle handle, void const* buffer, std::uint64_t count, std::uint64_t& done);

    /// Like WriteFile, for two texts one behind the other.
    Error WriteFile(FileHandle handle, std::string_view first, std::string_view second, std::uint64_t& done);

    /// Has the system copy from the position of `from` to its end, as far as the system can, and moves both positions
    /// past what was copied. Some file systems do that without reading the content. Failures are not reported: whoever
    /// reads and writes the rest meets them.
    void OffloadCopy(FileHandle from, FileHandle to);

    enum class Origin
    {
        Start,
        Position,
        End
    };

    /// Moves the position and gives the new one.
    Error SeekFile(FileHandle handle, std::int64_t offset, Origin origin, std::int64_t& position);

    /// The size in bytes.
    Error GetFileSize(FileHandle handle, std::int64_t& size);

    /// Makes the file that long. The position stays.
    Error SetFileSize(FileHandle handle, std::int64_t size);

    /// Returns when the content is on the disk.
    Error FlushFile(FileHandle handle);

    /// What distinguishes one file from another, whatever its names.
    struct FileIdentity
    {
        std::uint64_t mVolume;
        std::uint64_t mIndex;

        bool operator==(FileIdentity const&) const = default;
    };

    Error GetFileIdentity(FileHandle handle, FileIdentity& identity);

    /// Whether it is a file on a disk: no pipe, device, socket or directory.
    bool IsPlainFile(FileHandle handle);

    /// How long to wait for a lock that somebody else has.
    enum class LockWait
    {
        None,
        /// Some milliseconds: long enough for a record or two.
        Short,
        Endless
    };

    /// The lock on the whole file. It belongs to the open file: two handles that were opened one by one
    /// exclude each other, within a process as between two. The result can be kLockTaken, unless the wait is endless.
    Error LockFile(FileHandle handle, bool exclusive, LockWait wait);
    Error UnlockFile(FileHandle handle);

    /// The C runtime's descriptor of a handle, which from now on belongs to it: CloseDescriptor closes both.
    int ToDescriptor(FileHandle handle);

    /// The handle behind a descriptor, which keeps it, or kNoFile.
    FileHandle FromDescriptor(int descriptor);

    /// Like CloseFile.
    Error CloseDescriptor(int descriptor);

    /// Makes `error` the calling thread's last system error.
    void SetLastError(Error error);
}
