#include "os/posix/StandardDescriptors.h"

#include "os/Cancellation.h"
#include "os/Fork.h"
#include "os/Sockets.h"

#include <mutex>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace QzOs::Posix
{
    namespace
    {
        constexpr int kFirstOther = STDERR_FILENO + 1;

        constinit ForkMutex gHoldsLock;

        // Both under the lock.
        constinit int gHolds = 0;
        constinit bool gIsOurs[kFirstOther] = {};

        void TakeFreeOnes() noexcept
        {
            NoCancellation const noCancellation;
            for (int number = 0; number < kFirstOther; ++number)
            {
                if (::fcntl(number, F_GETFD) != -1)
                    continue;
                int const taken = ::open("/", O_PATH | O_CLOEXEC);
                if (taken >= kFirstOther)
                    ::close(taken);
                else if (taken >= 0)
                    gIsOurs[taken] = true;
            }
        }

        void GiveBack() noexcept
        {
            NoCancellation const noCancellation;
            for (int number = 0; number < kFirstOther; ++number)
            {
                if (!gIsOurs[number])
                    continue;
                gIsOurs[number] = false;
                // The program may have put a file of its own there.
                int const flags = ::fcntl(number, F_GETFL);
                if (flags != -1 && (flags & O_PATH) != 0)
                    ::close(number);
            }
        }

        void GoOnInChild()
        {
            // Only the thread that forked is here, and it opens nothing.
            gHolds = 0;
            GiveBack();
            gHoldsLock.UnlockAfterFork();
        }

        // When the library is loaded. Who registers first is called last before a fork; this lock is the innermost.
        [[gnu::constructor(101)]] void HoldDescriptorsAroundForks()
        {
            CallAroundFork([] { gHoldsLock.LockBeforeFork(); }, [] { gHoldsLock.UnlockAfterFork(); }, GoOnInChild);
        }
    }

    StandardDescriptorsHold::StandardDescriptorsHold() noexcept
    {
        std::lock_guard const hold(gHoldsLock);
        ++gHolds;
        TakeFreeOnes();
    }

    StandardDescriptorsHold::~StandardDescriptorsHold()
    {
        int const error = errno;
        {
            std::lock_guard const hold(gHoldsLock);
            if (--gHolds == 0)
                GiveBack();
        }
        errno = error;
    }

    int MoveAboveStandard(int descriptor) noexcept
    {
        if (descriptor < 0 || descriptor >= kFirstOther)
            return descriptor;
        NoCancellation const noCancellation;
        int const moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstOther);
        int const error = errno;
        ::close(descriptor);
        errno = error;
        return moved;
    }
}

namespace QzOs
{
    int OpenSocket(int domain, int type, int protocol)
    {
        return Posix::OpenAboveStandard([=] { return ::socket(domain, type | SOCK_CLOEXEC, protocol); });
    }
}
