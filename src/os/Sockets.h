#pragma once

namespace QzOs
{
    /// Opens a socket of that kind, given in the system's own numbers: closed on exec, and never as one of the standard
    /// streams. Answers -1 when it fails. Any thread.
    int OpenSocket(int domain, int type, int protocol);
}
