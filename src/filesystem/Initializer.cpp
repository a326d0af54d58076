#include "filesystem/Initializer.h"

#include <QzBase/System.h>

#include <atomic>

namespace QzFileSystem
{
    namespace
    {
        /// What the layer would keep for the process. It needs nothing so far.
        class Module
        {
        };

        constexpr unsigned int kFree = 0;
        constexpr unsigned int kHeld = 0x12345678;

        /// Constant-initialised and without a destructor: static objects may hold initializers.
        struct Record
        {
            std::atomic<unsigned int> mSpinWord{kFree};
            unsigned int mUseCount = 0;
            Module* mpModule = nullptr;
        };

        constinit Record gRecord;

        class SpinLock
        {
        public:
            SpinLock()
            {
                while (gRecord.mSpinWord.exchange(kHeld, std::memory_order_acquire) != kFree)
                    QzBase::Sleep(0);
            }

            ~SpinLock() { gRecord.mSpinWord.store(kFree, std::memory_order_release); }
            SpinLock(SpinLock const&) = delete;
            SpinLock& operator=(SpinLock const&) = delete;
        };
    }

    Initializer::Initializer()
    {
        SpinLock const hold;
        if (gRecord.mUseCount == 0)
            gRecord.mpModule = new Module;
        ++gRecord.mUseCount;
    }

    Initializer::~Initializer()
    {
        SpinLock const hold;
        if (--gRecord.mUseCount != 0)
            return;
        delete gRecord.mpModule;
        gRecord.mpModule = nullptr;
    }
}
