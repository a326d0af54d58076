#pragma once

#include <string>

namespace ReportingServer
{
    /// What the server waits for: request lines and signals, both by one thread in one place. The signals SIGHUP,
    /// SIGINT and SIGTERM are blocked and read as data, so nothing ever runs inside a signal handler.
    class Input
    {
    public:
        enum class Event
        {
            /// A line has arrived, without its line end, LF or CR LF.
            Line,
            /// SIGHUP: the settings have changed.
            HangUp,
            /// SIGINT or SIGTERM.
            Stop,
            /// There are no more lines.
            End
        };

        /// Blocks the signals for the calling thread and those that it will start. To be called before the first
        /// thread starts.
        static void BlockSignals();

        /// \param path  a file, or "-" for the standard input. Throws std::system_error.
        explicit Input(std::string const& path);
        ~Input();
        Input(Input const&) = delete;
        Input& operator=(Input const&) = delete;

        /// Waits for the next event; signals go before lines. Throws std::system_error when reading fails.
        Event Wait(std::string& line);

    private:
        void WaitForData(bool lineIsThere);
        void Fill();
        Event ReadSignal();

        int mLines;   // descriptor
        int mSignals; // descriptor
        bool mSignalIsThere = false;
        bool mDataIsThere = false;
        bool mIsAtEnd = false;
        std::string mText;
    };
}
