#pragma once

// Counts what the calling thread allocates with operator new, and lets it fail.

namespace Allocations
{
    int GetCount();

    /// The next `count` allocations of this thread succeed, all later ones throw. -1: none throws.
    void FailAfter(int count);
}
