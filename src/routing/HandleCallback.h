#pragma once

#include <QzLog/Logger.h>

namespace QzLog
{
    /// A logger's callback for one handle only, as each router has one. A change of many handles then costs one test
    /// of each callback, and not one call for each pair of a callback and a handle.
    class HandleCallback : public Logger::Callback
    {
    public:
        unsigned short GetHandle() const noexcept { return mHandle; }

        /// Call it before the callback is added to the logger.
        void SetHandle(unsigned short handle) noexcept { mHandle = handle; }

    private:
        unsigned short mHandle = 0;
    };
}
