#include "filesystem/FileLocks.h"

#include <QzBase/System.h>

#include <algorithm>

namespace QzFileSystem
{
    namespace
    {
        constexpr unsigned int kLongestPause = 5000;
    }

    FileWriteLock::FileWriteLock(WriteableFile& file) : FileWriteLock(file, file.WriteLock(false)) {}

    FileWriteLock::FileWriteLock(WriteableFile& file, QzSynch::ForkableSection& section)
        : FileWriteLock(file, file.WriteLockSoon())
    {
        if (mLocked)
            return;
        QzSynch::ForkableSection::Gap const gap(section);
        mLocked = file.WriteLock(false);
    }

    void FileWriteLock::Unlock() noexcept
    {
        if (!mLocked)
            return;
        mLocked = false;
        mpFile->Unlock();
    }

    FileTryWriteLock::FileTryWriteLock(WriteableFile& file) : FileTryWriteLock(file, 0) {}

    FileTryWriteLock::FileTryWriteLock(WriteableFile& file, unsigned int milliseconds)
        : FileWriteLock(file, file.WriteLock(true))
    {
        while (!mLocked && milliseconds != 0)
        {
            unsigned int const pause = std::min(milliseconds, kLongestPause);
            QzBase::Sleep(pause);
            milliseconds -= pause;
            mLocked = file.WriteLock(true);
        }
    }
}
