// Base and path, in both styles: the normal form is its own normal form, and an absolute side makes it absolute.

#include "Fuzz.h"
#include "filesystem/Paths.h"

#include <QzBase/Conversions.h>

namespace
{
    using QzFileSystem::CombinePaths;
    using QzFileSystem::IsAbsolutePath;
    using QzFileSystem::PathStyle;

    QzBase::WideString Combine(QzBase::WideString const& base, QzBase::WideString const& path, PathStyle style)
    {
        return CombinePaths(base.c_str(), path.c_str(), style).c_str();
    }

    void CheckComponents(QzBase::WideString const& path, unsigned short separator)
    {
        std::size_t number = 0;
        for (std::size_t begin = 0; begin < path.size(); ++number)
        {
            std::size_t const end = std::min(path.find(separator, begin), path.size());
            // A share begins with two separators.
            Fuzz::Check(end > begin || number < (separator == '\\' ? 2U : 1U), "no empty component");
            bool const isDot = end == begin + 1 && path[begin] == '.';
            Fuzz::Check(!isDot || path.size() == 1, "no component that is a dot");
            begin = end + 1;
        }
    }

    void CheckStyle(QzBase::WideString const& base, QzBase::WideString const& path, PathStyle style)
    {
        bool const isWindows = style == QzFileSystem::WindowsPath;
        QzBase::WideString const combined = Combine(base, path, style);
        CheckComponents(combined, isWindows ? '\\' : '/');
        Fuzz::Check(!isWindows || combined.find(u'/') == combined.npos, "one kind of separator");
        bool const isAbsolute = IsAbsolutePath(path.c_str(), style) || IsAbsolutePath(base.c_str(), style);
        Fuzz::Check(!isAbsolute || IsAbsolutePath(combined.c_str(), style), "an absolute path stays absolute");
        if (IsAbsolutePath(path.c_str(), style))
            Fuzz::Check(combined == Combine({}, path, style), "an absolute path needs no base");

        // Two slashes are no share before they are normalised, and may keep a ".." that a share would not have.
        bool const becameShare = isWindows && !isAbsolute && combined.size() > 1 && combined[1] == '\\';
        Fuzz::Check(becameShare || combined == Combine(combined, {}, style), "the normal form stays as it is");
    }

    void CheckParts(QzBase::WideString const& path)
    {
        QzBase::WideString const directory = QzFileSystem::GetDirectoryName(path.c_str()).c_str();
        QzBase::WideString const file = QzFileSystem::GetFileName(path.c_str()).c_str();
        Fuzz::Check(
            file == path || directory.size() + 1 + file.size() == path.size(), "directory and file make the path");
        QzBase::WideString const parent = QzFileSystem::GetParentDirectory(path.c_str()).c_str();
        Fuzz::Check(path.starts_with(parent) && (parent.empty() || parent.size() < path.size()), "a parent is shorter");
        Fuzz::Check(file.starts_with(QzFileSystem::GetFileStem(path.c_str()).c_str()), "a stem begins the file name");
        QzFileSystem::GetFileExtension(path.c_str());
        QzFileSystem::SlashPathToUNC(path.c_str());
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const [narrowBase, narrowPath] = Fuzz::TakeTexts<2>(data, size);
    QzBase::WideString const base = QzBase::UTF8ToWideChar(narrowBase.c_str(), false).c_str();
    QzBase::WideString const path = QzBase::UTF8ToWideChar(narrowPath.c_str(), false).c_str();
    CheckStyle(base, path, QzFileSystem::WindowsPath);
    CheckStyle(base, path, QzFileSystem::UnixPath);
    CheckParts(path);
    return 0;
}
