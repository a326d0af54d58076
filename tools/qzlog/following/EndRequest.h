#pragma once

namespace QzLogTool
{
    /// A request to stop following: SIGINT, SIGTERM, or nobody reads standard output any more.
    class EndRequest
    {
    public:
        /// From now on the signals do not end the process, unless one comes a second time. Signals that were ignored
        /// when the tool was started stay ignored. Call it on the main thread.
        static void Listen();

        static bool IsMade();

        /// Whether it was made by a signal. Costs nothing to ask.
        static bool IsSignalled();

        /// Waits until a descriptor can be read, the end is requested, or so much time has passed.
        /// \param descriptor  -1 for none.
        /// \return  whether the descriptor can be read.
        static bool Wait(int descriptor, int milliseconds);
    };
}
