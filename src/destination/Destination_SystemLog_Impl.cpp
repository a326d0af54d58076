#include "destination/Destination_SystemLog_Impl.h"

#include "os/Calls.h"
#include "os/Fork.h"
#include "support/synch/ForkSafeLocks.h"

#include <QzBase/Conversions.h>
#include <QzLog/MessageHeader.h>

namespace QzLog
{
    namespace
    {
        constexpr char kDefaultSourceName[] = "Tarnwickforge Application";

        constexpr unsigned int kSeverityMask = 0xC0000000;
        constexpr unsigned int kWarningBits = 0x40000000;
        constexpr unsigned int kErrorBits = 0x80000000;

        /// Of the event: 3 and above report success.
        enum Severity : unsigned int
        {
            kInformation = 0,
            kWarning = 1,
            kError = 2
        };

        Severity GetSeverity(unsigned int messageID) noexcept
        {
            switch (messageID & kSeverityMask)
            {
            case kWarningBits:
                return kWarning;
            case kErrorBits:
                return kError;
            default:
                return kInformation;
            }
        }

        QzOs::EventType GetEventType(unsigned int severity) noexcept
        {
            switch (severity)
            {
            case kInformation:
                return QzOs::kEventInformation;
            case kWarning:
                return QzOs::kEventWarning;
            case kError:
                return QzOs::kEventError;
            default:
                return QzOs::kEventSuccess;
            }
        }

        void Deregister(void* eventSource)
        {
            QzOs::gCalls.mpDeregisterEventSource(eventSource);
        }
    }

    Destination_SystemLog::~Destination_SystemLog() = default;

    Destination_SystemLog_Impl::Destination_SystemLog_Impl()
        : mpLock(QzSynch::CreateForkSafeSection(QzSynch::kLockStackCategoryDefault))
    {
    }

    QZLOG_CALL_FRAME void Destination_SystemLog_Impl::WriteMessage(char const* bodyText, MessageHeader& header)
    {
        unsigned int const id = header.GetMessageID();
        QzBase::ReturnString const text = FormatMultiLineMessageText(id, header.GetHeaderText(), bodyText, false);
        ReportEvent(text.c_str(), GetSeverity(id), static_cast<unsigned short>(id));
    }

    void Destination_SystemLog_Impl::ReportEvent(char const* text, unsigned int severity, unsigned short eventID)
    {
        if (QzOs::IsForking())
            return;
        EventSource const eventSource = GetEventSource();
        QzOs::gCalls.mpReportEvent(
            eventSource.get(), GetEventType(severity), eventID, QzBase::UTF8ToWideChar(text, true).c_str());
    }

    Destination_SystemLog_Impl::EventSource Destination_SystemLog_Impl::GetEventSource()
    {
        QzSynch::CriticalSection::SmartLock const hold(*mpLock);
        if (!mSourceIsRegistered)
            SetEventSource(kDefaultSourceName);
        return mpEventSource;
    }

    void Destination_SystemLog_Impl::SetEventSource(char const* sourceName)
    {
        std::string name(sourceName ? sourceName : "");
        QzBase::ReturnWString const wideName = QzBase::UTF8ToWideChar(name.c_str(), false);

        QzSynch::CriticalSection::SmartLock const hold(*mpLock);
        if (name == mSourceName)
            return;
        mpEventSource.reset();
        mSourceIsRegistered = false;
        mSourceName.clear();
        // A source that could not be registered counts as registered: it is not tried again for each message.
        mpEventSource = EventSource(QzOs::gCalls.mpRegisterEventSource(wideName.c_str()), Deregister);
        mSourceName.swap(name);
        mSourceIsRegistered = true;
    }
}
