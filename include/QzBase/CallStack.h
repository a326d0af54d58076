#pragma once

#include <QzBase/Export.h>
#include <QzBase/WideString.h>

namespace QzBase
{
    /// A recorded call stack, made by CreateCallStack and ended by Destroy. Used by one thread.
    class QZLOG_API CallStack
    {
    public:
        /// One frame.
        class Frame
        {
        public:
            /// "function at file:line" as far as debug information tells them, else module and address.
            /// Valid as long as the call stack.
            virtual unsigned short const* GetDescription() const = 0;

        protected:
            ~Frame() = default;
        };

        virtual unsigned int GetFrameCount() const = 0;

        /// \param index  below GetFrameCount(); 0 is the innermost frame.
        virtual Frame const& GetFrame(unsigned int index) const = 0;

        /// Ends the object and frees its memory.
        virtual void Destroy() = 0;

    protected:
        virtual ~CallStack();
    };

    /// Records the stack of the calling thread; frame 0 is the function that calls this one. The names
    /// are looked up here: the first call of a process takes tens of milliseconds.
    /// \param buffer  null.
    /// \return        owned by the caller, who ends it with Destroy.
    QZLOG_API CallStack* CreateCallStack(Buffer* buffer);
}
