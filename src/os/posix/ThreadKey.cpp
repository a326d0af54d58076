#include "os/ThreadKey.h"

#include <pthread.h>

#include <type_traits>

namespace QzOs
{
    static_assert(std::is_same_v<ThreadKey, pthread_key_t>);

    bool CreateThreadKey(ThreadKey& key, void (*atThreadEnd)(void* pointer)) noexcept
    {
        return pthread_key_create(&key, atThreadEnd) == 0;
    }

    bool SetThreadPointer(ThreadKey key, void* pointer) noexcept
    {
        return pthread_setspecific(key, pointer) == 0;
    }
}
