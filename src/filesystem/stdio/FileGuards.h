#pragma once

#include <cstdio>
#include <utility>

// Scoped guards for the descriptors of FileDescriptors.h and the streams of FileStreams.h. The library itself uses
// ScopedDescriptor alone.

namespace QzFileSystem::File
{
    /// Closes a descriptor when it is destroyed.
    class ScopedDescriptor
    {
    public:
        /// Becomes the owner of the descriptor; -1 is none.
        explicit ScopedDescriptor(int descriptor) noexcept : mDescriptor(descriptor) {}
        ~ScopedDescriptor() { Close(); }
        ScopedDescriptor(ScopedDescriptor const&) = delete;
        ScopedDescriptor& operator=(ScopedDescriptor const&) = delete;

        int Get() const noexcept { return mDescriptor; }

        /// Closes it now. Returns whether closing reported no failure of what was written to it.
        bool Close() noexcept;

        /// Gives it up without closing it.
        [[nodiscard]] int Release() noexcept { return std::exchange(mDescriptor, -1); }

    private:
        int mDescriptor;
    };

    /// Closes a stream when it is destroyed.
    class ScopedStream
    {
    public:
        /// Becomes the owner of the stream; null is none.
        explicit ScopedStream(std::FILE* stream) noexcept : mpStream(stream) {}
        ~ScopedStream();
        ScopedStream(ScopedStream const&) = delete;
        ScopedStream& operator=(ScopedStream const&) = delete;

        std::FILE* Get() const noexcept { return mpStream; }

    private:
        std::FILE* mpStream;
    };

    /// What the two lock guards share. The descriptor is not owned. Taking the lock waits, and throws
    /// QzBase::Message when it fails; the destructor never throws.
    class ScopedLock
    {
    public:
        ScopedLock(ScopedLock const&) = delete;
        ScopedLock& operator=(ScopedLock const&) = delete;

        /// Takes the lock again, if it is not held.
        void Lock();

        /// Releases the lock, if it is held.
        void Unlock();

    protected:
        using Operation = void (*)(int descriptor, bool wait);

        ScopedLock(int descriptor, Operation lock);
        ScopedLock(std::FILE* stream, Operation lock);
        ~ScopedLock();

    private:
        Operation mpLock;
        int mDescriptor;
        bool mLocked = false;
    };

    /// Holds the exclusive lock on the whole file of a descriptor or stream. A null stream is the descriptor -1.
    class ScopedWriteLock : public ScopedLock
    {
    public:
        explicit ScopedWriteLock(int descriptor);
        explicit ScopedWriteLock(std::FILE* stream);
    };

    /// Holds the shared lock.
    class ScopedReadLock : public ScopedLock
    {
    public:
        explicit ScopedReadLock(int descriptor);
        explicit ScopedReadLock(std::FILE* stream);
    };
}
