#pragma once

#include <QzBase/Message.h>

#include <cstddef>

namespace QzBase
{
    /// Has access to the members of a message, to reuse their memory.
    class MessageMemory
    {
    public:
        /// Gives `to` the value of `from` in the memory that `to` has. `from` may be a part of `to`, and not the other
        /// way round. `to` is valid, and has no particular value, when it throws std::bad_alloc.
        static void Assign(Message& to, Message const& from);

        /// Whether a message with its causes holds more memory than is kept (KeptMemory.h).
        static bool IsLong(Message const& message) noexcept;

    private:
        static void AssignInPlace(Message& to, Message const& from);
        static bool IsPart(Message const& message, Message const& part) noexcept;
        static std::size_t CountBytes(Message const& message) noexcept;
    };
}
