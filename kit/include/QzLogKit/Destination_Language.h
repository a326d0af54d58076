#pragma once

#include <QzBase/CountedPtr.h>
#include <QzLog/Destination.h>
#include <QzLogKit/Export.h>

namespace QzLogKit
{
    /// A destination that passes all messages on to `target`, structured ones (QzBase::Message) in a language of its
    /// own. Two files of one dispatcher, the second for readers of German:
    ///
    ///     auto const german = QzLogKit::CreateDestination_Language(*germanFile, 0x407);
    ///     dispatcher->SetDestinations(QzLogKit::CreateDestinationList(file, german));
    ///
    /// Finished texts pass as they are: their language was chosen when they were made. The IDs of messages with a call
    /// stack are those of the target, which is held until the new destination ends. Throws std::bad_alloc.
    /// \param languageID  as the texts are registered (QzResource/Localizer.h); 0 is the process language.
    QZLOGKIT_API QzBase::ReturnPtrI<QzLog::Destination> CreateDestination_Language(
        QzLog::Destination& target, unsigned short languageID);
}
