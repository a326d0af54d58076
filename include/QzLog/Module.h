#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

#include <cstdint>

namespace QzLog
{
    /// Keeps the module alive: the first one creates it, the end of the last one ends it, and it may start
    /// again after that. Copies count. Objects that are still held when the module ends remain valid: log
    /// calls on them do nothing, also when the module runs again. Make new routers then.
    ///
    /// Construction and destruction may happen on any thread. The end of the last one waits for the calls of this
    /// library that are in flight on other threads; when it comes inside such a call of its own thread (in a
    /// destination or a hook), the module ends with that call. Static objects may hold one. Construction throws
    /// what the construction of the module throws; there is no module then, and the next Initializer tries again.
    /// An object that goes with the module must not make one: that throws QzBase::Message.
    class QZLOG_API Initializer
    {
    public:
        Initializer();
        Initializer(Initializer const&);
        Initializer& operator=(Initializer const&) noexcept { return *this; }
        ~Initializer();
    };

    // The free functions of this library that need the module (those below, GetLogger, CreateRouter, the
    // factories of destinations, the functions of the configuration hook and of the thread identity) may be
    // called from any thread. They throw QzBase::Message while no Initializer is alive.

    /// The name of this server among those of the machine; empty until it is set. UTF-16.
    QZLOG_API QzBase::ReturnWString GetServerInstanceName();

    /// Sets the server instance name, UTF-16. The headers carry it from the next message of each thread on. Null sets
    /// the empty name. The first name that is not empty becomes part of the topic of Destination_KafkaLog, for
    /// the life of the process.
    QZLOG_API void SetServerInstanceName(unsigned short const* name);

    /// The calling thread's episode number, 0 at first. Each thread has its own; the library only keeps it.
    QZLOG_API std::uint64_t GetEpisodeNumber();
    QZLOG_API void SetEpisodeNumber(std::uint64_t number);
}
