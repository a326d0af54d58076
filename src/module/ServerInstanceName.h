#pragma once

#include <QzBase/ReturnString.h>
#include <QzBase/WideString.h>
#include <QzSynch/Locks.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace QzLog
{
    /// The server instance name, in both encodings. Any thread may read and change it at any time.
    class ServerInstanceName
    {
    public:
        /// A thread's own copy of the UTF-8 form.
        struct Copy
        {
            std::string mText;
            std::uint64_t mChange = 0;
        };

        ServerInstanceName();

        QzBase::ReturnWString Get() const;

        /// \param name  UTF-16; null sets the empty name.
        void Set(unsigned short const* name);

        /// Brings a copy up to date. While the name does not change, this is one read of a number that nobody
        /// writes, so threads do not contend for it.
        void Refresh(Copy& copy) const;

    private:
        QzSynch::RWLockPtr const mpLock;
        QzBase::WideString mName;
        std::string mUTF8;
        /// How often the name was set. Written under the lock.
        std::atomic<std::uint64_t> mChange{0};
    };
}
