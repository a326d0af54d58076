#include "filesystem/stdio/FileGuards.h"

#include "filesystem/stdio/FileDescriptors.h"
#include "filesystem/stdio/FileStreams.h"
#include "os/FilesStreams.h"

namespace QzFileSystem::File
{
    bool ScopedDescriptor::Close() noexcept
    {
        return CloseDescriptor(std::exchange(mDescriptor, -1));
    }

    ScopedStream::~ScopedStream()
    {
        CloseStream(mpStream);
    }

    ScopedLock::ScopedLock(int descriptor, Operation lock) : mpLock(lock), mDescriptor(descriptor)
    {
        Lock();
    }

    ScopedLock::ScopedLock(std::FILE* stream, Operation lock) : ScopedLock(QzOs::ToDescriptor(stream), lock) {}

    ScopedLock::~ScopedLock()
    {
        if (mLocked)
            QzOs::UnlockFile(QzOs::FromDescriptor(mDescriptor));
    }

    void ScopedLock::Lock()
    {
        if (mLocked)
            return;
        mpLock(mDescriptor, true);
        mLocked = true;
    }

    void ScopedLock::Unlock()
    {
        if (std::exchange(mLocked, false))
            File::Unlock(mDescriptor);
    }

    ScopedWriteLock::ScopedWriteLock(int descriptor) : ScopedLock(descriptor, WriteLock) {}
    ScopedWriteLock::ScopedWriteLock(std::FILE* stream) : ScopedLock(stream, WriteLock) {}

    ScopedReadLock::ScopedReadLock(int descriptor) : ScopedLock(descriptor, ReadLock) {}
    ScopedReadLock::ScopedReadLock(std::FILE* stream) : ScopedLock(stream, ReadLock) {}
}
