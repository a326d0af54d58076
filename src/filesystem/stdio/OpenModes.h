#pragma once

// The numbers that say how the functions of FileDescriptors.h and FileStreams.h open a file.

namespace QzFileSystem
{
    /// What is asked of the file. Numbers outside the list fail.
    enum OpenMode : unsigned int
    {
        /// Read an existing file.
        kOpenRead = 0,
        /// Write a new file, which replaces an old one.
        kOpenWriteNew = 1,
        /// Write an existing or a new file, from its start and not only at its end.
        kOpenWrite = 2,
        /// Read and write an existing file.
        kOpenUpdate = 3,
        /// Read and write a new file, which replaces an old one.
        kOpenUpdateNew = 4,
        /// Read and write an existing or a new file.
        kOpenUpdateAlways = 5,
        /// Write a new file, which replaces an old one; reading its stream fails.
        kOpenWriteNewForUpdate = 6
    };

    /// What other openers may do meanwhile, on systems that restrict openers (QzOs::Sharing). Numbers outside the list
    /// are kShareNothing.
    enum ShareMode : unsigned int
    {
        /// Read and write when the OpenMode is kOpenRead, else read.
        kShareDefault = 0,
        kShareNothing = 1,
        kShareRead = 2,
        kShareReadWrite = 3
    };
}
