#pragma once

#include <QzBase/CountedPtr.h>
#include <QzLog/MessageBody.h>
#include <QzResource/Localizer.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <map>
#include <string>

namespace QzLog
{
    class MessageBody_Impl final : public QzSynch::Counted<MessageBody>
    {
    public:
        MessageBody_Impl();

        void SetMessage(QzBase::Message const& message) override;
        QzBase::Message& GetMessage() override;
        char const* GetMessageText(unsigned short languageID) override;

        /// Frees the memory of a long message. Call it when the message has been delivered.
        void GiveBackLongMessage() noexcept;

    private:
        void MergeLocalizedCopies();

        QzBase::Message mMessage;
        QzBase::CountedPtr<QzResource::Localizer> const mpLocalizer;
        std::map<unsigned short, std::string> mTexts;
        /// Per language a message of the same shape that holds the texts which were looked up for it.
        std::map<unsigned short, QzBase::Message> mLocalizedCopies;
    };
}
