#pragma once

#include <QzBase/ReturnString.h>

// Operations on the text of paths. None of them asks the file system, none fails, and all may be called
// from any thread. Paths are wide text of any length, never null. The one normal form has "\" between its
// components and neither "." nor ".." where they can be resolved; where a path meets the system, "\" and "/"
// both become the system's separator, so a rooted path "\var\log" is the directory /var/log.

namespace QzFileSystem
{
    /// How the text of a path is read. Values outside the list have no separators and no absolute paths.
    enum PathStyle : unsigned int
    {
        /// Drives and shares; "\" and "/" separate on input, "\" on output.
        WindowsPath = 0,
        /// "/" separates and makes a path absolute.
        UnixPath = 1
    };

    /// Whether the path begins with a letter, ":" and a separator, or with two "\" (two "/" do not count).
    bool IsAbsolutePath(unsigned short const* path);
    bool IsAbsolutePath(unsigned short const* path, PathStyle style);

    /// Whether the path begins with "\" or "/".
    bool IsRootedPath(unsigned short const* path);

    /// The drive with its separator, or "\\server\share", of an absolute path.
    QzBase::ReturnWString GetRootPath(unsigned short const* path);

    /// All before the last "/"; without one, all before the last "\"; without either, ".".
    QzBase::ReturnWString GetDirectoryName(unsigned short const* path);

    /// All after the last "/"; without one, all after the last "\"; without either, the path.
    QzBase::ReturnWString GetFileName(unsigned short const* path);

    /// The same for narrow text; points into `path`.
    char const* GetFileName(char const* path);

    /// All up to and including the last separator that is neither the last character nor one of the first
    /// two; empty when there is none.
    QzBase::ReturnWString GetParentDirectory(unsigned short const* path);

    /// The text after the last "." of the whole path, up to its first white-space character.
    QzBase::ReturnWString GetFileExtension(unsigned short const* path);

    /// The file name up to its last ".".
    QzBase::ReturnWString GetFileStem(unsigned short const* path);

    /// Turns "/server/share" into "\\server\share"; a path that does not begin with "/" is unchanged.
    QzBase::ReturnWString SlashPathToUNC(unsigned short const* path);

    /// The normal form of `path`, resolved against `base` unless it is absolute. A rooted path stays on the
    /// drive or share of an absolute base, and stands alone otherwise. CombinePaths(p, "") is the normal
    /// form of p.
    QzBase::ReturnWString CombinePaths(unsigned short const* base, unsigned short const* path);
    QzBase::ReturnWString CombinePaths(unsigned short const* base, unsigned short const* path, PathStyle style);
}
