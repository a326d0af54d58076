#pragma once

#include <QzResource/MessageFormatter.h>

#include <array>
#include <cstddef>

namespace QzResource
{
    /// The formatters of one thread. Those in use have been handed out and not been formatted since; the free ones
    /// were formatted, and their texts may still be on their way to a destination. Both queue up, the oldest first.
    class FormatterRing
    {
    public:
        FormatterRing() noexcept;
        FormatterRing(FormatterRing const&) = delete;
        FormatterRing& operator=(FormatterRing const&) = delete;

        /// An empty formatter: a free one whose text is the oldest, or the one that has been in use for the longest
        /// time when too many are.
        MessageFormatter& Take() noexcept;

        /// For a formatter of this ring that has just been formatted.
        void GiveBack(MessageFormatter& formatter) noexcept;

    private:
        /// How many formatters of a thread can be in use at once.
        static constexpr std::size_t kMostInUse = 16;
        /// How many texts stay valid behind the newest one.
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

        /// Puts the item behind all others of a queue.
        static void Move(Item& item, Link& queue) noexcept;

        Item* FindFree() noexcept;

        std::array<Item, kMostInUse + kKeptTexts> mItems;
        /// How many items have ever been handed out; the others are in no queue, so that a thread's few formatters
        /// stay in its caches.
        std::size_t mUsedItems = 0;
        std::size_t mFreeItems = 0;
        Link mInUse;
        Link mFree;
    };
}
