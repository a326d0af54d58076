#include "module/ServerInstanceName.h"

#include "support/base/KeptMemory.h"
#include "support/synch/ForkSafeLocks.h"

#include <QzBase/Conversions.h>

namespace QzLog
{
    ServerInstanceName::ServerInstanceName() : mpLock(QzSynch::CreateForkSafeRWLock(QzSynch::kLockStackCategoryDefault))
    {
    }

    QzBase::ReturnWString ServerInstanceName::Get() const
    {
        QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
        return QzBase::ReturnWString(mName.size(), mName.c_str());
    }

    void ServerInstanceName::Set(unsigned short const* name)
    {
        QzBase::WideString wide;
        if (name)
            wide = name;
        std::string utf8(QzBase::WideCharToUTF8(name, false).c_str());
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        mName.swap(wide);
        mUTF8.swap(utf8);
        mChange.fetch_add(1, std::memory_order_release);
    }

    void ServerInstanceName::Refresh(Copy& copy) const
    {
        if (mChange.load(std::memory_order_acquire) == copy.mChange)
            return;
        QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
        copy.mText = mUTF8;
        QzBase::GiveBackSpareMemory(copy.mText);
        copy.mChange = mChange.load(std::memory_order_relaxed);
    }
}
