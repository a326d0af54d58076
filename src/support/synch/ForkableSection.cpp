#include "support/synch/ForkableSection.h"

#include <utility>

namespace QzSynch
{
    ForkableSection::ForkableSection(ForkHold::Rank rank, Client& client)
        : mClient(client), mpLock(CreateForkSafeSection(kLockStackCategoryDefault, rank, this))
    {
    }

    ForkableSection::Hold::Hold(ForkableSection& section) : mSection(section), mInside(std::in_place, *section.mpLock)
    {
        while (mSection.mpHolder)
        {
            int const turn = mSection.mTurn.load();
            mInside.reset();
            mSection.mTurn.wait(turn);
            mInside.emplace(*mSection.mpLock);
        }
        mSection.mpHolder = this;
    }

    ForkableSection::Hold::~Hold()
    {
        mSection.mpHolder = nullptr;
        mInside.reset();
        if (!mHadGap)
            return;
        // Only now, so that the woken threads do not find the section taken.
        mSection.mTurn.fetch_add(1);
        mSection.mTurn.notify_all();
    }

    ForkableSection::Gap::Gap(ForkableSection& section) : mHold(*section.mpHolder)
    {
        mHold.mHadGap = true;
        mHold.mInside.reset();
    }

    ForkableSection::Gap::~Gap()
    {
        mHold.mInside.emplace(*mHold.mSection.mpLock);
    }

    void ForkableSection::GoOnInForkedChild() noexcept
    {
        bool const wasGap = std::exchange(mpHolder, nullptr) != nullptr;
        mClient.GoOnInForkedChild(wasGap);
    }
}
