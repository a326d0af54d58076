#include "support/resource/Localizer_Impl.h"
#include "support/resource/ThreadRings.h"

#include <new>

namespace QzResource
{
    Initializer::Initializer() noexcept
    {
        try
        {
            PrepareThreadRings();
            GetLocalizer_Impl();
        }
        catch (std::bad_alloc const&)
        {
            // Set up again at the first use, which reports the failure.
            return;
        }
    }

    Initializer::Initializer(Initializer const&) noexcept : Initializer() {}
}
