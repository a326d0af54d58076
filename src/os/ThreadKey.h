#pragma once

// One pointer per thread, with a function that gets it when the thread ends. Unlike the destructors of
// thread_local objects, which run first, it is called again for a pointer that was set meanwhile.

namespace QzOs
{
    /// Names a pointer that every thread has for itself. A key is never given back.
    using ThreadKey = unsigned int;

    /// Makes a new key, whose pointer is null in every thread, and puts it into `key`. Returns false when
    /// the process has no keys left.
    /// \param atThreadEnd  gets the pointer of a thread that ends, on that thread, if it is not null; the
    ///                     pointer is set to null before. If the function sets it again it is called again,
    ///                     a few times at most. Not called for the thread that ends the process.
    bool CreateThreadKey(ThreadKey& key, void (*atThreadEnd)(void* pointer)) noexcept;

    /// Sets the calling thread's pointer. Returns false, and changes nothing, when there is no memory for it.
    bool SetThreadPointer(ThreadKey key, void* pointer) noexcept;
}
