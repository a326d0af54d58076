#include "filesystem/PathComponents.h"

#include <cstddef>
#include <utility>

namespace QzFileSystem
{
    namespace
    {
        constexpr unsigned short kDot[] = {'.'};

        bool IsCurrent(WideView component)
        {
            return component.size() == 1 && component[0] == '.';
        }

        bool IsParent(WideView component)
        {
            return component.size() == 2 && component[0] == '.' && component[1] == '.';
        }

        bool IsKnownStyle(PathStyle style)
        {
            return style == WindowsPath || style == UnixPath;
        }

        /// Places in the list whose meaning depends on what the path begins with.
        struct Root
        {
            Root(PathComponents const& components, PathStyle style)
            {
                bool const isShare =
                    style == WindowsPath && components.size() >= 2 && components[0].empty() && components[1].empty();
                mFirstRemovableEmpty = isShare ? 2 : 1;
                mFirstBehind = isShare ? 4 : 1;
            }

            std::size_t mFirstRemovableEmpty;
            std::size_t mFirstBehind;
        };

        /// Whether a ".." is kept, after the components that precede it.
        bool StaysParent(PathComponents const& passed, PathStyle style)
        {
            return passed.empty() || IsParent(passed.back()) || !IsKnownStyle(style) ||
                   (style == WindowsPath && passed.back().empty());
        }
    }

    bool IsLetter(unsigned short unit)
    {
        return (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z');
    }

    bool IsSeparator(unsigned short unit, PathStyle style)
    {
        return (unit == '/' && IsKnownStyle(style)) || (unit == '\\' && style == WindowsPath);
    }

    void SplitPath(PathComponents& components, WideView path, PathStyle style)
    {
        std::size_t start = 0;
        for (std::size_t i = 0; i < path.size(); ++i)
        {
            if (IsSeparator(path[i], style))
            {
                components.push_back(path.substr(start, i - start));
                start = i + 1;
            }
        }
        if (start < path.size())
            components.push_back(path.substr(start));
    }

    void NormalizePath(PathComponents& components, bool absolute, PathStyle style)
    {
        Root const root(components, style);
        PathComponents passed;
        passed.reserve(components.size());
        bool hasRemoved = false;
        for (WideView const component : components)
        {
            std::size_t const place = passed.size();
            bool const isParent = IsParent(component);
            if (IsKnownStyle(style) && component.empty() && place >= root.mFirstRemovableEmpty)
                continue;
            if (IsKnownStyle(style) && absolute && isParent && place == root.mFirstBehind)
                continue;
            if (IsCurrent(component))
            {
                hasRemoved = true;
            }
            else if (!isParent || StaysParent(passed, style))
            {
                passed.push_back(component);
            }
            else
            {
                passed.pop_back();
                hasRemoved = true;
            }
        }
        if (hasRemoved && passed.empty())
            passed.emplace_back(kDot, 1);
        components = std::move(passed);
    }

    QzBase::ReturnWString JoinPath(PathComponents const& components, PathStyle style)
    {
        QzBase::WideString text;
        bool isFirst = true;
        for (WideView const component : components)
        {
            if (!isFirst && IsKnownStyle(style))
                text.push_back(style == WindowsPath ? '\\' : '/');
            isFirst = false;
            text.append(component);
        }

        if (style == WindowsPath)
        {
            bool const isBareDrive = text.size() == 2 && IsLetter(text[0]) && text[1] == ':';
            bool const isBareShare = components.size() == 2 && components[0].empty() && components[1].empty();
            if (isBareDrive || isBareShare)
                text.push_back('\\');
        }
        else if (style == UnixPath && components.size() == 1 && components[0].empty())
        {
            text.push_back('/');
        }
        return QzBase::ReturnWString(std::move(text));
    }
}
