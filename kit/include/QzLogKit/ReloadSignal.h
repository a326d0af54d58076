#pragma once

#include <QzLogKit/Export.h>
#include <QzLogKit/Routing.h>

#include <csignal>

namespace QzLogKit
{
    /// Turns a signal, usually SIGHUP, into a reload of the settings, in the thread that the server chooses. The signal
    /// handler only makes a descriptor readable; nothing starts a thread.
    ///
    ///     QzLogKit::ReloadSignal hangUp(routing);
    ///     pollfd waits[] = {{hangUp.GetDescriptor(), POLLIN, 0}, ...};    // a server with a loop
    ///     ...
    ///     if (waits[0].revents != 0)
    ///         hangUp.ReloadIfAsked();
    ///
    /// A server without a loop calls ReloadIfAsked now and then, for instance before each request: if no signal has
    /// come, that reads one flag.
    ///
    /// The handler is installed with SA_RESTART, so that system calls of other threads go on as far as the system
    /// restarts them (poll and its like end with EINTR). It reaches any thread that does not block the signal; nothing
    /// about masks is changed, and programs that the process executes get the signal's default. A server that handles
    /// the signal itself, in a handler of its own or with signalfd, needs no object of this class: it calls
    /// Routing::Reload from where it reads the signal.
    ///
    /// In a forked child the signal does nothing until the child has made an object of its own, after it has destroyed
    /// the inherited one.
    class QZLOGKIT_API ReloadSignal
    {
    public:
        /// \param routing  must outlive the object.
        /// Throws QzBase::Message if another object lives in the process, if the signal has a handler already (one that
        /// is ignored or has its default effect is taken over), or if the system refuses.
        explicit ReloadSignal(Routing& routing, int signal = SIGHUP);

        /// Gives the signal back what it had before, unless somebody has installed another handler meanwhile.
        ~ReloadSignal();

        ReloadSignal(ReloadSignal const&) = delete;
        ReloadSignal& operator=(ReloadSignal const&) = delete;

        /// Becomes readable when the signal has come, until ReloadIfAsked. Only to be waited for: with poll, select or
        /// epoll. It is open until the process ends, and closed on exec.
        int GetDescriptor() const;

        /// Calls Routing::Reload if the signal has come since the last call, any number of times, and returns whether
        /// it has. May be called from any thread. Throws what Reload throws: the settings in force are then unchanged,
        /// and the next signal tries again.
        bool ReloadIfAsked();

    private:
        Routing& mRouting;
        int const mSignal;
    };
}
