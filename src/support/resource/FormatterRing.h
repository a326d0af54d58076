#pragma once

#include <QzResource/MessageFormatter.h>

#include <array>
#include <cstddef>

namespace QzResource
{
    /// The formatters of one thread. A formatter is in use from Take until it is formatted. Then it is free, but its
    /// text may still be in delivery. Both kinds are in a queue, the oldest first.
    class FormatterRing
    {
    public:
        FormatterRing() noexcept;
        FormatterRing(FormatterRing const&) = delete;
        FormatterRing& operator=(FormatterRing const&) = delete;

        /// An empty formatter: the free one with the oldest text, or, if too many are in use, the one that has been in
        /// use for the longest time.
        MessageFormatter& Take() noexcept;

        /// For a formatter of this ring that has just been formatted.
        void GiveBack(MessageFormatter& formatter) noexcept;

    private:
        /// How many formatters of a thread can be in use at once.
        static constexpr std::size_t kMostInUse = 16;
        /// How many texts stay valid besides the newest one.
        static constexpr std::size_t kKeptTexts = 16;

        struct Link
        {
            Link* mpPrevious = this;
            Link* mpNext = this;
        };

        struct Item : Link, MessageFormatter
        {
            bool mIsFree = false;
        };

        /// Puts the item at the end of a queue.
        static void Move(Item& item, Link& queue) noexcept;

        Item* FindFree() noexcept;

        std::array<Item, kMostInUse + kKeptTexts> mItems;
        /// How many items have ever been taken. The others are in no queue, so that the few formatters of a thread
        /// stay in its caches.
        std::size_t mUsedItems = 0;
        std::size_t mFreeItems = 0;
        Link mInUse;
        Link mFree;
    };
}
