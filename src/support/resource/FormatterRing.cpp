#include "support/resource/FormatterRing.h"

namespace QzResource
{
    FormatterRing::FormatterRing() noexcept
    {
        for (Item& item : mItems)
            item.mpRing = this;
    }

    MessageFormatter& FormatterRing::Take() noexcept
    {
        if (Item* const free = FindFree())
            return *free;
        bool const allAreUsed = mUsedItems == mItems.size();
        Item& item = allAreUsed ? static_cast<Item&>(*mInUse.mpNext) : mItems[mUsedItems++];
        Move(item, mInUse);
        item.Clear();
        return item;
    }

    /// A user may have filled a formatter again after it was formatted. Then it is in use again.
    FormatterRing::Item* FormatterRing::FindFree() noexcept
    {
        while (mFreeItems > kKeptTexts)
        {
            Item& item = static_cast<Item&>(*mFree.mpNext);
            Move(item, mInUse);
            item.mIsFree = false;
            --mFreeItems;
            if (item.IsEmpty())
                return &item;
        }
        return nullptr;
    }

    void FormatterRing::GiveBack(MessageFormatter& formatter) noexcept
    {
        Item& item = static_cast<Item&>(formatter);
        Move(item, mFree);
        mFreeItems += item.mIsFree ? 0 : 1;
        item.mIsFree = true;
    }

    void FormatterRing::Move(Item& item, Link& queue) noexcept
    {
        item.mpPrevious->mpNext = item.mpNext;
        item.mpNext->mpPrevious = item.mpPrevious;
        item.mpPrevious = queue.mpPrevious;
        item.mpNext = &queue;
        queue.mpPrevious->mpNext = &item;
        queue.mpPrevious = &item;
    }
}
