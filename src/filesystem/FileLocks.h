#pragma once

#include "filesystem/FileObjects.h"
#include "support/synch/ForkableSection.h"

// Scoped guards of the exclusive lock on a whole file. The file must outlive its guard. Destructors never
// throw; constructors throw QzBase::Message when the lock fails for another reason than being taken.

namespace QzFileSystem
{
    /// Waits for the lock, without a time-out, and holds it until it is destroyed.
    class FileWriteLock
    {
    public:
        /// Holds nothing.
        FileWriteLock() = default;

        explicit FileWriteLock(WriteableFile& file);

        /// The same for the thread that holds `section`. A wait of more than some milliseconds is a gap in it.
        FileWriteLock(WriteableFile& file, QzSynch::ForkableSection& section);
        ~FileWriteLock() { Unlock(); }
        FileWriteLock(FileWriteLock const&) = delete;
        FileWriteLock& operator=(FileWriteLock const&) = delete;

        /// Releases the lock now, if it is held.
        void Unlock() noexcept;

        bool HoldsLock() const noexcept { return mLocked; }

    protected:
        FileWriteLock(WriteableFile& file, bool locked) noexcept : mpFile(&file), mLocked(locked) {}

        WriteableFile* mpFile = nullptr;
        bool mLocked = false;
    };

    /// Tries to get the lock; HoldsLock returns whether it has it.
    class FileTryWriteLock : public FileWriteLock
    {
    public:
        /// One attempt.
        explicit FileTryWriteLock(WriteableFile& file);

        /// Attempts at once and then after every 5000 milliseconds, the last one when the time is over.
        FileTryWriteLock(WriteableFile& file, unsigned int milliseconds);
    };
}
