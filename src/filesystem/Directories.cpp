#include "filesystem/Directories.h"

#include "filesystem/Failures.h"
#include "os/FilesDirectories.h"

#include <cstddef>

namespace QzFileSystem
{
    using namespace QzBase::Literals;

    namespace
    {
        // What the home platform's callers have room for.
        constexpr std::size_t kTemporaryDirectoryLimit = 260;

        bool IsPresentAncestor(unsigned short const* path)
        {
            // The empty text is what is above a rooted path of one component: the root, which is always there.
            return *path == 0 || QzOs::GetFileKind(path, QzOs::Links::Follow) == QzOs::FileKind::Directory;
        }

        void CreateAncestors(unsigned short const* path)
        {
            QzBase::ReturnWString const parent = CombinePaths(path, u".."_w);
            // The parent of a root is the root itself, and that of "." is "..": what is above them exists.
            if (parent.size() >= std::char_traits<unsigned short>::length(path) || IsPresentAncestor(parent.c_str()))
                return;
            try
            {
                CreateDirectory(parent.c_str(), true);
            }
            catch (QzBase::Message&)
            {
                // Another process may be making the same tree.
                if (!IsPresentAncestor(parent.c_str()))
                    throw;
            }
        }
    }

    QzBase::ReturnWString GetCurrentWorkingDirectory()
    {
        QzOs::PathText path;
        QzOs::Error const error = QzOs::GetCurrentDirectory(path);
        if (error != 0)
            ThrowCallFailure(error, "QzFileSystem::GetCurrentWorkingDirectory", ": ::GetCurrentDirectoryW failed.");
        return QzBase::ReturnWString(path.size(), path.c_str());
    }

    void SetCurrentWorkingDirectory(unsigned short const* path)
    {
        QzOs::Error const error = QzOs::SetCurrentDirectory(path);
        if (error != 0)
            ThrowCallFailure(
                error, "QzFileSystem::SetCurrentWorkingDirectory", ": ::SetCurrentDirectoryW failed for '", path, "'.");
    }

    QzBase::ReturnWString GetAbsolutePath(unsigned short const* path)
    {
        return GetAbsolutePath(path, WindowsPath);
    }

    QzBase::ReturnWString GetAbsolutePath(unsigned short const* path, PathStyle style)
    {
        if (IsAbsolutePath(path, style))
            return path;
        return CombinePaths(GetCurrentWorkingDirectory().c_str(), path, style);
    }

    QzBase::ReturnWString GetTemporaryDirectory()
    {
        QzOs::PathText const path = QzOs::GetTemporaryDirectory();
        return path.size() < kTemporaryDirectoryLimit ? QzBase::ReturnWString(path.size(), path.c_str())
                                                      : QzBase::ReturnWString();
    }

    void CreateDirectory(unsigned short const* path, bool recursive)
    {
        if (recursive)
            CreateAncestors(path);
        QzOs::Error const error = QzOs::CreateDirectory(path);
        if (error != 0)
            throw MakeFailure(error, "Failed to create directory '%1'.", path);
    }

    bool RemoveDirectory(unsigned short const* path, QzBase::Message* err)
    {
        QzOs::Error const error = QzOs::RemoveDirectory(path);
        if (error != 0 && err)
            Report(err, MakeFailure(error, "Failed to delete directory '%1'.", path));
        return error == 0;
    }
}
