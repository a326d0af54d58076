#pragma once

#include <QzBase/Export.h>
#include <QzBase/WideString.h>

namespace QzBase
{
    /// A recorded call stack, made by CreateCallStack and destroyed by Destroy. Used by one thread.
    class QZLOG_API CallStack
    {
    public:
        /// One frame.
        class Frame
        {
        public:
            /// "function at file:line"; "function in module+0x1234" without debug information, and
            /// "module+0x1234" without a name. The offset counts from the load address of the module.
            /// The first call on a frame looks the name up. The first look-up of a process reads the debug
            /// information, which takes some tenths of a second. Valid as long as the call stack. Throws
            /// std::bad_alloc.
            virtual unsigned short const* GetDescription() const = 0;

        protected:
            ~Frame() = default;
        };

        virtual unsigned int GetFrameCount() const = 0;

        /// \param index  below GetFrameCount(); 0 is the innermost frame.
        virtual Frame const& GetFrame(unsigned int index) const = 0;

        /// Destroys the object and frees its memory.
        virtual void Destroy() = 0;

    protected:
        virtual ~CallStack();
    };

    /// Records the stack of the calling thread; frame 0 is the function that calls this one, at every
    /// level of optimisation, unless that function ends in a jump here. Any thread; throws std::bad_alloc.
    /// \param buffer  null.
    /// \return        owned by the caller, who destroys it with Destroy.
    QZLOG_API CallStack* CreateCallStack(Buffer* buffer);
}
