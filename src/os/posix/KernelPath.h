#pragma once

#include "os/Files.h"
#include "os/posix/Kernel.h"

#include <climits>
#include <cstddef>

// Converts paths for the kernel: "\" and "/" both become "/", and UTF-16 becomes the bytes of the name. A name
// of the kernel may itself contain a backslash, which must never become a separator: in our paths it is the
// private code unit U+F05C. If a name contains that character itself, its three bytes are converted one by one,
// in the reversible form of bytes that are not UTF-8. So every name is converted back to exactly its bytes.

namespace QzOs::Posix
{
    /// A path as the kernel takes it, on the stack. The kernel refuses paths that are too long for it.
    class KernelPath
    {
    public:
        explicit KernelPath(unsigned short const* path);

        /// 0, or why there is no such path.
        Error GetError() const { return mError; }

        char const* Get() const { return mBytes; }
        std::size_t GetLength() const { return mLength; }

    private:
        Error mError = 0;
        std::size_t mLength = 0;
        // One character may begin at the last byte that counts.
        char mBytes[PATH_MAX + 4];
    };

    /// Makes a call on a path, which returns 0 or -1 and is not interrupted by signals.
    template <class Call>
    Error CallOnPath(unsigned short const* path, Call&& call)
    {
        KernelPath const kernelPath(path);
        return kernelPath.GetError() != 0 ? kernelPath.GetError() : ToError(call(kernelPath.Get()));
    }

    /// Appends a path or name that the kernel gave.
    void AppendName(PathText& out, char const* name);
}
