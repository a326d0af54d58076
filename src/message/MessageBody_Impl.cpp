#include "message/MessageBody_Impl.h"

#include "support/base/KeptMemory.h"
#include "support/base/MessageMemory.h"
#include "support/base/MessageText.h"

namespace QzLog
{
    MessageBody::~MessageBody() = default;

    MessageBody_Impl::MessageBody_Impl() : mpLocalizer(QzResource::GetLocalizer()) {}

    void MessageBody_Impl::SetMessage(QzBase::Message const& message)
    {
        QzBase::MessageMemory::Assign(mMessage, message);
        mTexts.clear();
        mLocalizedCopies.clear();
    }

    void MessageBody_Impl::GiveBackLongMessage() noexcept
    {
        std::size_t textBytes = 0;
        for (auto const& [languageID, text] : mTexts)
            textBytes += text.capacity();
        if (textBytes <= QzBase::kKeptBytes && !QzBase::MessageMemory::IsLong(mMessage))
            return;
        mMessage = QzBase::Message();
        mTexts.clear();
        mLocalizedCopies.clear();
    }

    char const* MessageBody_Impl::GetMessageText(unsigned short languageID)
    {
        // The entry is made first: a message that cannot be formatted is not tried again for each destination.
        auto const [entry, isNew] = mTexts.try_emplace(languageID);
        std::string& text = entry->second;
        if (!isNew)
            return text.c_str();

        if (mMessage.GetLocalizedText(languageID))
        {
            text = QzBase::MakeMessageText(mMessage, languageID);
        }
        else
        {
            QzBase::Message& copy = mLocalizedCopies[languageID];
            text = QzBase::MakeMessageText(mMessage, copy, languageID, *mpLocalizer);
        }
        return text.c_str();
    }

    QzBase::Message& MessageBody_Impl::GetMessage()
    {
        MergeLocalizedCopies();
        mLocalizedCopies.clear();
        return mMessage;
    }

    /// Walks the message and its copies in step, parents before children. The cursor of the message leads: where it
    /// finds a level, the others follow.
    void MessageBody_Impl::MergeLocalizedCopies()
    {
        QzBase::MessageCursor leading(mMessage);
        std::map<unsigned short, QzBase::ConstMessageCursor> following;
        for (auto const& [languageID, copy] : mLocalizedCopies)
            following.try_emplace(languageID, copy);

        for (;;)
        {
            for (auto const& [languageID, cursor] : following)
            {
                if (char const* const text = cursor.GetCurrentMessage().GetLocalizedText(languageID))
                    leading.GetCurrentMessage().SetLocalizedText(languageID, text);
            }
            if (leading.LowerLevelMessageIsUnvisited())
            {
                leading.GoToLowerLevelMessage(false);
                for (auto& [languageID, cursor] : following)
                    cursor.GoToLowerLevelMessage(true);
                continue;
            }
            do
            {
                if (!leading.GoToParent())
                    return;
                for (auto& [languageID, cursor] : following)
                    cursor.GoToParent();
            } while (!leading.LowerLevelMessageIsUnvisited());
            leading.GoToSameLevelMessage(false);
            for (auto& [languageID, cursor] : following)
                cursor.GoToSameLevelMessage(true);
        }
    }

    QzBase::ReturnPtrI<MessageBody> CreateMessageBody()
    {
        return QzBase::ReturnPtrI<MessageBody>(new MessageBody_Impl);
    }
}
