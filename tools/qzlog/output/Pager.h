#pragma once

namespace QzLogTool
{
    /// A program that shows standard output page by page, of which there is one at most. Used by the main thread.
    class Pager
    {
    public:
        /// Starts what QZLOG_PAGER says, else PAGER, else `less` if it is there, and gives it standard output; standard
        /// error too where that is a terminal. Does nothing unless standard output is a terminal that can do something
        /// (TERM), nor if the command is empty or "cat". SIGINT then waits for the pager before it ends the process.
        /// Nor does SIGPIPE end it any more: whoever writes throws Closed instead.
        static void Start();

        static bool IsRunning();

        /// The pager reads nothing more: the user has quit it, or it could not be started.
        class Closed
        {
        };

        /// Ends the output and waits until the user has seen enough. Standard output cannot be written after it.
        /// Returns false if the pager could not be started.
        static bool End();
    };
}
