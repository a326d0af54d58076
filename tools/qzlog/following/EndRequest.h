#pragma once

namespace QzLogTool
{
    /// The wish that a following ends: SIGINT, SIGTERM, or nobody reads standard output any more.
    class EndRequest
    {
    public:
        /// From now on the signals do not end the process, unless one comes a second time. What whoever started the
        /// tool has told it to ignore stays ignored. On the main thread.
        static void Listen();

        static bool IsMade();

        /// Whether it was made by a signal. Costs nothing to ask.
        static bool IsSignalled();

        /// Waits until a descriptor can be read, the end is asked for, or so much time has gone by.
        /// \param descriptor  -1 for none.
        /// \return  whether the descriptor can be read.
        static bool Wait(int descriptor, int milliseconds);
    };
}
