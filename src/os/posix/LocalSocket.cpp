#include "os/posix/LocalSocket.h"

#include "os/posix/Kernel.h"
#include "os/posix/StandardDescriptors.h"

#include <algorithm>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>

namespace QzOs::Posix
{
    LocalSocket::LocalSocket(std::string_view path, int type, Receiver& receiver, MessageDeadline& deadline)
        : mReceiver(receiver),
          mDeadline(deadline),
          mDescriptor(OpenAboveStandard([=] { return ::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); })),
          mError(mDescriptor == -1 ? errno : Connect(path))
    {
    }

    LocalSocket::~LocalSocket()
    {
        if (mDescriptor != -1)
            gKernel.mpClose(mDescriptor);
    }

    int LocalSocket::Connect(std::string_view path)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        void const* const target = &address;
        // A stream's receiver has a queue of connections. It can be full, and poll cannot wait for it.
        for (;;)
        {
            if (::connect(mDescriptor, static_cast<sockaddr const*>(target), sizeof(address)) == 0)
                return 0;
            int const error = errno;
            if (error != EINTR && (error != EAGAIN || !mReceiver.WaitAMoment(mDeadline)))
                return error;
        }
    }

    int LocalSocket::SendMessage(msghdr const& message, std::size_t& sent)
    {
        for (;;)
        {
            ssize_t const result = ::sendmsg(mDescriptor, &message, MSG_NOSIGNAL);
            if (result >= 0)
            {
                mReceiver.HasTaken();
                sent = static_cast<std::size_t>(result);
                return 0;
            }
            int const error = errno;
            if (error != EINTR && (error != EAGAIN || !mReceiver.WaitForRoom(mDescriptor, mDeadline)))
                return error;
        }
    }

    int LocalSocket::Send(std::string_view bytes)
    {
        int error = 0;
        while (error == 0 && !bytes.empty())
        {
            iovec piece{const_cast<char*>(bytes.data()), bytes.size()};
            msghdr message = {};
            message.msg_iov = &piece;
            message.msg_iovlen = 1;
            std::size_t sent = 0;
            error = SendMessage(message, sent);
            bytes.remove_prefix(sent);
        }
        return error;
    }

    int LocalSocket::SendDescriptor(int descriptor)
    {
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(descriptor))] = {};
        msghdr message = {};
        message.msg_control = control;
        message.msg_controllen = sizeof(control);
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(descriptor));
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof(descriptor));
        std::size_t sent = 0;
        return SendMessage(message, sent);
    }

    bool LocalSocket::IsTooLarge(int error) noexcept
    {
        return error == EMSGSIZE || error == ENOBUFS;
    }

    std::size_t LocalSocket::GetFirstCut(std::size_t size) const noexcept
    {
        int buffer = 0;
        socklen_t length = sizeof(buffer);
        if (::getsockopt(mDescriptor, SOL_SOCKET, SO_SNDBUF, &buffer, &length) != 0 || buffer <= 0)
            return size;
        return std::min(size, static_cast<std::size_t>(buffer));
    }

    std::string LocalSocket::Cut(std::string_view text, std::size_t size)
    {
        while (size > 0 && size < text.size() && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80)
            --size;
        std::string cut(text.substr(0, size));
        return cut.append(" [").append(std::to_string(text.size() - size)).append(" more bytes]");
    }
}
