#include "filesystem/Paths.h"

#include "filesystem/PathComponents.h"

#include <cstring>
#include <utility>

namespace QzFileSystem
{
    using namespace QzBase::Literals;

    namespace
    {
        constexpr std::size_t kNone = WideView::npos;

        bool IsWhiteSpace(unsigned short unit)
        {
            return (unit >= '\t' && unit <= '\r') || unit == ' ' || unit == 0x0085;
        }

        QzBase::ReturnWString ToText(WideView text)
        {
            return QzBase::ReturnWString(text.size(), text.data());
        }

        /// The last "/", or without one the last "\".
        std::size_t FindLastSeparator(WideView path)
        {
            std::size_t const slash = path.rfind('/');
            return slash != kNone ? slash : path.rfind('\\');
        }

        WideView GetFileNameView(WideView path)
        {
            return path.substr(FindLastSeparator(path) + 1);
        }

        QzBase::ReturnWString NormalizeAlone(WideView path, bool absolute, PathStyle style)
        {
            PathComponents components;
            SplitPath(components, path, style);
            NormalizePath(components, absolute, style);
            return JoinPath(components, style);
        }

        QzBase::ReturnWString AppendPaths(unsigned short const* base, unsigned short const* path, PathStyle style)
        {
            PathComponents components;
            SplitPath(components, base, style);
            SplitPath(components, path, style);
            NormalizePath(components, IsAbsolutePath(base, style), style);
            return JoinPath(components, style);
        }
    }

    bool IsAbsolutePath(unsigned short const* path)
    {
        if (path[0] == '\\' && path[1] == '\\')
            return true;
        return IsLetter(path[0]) && path[1] == ':' && IsSeparator(path[2], WindowsPath);
    }

    bool IsAbsolutePath(unsigned short const* path, PathStyle style)
    {
        switch (style)
        {
        case WindowsPath:
            return IsAbsolutePath(path);
        case UnixPath:
            return path[0] == '/';
        }
        return false;
    }

    bool IsRootedPath(unsigned short const* path)
    {
        return IsSeparator(path[0], WindowsPath);
    }

    QzBase::ReturnWString GetRootPath(unsigned short const* path)
    {
        WideView const text(path);
        if (IsLetter(path[0]))
            return ToText(text.substr(0, 3));
        std::size_t const serverEnd = text.find('\\', 2);
        std::size_t const shareEnd = serverEnd == kNone ? kNone : text.find('\\', serverEnd + 1);
        return ToText(text.substr(0, shareEnd));
    }

    QzBase::ReturnWString GetDirectoryName(unsigned short const* path)
    {
        WideView const text(path);
        std::size_t const separator = FindLastSeparator(text);
        if (separator == kNone)
            return u"."_w;
        return ToText(text.substr(0, separator));
    }

    QzBase::ReturnWString GetFileName(unsigned short const* path)
    {
        return ToText(GetFileNameView(path));
    }

    char const* GetFileName(char const* path)
    {
        char const* separator = std::strrchr(path, '/');
        if (!separator)
            separator = std::strrchr(path, '\\');
        return separator ? separator + 1 : path;
    }

    QzBase::ReturnWString GetParentDirectory(unsigned short const* path)
    {
        WideView const text(path);
        std::size_t i = text.size() < 4 ? 0 : text.size() - 2;
        while (i >= 2 && !IsSeparator(text[i], WindowsPath))
            --i;
        return i < 2 ? QzBase::ReturnWString() : ToText(text.substr(0, i + 1));
    }

    QzBase::ReturnWString GetFileExtension(unsigned short const* path)
    {
        WideView text(path);
        std::size_t const dot = text.rfind('.');
        if (dot == kNone)
            return QzBase::ReturnWString();
        text.remove_prefix(dot + 1);
        std::size_t length = 0;
        while (length < text.size() && !IsWhiteSpace(text[length]))
            ++length;
        return ToText(text.substr(0, length));
    }

    QzBase::ReturnWString GetFileStem(unsigned short const* path)
    {
        WideView const name = GetFileNameView(path);
        return ToText(name.substr(0, name.rfind('.')));
    }

    QzBase::ReturnWString SlashPathToUNC(unsigned short const* path)
    {
        if (path[0] != '/')
            return path;
        QzBase::WideString text(1, '\\');
        for (; *path; ++path)
            text.push_back(*path == '/' ? static_cast<unsigned short>('\\') : *path);
        return QzBase::ReturnWString(std::move(text));
    }

    QzBase::ReturnWString CombinePaths(unsigned short const* base, unsigned short const* path)
    {
        return CombinePaths(base, path, WindowsPath);
    }

    QzBase::ReturnWString CombinePaths(unsigned short const* base, unsigned short const* path, PathStyle style)
    {
        if (IsAbsolutePath(path, style))
            return NormalizeAlone(path, true, style);
        if (style != WindowsPath || !IsRootedPath(path))
            return AppendPaths(base, path, style);
        if (IsAbsolutePath(base))
            return AppendPaths(GetRootPath(base).c_str(), path, style);
        return NormalizeAlone(path, false, style);
    }
}
