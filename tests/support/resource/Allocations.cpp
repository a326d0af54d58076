#include "support/resource/Allocations.h"

#include <cstdlib>
#include <new>

namespace
{
    thread_local int gCount = 0;
    thread_local int gLeft = -1;
}

namespace Allocations
{
    int GetCount()
    {
        return gCount;
    }
    void FailAfter(int count)
    {
        gLeft = count;
    }
}

void* operator new(std::size_t size)
{
    ++gCount;
    if (gLeft == 0)
        throw std::bad_alloc();
    if (gLeft > 0)
        --gLeft;
    if (void* const memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
