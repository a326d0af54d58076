#pragma once

// One pointer per thread, with a function that gets it when the thread ends.

namespace QzOs
{
    /// Names a pointer that every thread has for itself. A key is never given back.
    using ThreadKey = unsigned int;

    /// Makes a new key, whose pointer is null in every thread, and puts it into `key`. Returns false when
    /// the process has no keys or no memory left.
    /// \param atThreadEnd  gets the pointer of a thread that ends, on that thread, if it is not null; the pointer is
    ///                     null by then. What can still set it at the end of a thread are the functions of other keys,
    ///                     those of the host program among them, and this one: then it is called again. After a few
    ///                     rounds over all keys (4 in glibc) the system stops, and the pointer is never handed over.
    ///                     The destructors of thread_local objects run before the first round. A thread that is still
    ///                     there when the process ends, or that is not in a forked child, has not ended.
    bool CreateThreadKey(ThreadKey& key, void (*atThreadEnd)(void* pointer)) noexcept;

    /// Sets the calling thread's pointer. Returns false, and changes nothing, when there is no memory for it.
    bool SetThreadPointer(ThreadKey key, void* pointer) noexcept;
}
