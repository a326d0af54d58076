#pragma once

#include "os/posix/Receiver.h"

#include <cstddef>
#include <string>
#include <string_view>

struct msghdr;

namespace QzOs::Posix
{
    /// A connection to a socket at a path of this machine, for one event. Nothing waits beyond the deadline of the
    /// event. All results are 0 or an error number.
    class LocalSocket
    {
    public:
        /// \param type  SOCK_DGRAM or SOCK_STREAM. Receiver and deadline outlive this object.
        LocalSocket(std::string_view path, int type, Receiver& receiver, MessageDeadline& deadline);
        ~LocalSocket();
        LocalSocket(LocalSocket const&) = delete;
        LocalSocket& operator=(LocalSocket const&) = delete;

        /// 0 if connected. EPROTOTYPE: the socket at the path is of the other type.
        int GetError() const noexcept { return mError; }

        /// Sends one datagram, or a whole piece of the stream.
        int Send(std::string_view bytes);

        /// Sends an empty datagram that hands a descriptor over.
        int SendDescriptor(int descriptor);

        /// Whether a result of sending says that a datagram is larger than the system takes.
        static bool IsTooLarge(int error) noexcept;

        /// Sends the datagram that `make` makes of as much of the text as fits: cut at the end of a character, and with
        /// a mark that says how much is left out.
        template <class Make>
        int SendCut(std::string_view text, Make const& make)
        {
            int error = 0;
            std::size_t size = GetFirstCut(text.size());
            do
                error = Send(make(Cut(text, size)));
            while (IsTooLarge(error) && (size -= size / 16) >= kSmallestCut);
            return error;
        }

    private:
        static constexpr std::size_t kSmallestCut = 256;

        static std::string Cut(std::string_view text, std::size_t size);
        /// A length that is certainly still too large.
        std::size_t GetFirstCut(std::size_t size) const noexcept;

        int Connect(std::string_view path);
        int SendMessage(msghdr const& message, std::size_t& sent);

        Receiver& mReceiver;
        MessageDeadline& mDeadline;
        int mDescriptor;
        int mError;
    };
}
