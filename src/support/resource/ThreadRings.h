#pragma once

namespace QzResource
{
    /// Makes what the formatters of all threads hang on. Throws std::bad_alloc; the first formatter tries
    /// again.
    void PrepareThreadRings();
}
