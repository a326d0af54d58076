#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

#include <cstdint>

namespace QzLog
{
    /// Keeps the module alive. The first one creates the module; the destructor of the last one ends it. It can be
    /// started again later. Copies count. Objects that are still held when the module ends remain valid, but log
    /// calls on them do nothing, also when the module runs again. Create new routers then.
    ///
    /// Any thread may construct and destroy one; static objects may hold one. The destructor of the last one waits for
    /// calls of this library on other threads. If it runs inside such a call of its own thread (in a destination or a
    /// hook), the module ends when that call returns. If the module cannot be constructed, the constructor throws what
    /// prevented it, and the next Initializer tries again. The destructor of an object that is destroyed together with
    /// the module must not construct an Initializer: that throws QzBase::Message.
    class QZLOG_API Initializer
    {
    public:
        [[nodiscard]] Initializer();
        Initializer(Initializer const&);
        Initializer& operator=(Initializer const&) noexcept { return *this; }
        ~Initializer();
    };

    // The free functions that need the module (those below, GetLogger, CreateRouter, the factories of
    // destinations, and the functions for the configuration hook and the thread identity) may be called
    // from any thread. They throw QzBase::Message while no Initializer is alive.

    /// The name that distinguishes this server from others on the machine; empty until it is set. UTF-16.
    QZLOG_API QzBase::ReturnWString GetServerInstanceName();

    /// Sets the server instance name, UTF-16; null sets the empty name. Headers show it from the next message of each
    /// thread on. The first name that is not empty becomes part of the topic of Destination_KafkaLog, for the life
    /// of the process.
    QZLOG_API void SetServerInstanceName(unsigned short const* name);

    /// The calling thread's episode number, 0 at first. Each thread has its own. The library only stores it.
    QZLOG_API std::uint64_t GetEpisodeNumber();
    QZLOG_API void SetEpisodeNumber(std::uint64_t number);
}
