#include "Input.h"

#include "Request.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace ReportingServer
{
    namespace
    {
        [[noreturn]] void Fail(int error, std::string const& what)
        {
            throw std::system_error(error, std::generic_category(), what);
        }

        sigset_t MakeSignalSet()
        {
            sigset_t signals;
            sigemptyset(&signals);
            sigaddset(&signals, SIGHUP);
            sigaddset(&signals, SIGINT);
            sigaddset(&signals, SIGTERM);
            return signals;
        }

        int OpenLines(std::string const& path)
        {
            int const lines =
                path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
            if (lines < 0)
                Fail(errno, "cannot open '" + path + "'");
            return lines;
        }
    }

    void Input::BlockSignals()
    {
        sigset_t const signals = MakeSignalSet();
        if (int const error = pthread_sigmask(SIG_BLOCK, &signals, nullptr))
            Fail(error, "cannot block the signals");
    }

    Input::Input(std::string const& path) : mLines(OpenLines(path))
    {
        sigset_t const signals = MakeSignalSet();
        mSignals = signalfd(-1, &signals, SFD_CLOEXEC);
        if (mSignals < 0)
        {
            int const error = errno;
            close(mLines);
            Fail(error, "cannot watch the signals");
        }
    }

    Input::~Input()
    {
        close(mSignals);
        close(mLines);
    }

    Input::Event Input::Wait(std::string& line)
    {
        for (;;)
        {
            std::size_t const end = mText.find('\n');
            bool const lineIsThere = end != mText.npos || mIsAtEnd;
            WaitForData(lineIsThere);
            if (mSignalIsThere)
                return ReadSignal();
            if (end != mText.npos)
            {
                line.assign(mText, 0, end);
                mText.erase(0, end + 1);
                if (line.ends_with('\r'))
                    line.pop_back();
                return Event::Line;
            }
            if (mIsAtEnd)
            {
                // The last line may lack its end.
                line = std::exchange(mText, std::string());
                return line.empty() ? Event::End : Event::Line;
            }
            if (mDataIsThere)
                Fill();
        }
    }

    void Input::WaitForData(bool lineIsThere)
    {
        pollfd waits[] = {{mSignals, POLLIN, 0}, {lineIsThere ? -1 : mLines, POLLIN, 0}};
        while (poll(waits, 2, lineIsThere ? 0 : -1) < 0)
            if (errno != EINTR)
                Fail(errno, "cannot wait for requests");
        mSignalIsThere = waits[0].revents != 0;
        mDataIsThere = waits[1].revents != 0;
    }

    void Input::Fill()
    {
        char piece[16384];
        ssize_t const count = read(mLines, piece, sizeof piece);
        if (count < 0 && errno != EINTR && errno != EAGAIN)
            Fail(errno, "cannot read requests");
        mIsAtEnd = count == 0;
        if (count <= 0)
            return;

        // Of a line without an end only so much is kept as tells that it is too long.
        if (mText.size() > kLongestLine)
            mText.resize(kLongestLine + 1);
        mText.append(piece, static_cast<std::size_t>(count));
    }

    Input::Event Input::ReadSignal()
    {
        signalfd_siginfo signal = {};
        if (read(mSignals, &signal, sizeof signal) != static_cast<ssize_t>(sizeof signal))
            Fail(errno, "cannot read a signal");
        return signal.ssi_signo == SIGHUP ? Event::HangUp : Event::Stop;
    }
}
