#pragma once

#include <new>

#include <sys/mman.h>

/// An object in memory that forked processes share with this one, so that it survives a SIGKILL of theirs. Null when
/// there is no memory. Stays until the process ends.
template <class T>
T* CreateShared()
{
    void* const memory =
        mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return memory == MAP_FAILED ? nullptr : new (memory) T;
}
