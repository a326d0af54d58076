#include "os/System.h"

#include "os/Fork.h"

#include <atomic>
#include <cerrno>

#include <locale.h>
#include <string.h>
#include <unistd.h>
#include <uuid/uuid.h>

namespace QzOs
{
    namespace
    {
        constinit std::atomic<std::uint32_t> gProcessID{0};

        struct ThreadNumber
        {
            std::uint32_t mGeneration;
            std::uint32_t mNumber;
        };

        constinit thread_local ThreadNumber tThreadNumber{0, 0};

        void EnterForkedChild()
        {
            gProcessID.store(static_cast<std::uint32_t>(getpid()), std::memory_order_relaxed);
        }

        // When the library is loaded, so that no fork is missed.
        [[gnu::constructor(101)]] void RenewProcessIDInForks()
        {
            CallAroundFork(nullptr, nullptr, EnterForkedChild);
        }
    }

    std::uint32_t GetProcessID()
    {
        std::uint32_t id = gProcessID.load(std::memory_order_relaxed);
        if (id == 0)
        {
            id = static_cast<std::uint32_t>(getpid());
            gProcessID.store(id, std::memory_order_relaxed);
        }
        return id;
    }

    std::uint32_t GetThreadID()
    {
        ThreadNumber& own = tThreadNumber;
        std::uint32_t const generation = GetForkGeneration();
        if (own.mNumber == 0 || own.mGeneration != generation)
            own = {generation, static_cast<std::uint32_t>(gettid())};
        return own.mNumber;
    }

    std::string GetComputerName()
    {
        char name[256] = {};
        if (gethostname(name, sizeof(name) - 1) != 0)
            return std::string();
        return name;
    }

    std::uint32_t GetLastError()
    {
        return static_cast<std::uint32_t>(errno);
    }

    std::string DescribeError(std::uint32_t error)
    {
        // Never translated, whatever locale the host program has set: a translation could come in any charset.
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 32)
        char const* const text = strerrordesc_np(static_cast<int>(error));
#else
        static locale_t const gEnglish = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
        char const* const text = strerror_l(static_cast<int>(error), gEnglish);
#endif
        return text ? text : "Unknown error " + std::to_string(error);
    }

    void MakeUniqueIdentifier(unsigned char (&bytes)[16])
    {
        uuid_generate_random(bytes);
    }
}
