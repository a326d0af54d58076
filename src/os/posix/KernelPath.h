#pragma once

#include "os/Files.h"
#include "os/posix/Kernel.h"

#include <climits>
#include <cstddef>

// Where paths meet the kernel: "\" and "/" both become "/", and UTF-16 becomes the bytes of the name. A name
// of the kernel may itself contain a backslash, which must never turn into a separator: it travels as the
// private code unit U+F05C. Should a name contain that character, its three bytes travel one by one, in the
// reversible form of bytes that are no UTF-8. So every name goes back to exactly its bytes.

namespace QzOs::Posix
{
    /// A path as the kernel takes it, on the stack: longer ones than fit here the kernel refuses.
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

    /// Makes a call on a path, which answers 0 or -1 and is not interrupted by signals.
    template <class Call>
    Error CallOnPath(unsigned short const* path, Call&& call)
    {
        KernelPath const kernelPath(path);
        return kernelPath.GetError() != 0 ? kernelPath.GetError() : ToError(call(kernelPath.Get()));
    }

    /// Appends a path or name that the kernel gave.
    void AppendName(PathText& out, char const* name);
}
