#pragma once

#include "os/Files.h"

// Files by their paths, without opening them. Threads, paths and results as in Files.h.

namespace QzOs
{
    enum class FileKind
    {
        /// Nothing, or nothing that can be asked.
        None,
        Directory,
        /// Anything else.
        File
    };

    enum class Links
    {
        Follow,
        /// A symbolic link is itself asked about, and counts as a file.
        Keep
    };

    // What stands at a path: one system call each, and no memory. None asks for the file's times: the next write would
    // have to set them anew, which costs a fifth of a record on some kernels.

    FileKind GetFileKind(unsigned short const* path, Links links);

    /// Symbolic links are followed. A path that leads to nothing is no error: the kind is FileKind::None then, and
    /// there is no identity.
    Error FindFile(unsigned short const* path, FileKind& kind, FileIdentity& identity);

    /// Symbolic links are followed.
    Error GetFileIdentity(unsigned short const* path, FileIdentity& identity);

    /// Whether a pipe, a device or a socket stands at the path. Symbolic links are followed.
    bool IsSpecialFile(unsigned short const* path);

    struct FileInformation
    {
        std::uint64_t mSize;
        /// The last change of content: seconds since 1970-01-01 00:00 UTC, and nanoseconds.
        std::int64_t mModifiedSeconds;
        int mModifiedNanoseconds;
        /// The system's own coding.
        unsigned int mPermissions;
        bool mIsWriteable;
    };

    Error GetFileInformation(unsigned short const* path, FileInformation& information);

    /// Gives the file the permissions of a FileInformation.
    Error SetFilePermissions(unsigned short const* path, unsigned int permissions);

    /// Gives a file another name and replaces what has that name, unless it is a directory. Between two
    /// file systems the content is copied, with permissions and time, and is on the disk before the old name goes.
    Error MoveFile(unsigned short const* from, unsigned short const* to);

    /// Gives a file another name in its file system, in one step. kErrorExists if anything has that name. (A few file
    /// systems cannot look and rename in one step: there it is two.)
    Error MoveFileToFreeName(unsigned short const* from, unsigned short const* to);

    /// Renames a file that is about to be deleted. Directories fail. kDeletedInPlaceOnly: `to` lies on
    /// another file system, or the file is not the caller's and might not be deletable over there.
    Error MoveForDeletion(unsigned short const* path, unsigned short const* to);

    Error DeleteFile(unsigned short const* path);

    /// Creates an empty file that only its owner may use, whose name is `beginning` and something that makes
    /// it new, and gives its path.
    Error CreateUniqueFile(unsigned short const* beginning, PathText& path);

    /// Bytes of the file system that holds the path.
    Error GetDiskSpace(unsigned short const* path, std::uint64_t& freeBytes, std::uint64_t& totalBytes);
}
