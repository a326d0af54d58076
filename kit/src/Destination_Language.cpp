#include <QzLogKit/Destination_Language.h>

#include "WrappingDestination.h"

#include <QzLog/MessageBody.h>

namespace QzLogKit
{
    namespace
    {
        class Destination_Language_Impl final : public WrappingDestination<QzLog::Destination>
        {
        public:
            Destination_Language_Impl(QzLog::Destination& target, unsigned short languageID)
                : WrappingDestination(target, languageID)
            {
            }

            void WriteMessage(char const* text, QzLog::MessageHeader& header) override
            {
                GetTarget().WriteMessage(text, header);
            }

            void WriteMessage(QzLog::MessageHeader& header, QzLog::MessageBody& body) override
            {
                GetTarget().WriteMessage(body.GetMessageText(GetLanguageID()), header);
            }
        };
    }

    QzBase::ReturnPtrI<QzLog::Destination> CreateDestination_Language(
        QzLog::Destination& target, unsigned short languageID)
    {
        return QzBase::ReturnPtrI<QzLog::Destination>(new Destination_Language_Impl(target, languageID));
    }
}
