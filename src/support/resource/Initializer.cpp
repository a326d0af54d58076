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
            // Asked for again, and reported, where it is first needed.
            return;
        }
    }

    Initializer::Initializer(Initializer const&) noexcept : Initializer() {}
}
