#include "support/base/ProcessLanguage.h"

#include <atomic>

namespace QzBase
{
    namespace
    {
        constinit std::atomic<unsigned short> gProcessLanguage{0x0409};
    }

    unsigned short GetProcessLanguage() noexcept
    {
        return gProcessLanguage.load(std::memory_order_relaxed);
    }

    void SetProcessLanguage(unsigned short languageID) noexcept
    {
        if (languageID != 0)
            gProcessLanguage.store(languageID, std::memory_order_relaxed);
    }
}
