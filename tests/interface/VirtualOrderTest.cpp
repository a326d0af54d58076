// Users' programs hold the slot of each virtual operation: an operation that is inserted, moved or
// changed in type breaks every program that was compiled before. The slots are read out of pointers to
// the members, whose form is that of the C++ ABI on Linux.
#include <QzLog/QzLog.h>
#include <QzSynch/ReferenceCountedImpl.h>
#include <QzSynch/ThreadLocalStorage.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

using namespace QzLog;

namespace
{
    struct MemberPointer
    {
        std::ptrdiff_t mPointer;
        std::ptrdiff_t mAdjustment;
    };

    /// The slot of an operation of exactly the type Signature in the table of the class that declares it.
    template <class Signature, class Class>
    std::ptrdiff_t Slot(Signature Class::*operation)
    {
        MemberPointer words;
        static_assert(sizeof(words) == sizeof(operation));
        std::memcpy(&words, &operation, sizeof(words));
#ifdef __aarch64__
        bool const isVirtual = words.mAdjustment & 1;
        std::ptrdiff_t const offset = words.mPointer;
#else
        bool const isVirtual = words.mPointer & 1;
        std::ptrdiff_t const offset = words.mPointer - 1;
#endif
        return isVirtual ? offset / static_cast<std::ptrdiff_t>(sizeof(void*)) : -1;
    }

    constexpr std::ptrdiff_t kDestructorSlots = 2;
    /// Destructor, AddRef and Release stand in front of what a counted interface adds.
    constexpr std::ptrdiff_t kCountedSlots = kDestructorSlots + 2;
    constexpr std::ptrdiff_t kDestinationSlots = kCountedSlots + 5;

    template <class... Slots>
    void ExpectInOrder(char const* name, std::ptrdiff_t first, Slots... slots)
    {
        SCOPED_TRACE(name);
        for (std::ptrdiff_t const slot : {slots...})
            EXPECT_EQ(first++, slot);
    }

    struct ProtectedOperations : Destination
    {
        using Destination::GetLanguageID;
        using Destination::SetLanguageID;
    };

    using GetText = char const*();
    using SetText = void(char const*);
    using GetNumber = unsigned int();
    using SetNumber = void(unsigned int);
    using TakeText = void(char const*, unsigned int, char const*, char const*, int);
}

TEST(VirtualOrder, Support)
{
    using Counted = QzBase::ReferenceCounted;
    using Count = QzSynch::ReferenceCountedImpl<QzSynch::AtomicLong>;
    using Storage = QzSynch::ThreadLocalStorage;
    ExpectInOrder(
        "ReferenceCounted", kDestructorSlots, Slot<void()>(&Counted::AddRef), Slot<void()>(&Counted::Release));
    ExpectInOrder("ReferenceCountedImpl", kCountedSlots, Slot<void()>(&Count::OnLastRelease));
    ExpectInOrder("ThreadContext", kDestructorSlots, Slot<void()>(&QzSynch::ThreadContext::Delete));
    ExpectInOrder("ThreadLocalStorage", 0, Slot<void(QzSynch::ThreadContext*)>(&Storage::SetValue),
        Slot<QzSynch::ThreadContext*() const>(&Storage::GetValue), Slot<void()>(&Storage::Delete));
}

TEST(VirtualOrder, Road)
{
    ExpectInOrder("Router", kCountedSlots, Slot<Logger*()>(&Router::GetLogger),
        Slot<QzBase::ReturnPtrI<Dispatcher>()>(&Router::GetDispatcher),
        Slot<QzBase::ReturnPtrI<MessageCatalog>()>(&Router::GetMessageCatalog),
        Slot<void(QzBase::Message&)>(&Router::LogAndUpdateMessage),
        Slot<void(QzBase::Message const&)>(&Router::LogBaseMessage), Slot<TakeText>(&Router::LogText),
        Slot<void(char const*, unsigned int, char const*, char const*, int, std::string&)>(&Router::FormatHeaderJson));

    ExpectInOrder("Logger", kCountedSlots, Slot<GetText>(&Logger::GetName),
        Slot<void(MessageCatalog*)>(&Logger::SetMessageCatalog),
        Slot<QzBase::ReturnPtrI<MessageCatalog>()>(&Logger::GetMessageCatalog),
        Slot<void(ConfigurationHook*)>(&Logger::ApplyConfigurationHook),
        Slot<void(unsigned short, QzBase::Message&)>(&Logger::LogAndUpdateMessage),
        Slot<void(unsigned short, QzBase::Message const&)>(&Logger::LogBaseMessage),
        Slot<void(unsigned short, char const*, unsigned int, char const*, char const*, int)>(&Logger::LogText),
        Slot<Logger::DispatcherCollection*()>(&Logger::GetDispatcherCollection),
        Slot<void(Logger::Callback*)>(&Logger::AddCallback), Slot<void(Logger::Callback*)>(&Logger::RemoveCallback),
        Slot<void(unsigned short, char const*, unsigned int, char const*, char const*, int, std::string&)>(
            &Logger::FormatHeaderJson));
    ExpectInOrder("Logger::DispatcherCollection", 0,
        Slot<unsigned short(char const*)>(&Logger::DispatcherCollection::GetDispatcherHandle),
        Slot<QzBase::ReturnPtrI<Dispatcher>(unsigned short)>(&Logger::DispatcherCollection::GetDispatcher));
    ExpectInOrder(
        "Logger::Callback", kCountedSlots, Slot<void(unsigned short)>(&Logger::Callback::OnDispatcherChanged));

    ExpectInOrder("Dispatcher", kCountedSlots, Slot<GetText>(&Dispatcher::GetName),
        Slot<bool()>(&Dispatcher::HasDestinations),
        Slot<void(Logger&, QzBase::Message&)>(&Dispatcher::LogAndUpdateMessage),
        Slot<void(Logger&, QzBase::Message const&)>(&Dispatcher::LogBaseMessage),
        Slot<void(Logger&, char const*, unsigned int, char const*, char const*, int)>(&Dispatcher::LogText),
        Slot<void(QzBase::CountedPtr<DestinationCollection> const&)>(&Dispatcher::SetDestinations),
        Slot<void(Dispatcher::Callback*)>(&Dispatcher::AddCallback),
        Slot<void(Dispatcher::Callback*)>(&Dispatcher::RemoveCallback),
        Slot<void(Logger&, char const*, unsigned int, char const*, char const*, int, std::string&)>(
            &Dispatcher::FormatHeaderJson));
    ExpectInOrder(
        "Dispatcher::Callback", kCountedSlots, Slot<void(Dispatcher&)>(&Dispatcher::Callback::OnDestinationsChanged));
    ExpectInOrder("DestinationCollection", kCountedSlots, Slot<GetNumber>(&DestinationCollection::GetCount),
        Slot<Destination*(unsigned int)>(&DestinationCollection::GetDestination));
    ExpectInOrder("MessageCatalog", kCountedSlots,
        Slot<QzBase::ReturnString(unsigned int, unsigned short, char const*)>(&MessageCatalog::GetMessageString),
        Slot<QzResource::MessageTemplate const&(unsigned int, unsigned short, char const*)>(
            &MessageCatalog::GetMessageTemplate));
    ExpectInOrder("ConfigurationHook", kCountedSlots, Slot<void(Logger*)>(&ConfigurationHook::ConfigureLogger),
        Slot<void(QzBase::CountedPtr<Dispatcher>&, Logger*)>(&ConfigurationHook::ConfigureDispatcher));
}

TEST(VirtualOrder, Destinations)
{
    ExpectInOrder("Destination", kCountedSlots, Slot<void(MessageHeader&, MessageBody&)>(&Destination::WriteMessage),
        Slot<void(char const*, MessageHeader&)>(&Destination::WriteMessage),
        Slot<void(unsigned int const*, unsigned int)>(&Destination::SetCallstackMessageIDs),
        Slot<unsigned short() const>(&ProtectedOperations::GetLanguageID),
        Slot<void(unsigned short)>(&ProtectedOperations::SetLanguageID));
    ExpectInOrder("Destination_DebugOutput", kDestinationSlots, Slot<SetText>(&Destination_DebugOutput::WriteString));
    ExpectInOrder("Destination_SystemLog", kDestinationSlots, Slot<SetText>(&Destination_SystemLog::SetEventSource),
        Slot<void(char const*, unsigned int, unsigned short)>(&Destination_SystemLog::ReportEvent));
    ExpectInOrder("Destination_DiskFile", kDestinationSlots, Slot<SetNumber>(&Destination_DiskFile::SetMaxFileSize),
        Slot<GetNumber>(&Destination_DiskFile::GetMaxFileSize), Slot<SetNumber>(&Destination_DiskFile::SetBackupCount),
        Slot<GetNumber>(&Destination_DiskFile::GetBackupCount),
        Slot<QzBase::ReturnWString()>(&Destination_DiskFile::GetFilePath));
    ExpectInOrder("Destination_KafkaLog", kDestinationSlots,
        Slot<QzBase::ReturnPtrI<Destination_DiskFile>()>(&Destination_KafkaLog::GetDiskFileDestination));
}

TEST(VirtualOrder, Messages)
{
    using Header = MessageHeader;
    ExpectInOrder("MessageHeader", kCountedSlots, Slot<GetText>(&Header::GetHostName),
        Slot<SetText>(&Header::SetHostName), Slot<GetText>(&Header::GetServerName),
        Slot<SetText>(&Header::SetServerName), Slot<GetNumber>(&Header::GetProcessID),
        Slot<SetNumber>(&Header::SetProcessID), Slot<GetText>(&Header::GetProcessIDString),
        Slot<SetText>(&Header::SetProcessIDString), Slot<GetText>(&Header::GetProcessIDHexString),
        Slot<SetText>(&Header::SetProcessIDHexString), Slot<GetNumber>(&Header::GetThreadID),
        Slot<SetNumber>(&Header::SetThreadID), Slot<GetText>(&Header::GetThreadIDString),
        Slot<SetText>(&Header::SetThreadIDString), Slot<GetText>(&Header::GetThreadIDHexString),
        Slot<SetText>(&Header::SetThreadIDHexString), Slot<Timestamp const&() const>(&Header::GetTimestamp),
        Slot<Timestamp&()>(&Header::GetTimestamp), Slot<void(Timestamp const&)>(&Header::SetTimestamp),
        Slot<void()>(&Header::SetTimestampToNow), Slot<GetText>(&Header::GetTimestampString),
        Slot<unsigned int(char const*)>(&Header::SetTimestampString), Slot<GetText>(&Header::GetLoggerName),
        Slot<SetText>(&Header::SetLoggerName), Slot<GetText>(&Header::GetDispatcherName),
        Slot<SetText>(&Header::SetDispatcherName), Slot<GetNumber>(&Header::GetMessageID),
        Slot<SetNumber>(&Header::SetMessageID), Slot<GetText>(&Header::GetMessageIDString),
        Slot<SetText>(&Header::SetMessageIDString), Slot<GetText>(&Header::GetHeaderText),
        Slot<GetText>(&Header::GetHeaderJSON), Slot<unsigned int(char const*)>(&Header::ParseHeaderText),
        Slot<SetText>(&Header::SetSourceFile), Slot<GetText>(&Header::GetSourceFile),
        Slot<SetText>(&Header::SetSourceFunction), Slot<GetText>(&Header::GetSourceFunction),
        Slot<void(int)>(&Header::SetSourceLine), Slot<int()>(&Header::GetSourceLine), Slot<SetText>(&Header::SetUserID),
        Slot<GetText>(&Header::GetUserID), Slot<SetText>(&Header::SetSessionID), Slot<GetText>(&Header::GetSessionID),
        Slot<SetText>(&Header::SetObjectID), Slot<GetText>(&Header::GetObjectID));
    ExpectInOrder("MessageBody", kCountedSlots, Slot<void(QzBase::Message const&)>(&MessageBody::SetMessage),
        Slot<QzBase::Message&()>(&MessageBody::GetMessage),
        Slot<char const*(unsigned short)>(&MessageBody::GetMessageText));
    ExpectInOrder("LogTrace", kDestructorSlots, Slot<void()>(&LogTrace::CollectLogTrace),
        Slot<long()>(&LogTrace::PrintAllLogTrace), Slot<void()>(&LogTrace::Clear));
}
