#pragma once

#include <QzLog/Logger.h>

namespace QzLog
{
    /// A logger's callback that is told of one handle only, as each router's is. What concerns many handles at once
    /// then costs a look at each callback, and not a call for each pair of a callback and a handle.
    class HandleCallback : public Logger::Callback
    {
    public:
        unsigned short GetHandle() const noexcept { return mHandle; }

        /// Before it is added to the logger.
        void SetHandle(unsigned short handle) noexcept { mHandle = handle; }

    private:
        unsigned short mHandle = 0;
    };
}
