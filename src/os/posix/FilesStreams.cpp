#include "os/FilesStreams.h"

#include "os/Cancellation.h"
#include "os/posix/FilesSizeLimit.h"
#include "os/posix/Kernel.h"

#include <cerrno>
#include <climits>
#include <cstring>

#include <unistd.h>

namespace QzOs
{
    using Posix::gKernel;
    using Posix::SizeLimitGuard;
    using Posix::ToError;

    namespace
    {
        /// Streams report a failure without a number when the call below it gave none.
        Error LastStreamError()
        {
            return errno != 0 ? errno : EIO;
        }
    }

    Error OpenStream(int descriptor, Access access, std::FILE*& stream)
    {
        // "w" on an open descriptor empties nothing and creates nothing. "a" would move every write to the
        // end, and "r+" is refused on a descriptor that only writes.
        char const* const mode = access == Access::Read ? "rb" : access == Access::Write ? "wb" : "r+b";
        stream = gKernel.mpFdopen(descriptor, mode);
        return stream ? 0 : errno;
    }

    Error CloseStream(std::FILE* stream)
    {
        NoCancellation const noCancellation;
        SizeLimitGuard guard;
        return guard.Finish(ToError(gKernel.mpFclose(stream)));
    }

    int ToDescriptor(std::FILE* stream)
    {
        return stream ? fileno(stream) : -1;
    }

    Error WriteStream(std::FILE* stream, void const* buffer, std::size_t count)
    {
        SizeLimitGuard guard;
        errno = 0;
        return guard.Finish(gKernel.mpFwrite(buffer, count, 1, stream) == 1 ? 0 : LastStreamError());
    }

    Error ReadStream(std::FILE* stream, void* buffer, std::size_t count, std::size_t& done)
    {
        // Reading after a write writes out what is buffered.
        SizeLimitGuard guard;
        errno = 0;
        done = gKernel.mpFread(buffer, 1, count, stream);
        return guard.Finish(done < count && std::ferror(stream) ? LastStreamError() : 0);
    }

    Error ReadStreamLine(std::FILE* stream, unsigned char* buffer, std::size_t size, std::size_t& length)
    {
        SizeLimitGuard guard;
        errno = 0;
        length = 0;
        char* const text = static_cast<char*>(static_cast<void*>(buffer));
        int const limited = size > INT_MAX ? INT_MAX : static_cast<int>(size);
        if (!gKernel.mpFgets(text, limited, stream))
            return guard.Finish(std::ferror(stream) ? LastStreamError() : 0);
        length = std::strlen(text);
        return 0;
    }

    Error FlushStream(std::FILE* stream)
    {
        SizeLimitGuard guard;
        Error const error = guard.Finish(ToError(gKernel.mpFflush(stream)));
        if (error != 0)
            return error;
        Error const syncError = FlushFile(FromDescriptor(fileno(stream)));
        // Pipes and terminals have no disk below them.
        return syncError == EINVAL || syncError == EROFS ? 0 : syncError;
    }

    Error SeekStream(std::FILE* stream, std::int64_t offset, Origin origin)
    {
        SizeLimitGuard guard;
        int const streamOrigin = origin == Origin::Start ? SEEK_SET : origin == Origin::End ? SEEK_END : SEEK_CUR;
        return guard.Finish(ToError(gKernel.mpFseeko(stream, offset, streamOrigin)));
    }

    Error GetStreamPosition(std::FILE* stream, std::int64_t& position)
    {
        position = gKernel.mpFtello(stream);
        return position == -1 ? errno : 0;
    }
}
