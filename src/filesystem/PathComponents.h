#pragma once

#include "filesystem/Paths.h"

#include <string_view>
#include <vector>

// A path as the list of its components: what the normal form is made of. For WindowsPath "C:" stands at the
// head of a drive path, one empty component at that of a rooted path, two empty ones at that of a share.

namespace QzFileSystem
{
    using WideView = std::basic_string_view<unsigned short>;

    /// The components point into the text that they came from.
    using PathComponents = std::vector<WideView>;

    /// ASCII only.
    bool IsLetter(unsigned short unit);

    bool IsSeparator(unsigned short unit, PathStyle style);

    /// Appends the components of a path. A separator at its end adds nothing, two in a row an empty one.
    void SplitPath(PathComponents& components, WideView path, PathStyle style);

    /// Takes out empty components, "." and ".." where they can be resolved. `absolute` says that the list
    /// came from an absolute path, above whose root nothing goes.
    void NormalizePath(PathComponents& components, bool absolute, PathStyle style);

    QzBase::ReturnWString JoinPath(PathComponents const& components, PathStyle style);
}
