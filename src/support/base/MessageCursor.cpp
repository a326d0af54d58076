#include <QzBase/Message.h>

namespace QzBase
{
    ConstMessageCursor::ConstMessageCursor(Message const& message) : mPath{{&message, 0, nullptr}} {}

    Message const& ConstMessageCursor::GetCurrentMessage() const
    {
        return *mPath.back().mpMessage;
    }

    bool ConstMessageCursor::GoToLowerLevelMessage(bool follows)
    {
        Place& place = mPath.back();
        std::vector<Message> const& lower = place.mpMessage->mLowerLevels;
        bool const exists = place.mVisited < lower.size();
        if (!exists && !follows)
            return false;
        Place next{nullptr, 0, nullptr};
        if (!exists)
            next.mpMissing = std::make_shared<Message>();
        next.mpMessage = exists ? &lower[place.mVisited] : next.mpMissing.get();
        ++place.mVisited;
        mPath.push_back(std::move(next));
        mCameFromBelow = false;
        return exists;
    }

    bool ConstMessageCursor::GoToSameLevelMessage(bool follows)
    {
        if (mCameFromBelow)
            return GoToLowerLevelMessage(follows);
        if (mPath.size() < 2)
            return false;
        Place const& parent = mPath[mPath.size() - 2];
        if (!follows && parent.mVisited >= parent.mpMessage->mLowerLevels.size())
            return false;
        mPath.pop_back();
        return GoToLowerLevelMessage(follows);
    }

    bool ConstMessageCursor::GoToParent()
    {
        if (mPath.size() < 2)
            return false;
        mPath.pop_back();
        mCameFromBelow = true;
        return true;
    }

    bool ConstMessageCursor::LowerLevelMessageIsUnvisited() const
    {
        Place const& place = mPath.back();
        return place.mVisited < place.mpMessage->mLowerLevels.size();
    }

    MessageCursor::MessageCursor(Message& message) : ConstMessageCursor(message) {}

    Message& MessageCursor::GetCurrentMessage() const
    {
        // The walk began at a message that may be changed, and so may everything that it can reach.
        return const_cast<Message&>(ConstMessageCursor::GetCurrentMessage());
    }
}
