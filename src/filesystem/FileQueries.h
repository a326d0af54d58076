#pragma once

#include <QzBase/Message.h>
#include <QzDataType/DateTime.h>

#include <cstdint>

// Queries of the file system about a path. All may be called from any thread; relative paths depend on the
// process's current directory. An answer is a snapshot: it may be out of date when the caller acts on it. Paths are
// wide text, never null unless a line says so. What throws, throws QzBase::Message. Operations with a
// `QzBase::Message*` put their failures in front of what that message holds and return false; with null they stay
// silent. The library itself uses IsFile and IsDirectory; the rest makes the family complete.

namespace QzFileSystem
{
    /// Whether a directory is at the path. Also false if that cannot be determined.
    bool IsDirectory(unsigned short const* path);

    /// Whether something other than a directory is at the path. Symbolic links are followed. Costs one
    /// system call and no memory. Also false if it cannot be determined.
    bool IsFile(unsigned short const* path);

    /// Throws when a pipe, a device or a socket stands at the path.
    void RefuseSpecialFile(unsigned short const* path);

    /// Whether anything is at the path.
    bool Exists(unsigned short const* path);

    /// Whether something is at the path and its mode has a write bit, whoever calls.
    bool IsWriteable(unsigned short const* path);

    /// The low 32 bits of the size in bytes.
    std::int32_t GetFileSize(unsigned short const* path);

    /// The size in bytes.
    std::uint64_t GetFileSize64(unsigned short const* path);

    /// Gives the time of the last change of content: UTC, truncated to the millisecond.
    void GetLastModifiedTime(unsigned short const* path, QzDataType::DateTime& time);

    /// Gives `to` the permission bits of `from`. Throws when those of `from` cannot be read. Returns 0 when
    /// they cannot be set and `err` is not null, 1 otherwise.
    int CopyFileAttributes(unsigned short const* from, unsigned short const* to, QzBase::Message* err);

    /// Gives the bytes that the caller may still use and all bytes of the file system that holds the path.
    /// A null path gives 0 for both.
    void GetDiskFreeSpace(unsigned short const* path, std::uint64_t& freeBytes, std::uint64_t& totalBytes);
}
