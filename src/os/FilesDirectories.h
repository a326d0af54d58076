#pragma once

#include "os/Files.h"
#include "os/FilesByPath.h"

// Directories. Threads, paths and results as in Files.h. A name that contains a character which separates in
// our paths but not in the system's comes with a private code unit in its place, and goes back to itself when
// it is part of a path.

namespace QzOs
{
    Error CreateDirectory(unsigned short const* path);

    /// Removes an empty directory. A symbolic link is none.
    Error RemoveDirectory(unsigned short const* path);

    /// The process's current directory, with the system's separator.
    Error GetCurrentDirectory(PathText& path);
    Error SetCurrentDirectory(unsigned short const* path);

    /// The directory for temporary files, with a separator at its end. It need not be there.
    PathText GetTemporaryDirectory();

    /// Lists a directory. Used by one thread at a time.
    class DirectoryListing
    {
    public:
        DirectoryListing() = default;
        ~DirectoryListing();
        DirectoryListing(DirectoryListing const&) = delete;
        DirectoryListing& operator=(DirectoryListing const&) = delete;

        /// Begins. The empty path fails; with Links::Keep so does a symbolic link.
        Error Open(unsigned short const* path, Links links);

        /// Gives the next name, in the system's order, without those of the directory itself and of its
        /// parent; kNoMoreFiles after the last one.
        Error Read(PathText& name);

    private:
        void* mpListing = nullptr;
    };
}
