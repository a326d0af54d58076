// Users' programs hold the slot of each virtual operation: an operation that is inserted, moved or
// changed in type breaks every program that was compiled before. The slots are read out of pointers to
// the members, whose form is that of the C++ ABI on Linux. scripts/abi.sh compares enumerators and fields.
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
    std::ptrdiff_t SlotOf(Signature Class::*operation)
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

    void ExpectSlots(char const* name, std::ptrdiff_t first, std::initializer_list<std::ptrdiff_t> slots)
    {
        SCOPED_TRACE(name);
        for (std::ptrdiff_t const slot : slots)
            EXPECT_EQ(first++, slot);
    }

// The operations of one interface from slot `first` on, each with its exact type.
#define EXPECT_SLOTS(Interface, first, ...)                                                                            \
    {                                                                                                                  \
        using Face = Interface;                                                                                        \
        ExpectSlots(#Interface, first, {__VA_ARGS__});                                                                 \
    }
#define SLOT(name, ...) SlotOf<__VA_ARGS__>(&Face::name)
#define PROPERTY(name, Type) SLOT(Get##name, Type()), SLOT(Set##name, void(Type))
#define SET_FIRST(name, Type) SLOT(Set##name, void(Type)), SLOT(Get##name, Type())

    struct ProtectedOperations : Destination
    {
        using Destination::GetLanguageID;
        using Destination::SetLanguageID;
    };

    using Text = char const*;
    using Count = QzSynch::ReferenceCountedImpl<QzSynch::AtomicLong>;
    using QzBase::Message;
    using QzBase::ReferenceCounted;
    using QzBase::ReturnPtrI;
    using QzSynch::ThreadContext;
    using QzSynch::ThreadLocalStorage;
}

TEST(VirtualOrder, Support)
{
    EXPECT_SLOTS(ReferenceCounted, kDestructorSlots, SLOT(AddRef, void()), SLOT(Release, void()));
    EXPECT_SLOTS(Count, kCountedSlots, SLOT(OnLastRelease, void()));
    EXPECT_SLOTS(ThreadContext, kDestructorSlots, SLOT(Delete, void()));
    EXPECT_SLOTS(ThreadLocalStorage, 0, SLOT(SetValue, void(ThreadContext*)), SLOT(GetValue, ThreadContext * () const),
        SLOT(Delete, void()));
}

TEST(VirtualOrder, CallPath)
{
    EXPECT_SLOTS(Router, kCountedSlots, SLOT(GetLogger, Logger * ()), SLOT(GetDispatcher, ReturnPtrI<Dispatcher>()),
        SLOT(GetMessageCatalog, ReturnPtrI<MessageCatalog>()), SLOT(LogAndUpdateMessage, void(Message&)),
        SLOT(LogBaseMessage, void(Message const&)), SLOT(LogText, void(Text, unsigned int, Text, Text, int)),
        SLOT(FormatHeaderJson, void(Text, unsigned int, Text, Text, int, std::string&)));
    EXPECT_SLOTS(Logger, kCountedSlots, SLOT(GetName, Text()), SLOT(SetMessageCatalog, void(MessageCatalog*)),
        SLOT(GetMessageCatalog, ReturnPtrI<MessageCatalog>()), SLOT(ApplyConfigurationHook, void(ConfigurationHook*)),
        SLOT(LogAndUpdateMessage, void(unsigned short, Message&)),
        SLOT(LogBaseMessage, void(unsigned short, Message const&)),
        SLOT(LogText, void(unsigned short, Text, unsigned int, Text, Text, int)),
        SLOT(GetDispatcherCollection, Logger::DispatcherCollection * ()), SLOT(AddCallback, void(Logger::Callback*)),
        SLOT(RemoveCallback, void(Logger::Callback*)),
        SLOT(FormatHeaderJson, void(unsigned short, Text, unsigned int, Text, Text, int, std::string&)));
    EXPECT_SLOTS(Logger::DispatcherCollection, 0, SLOT(GetDispatcherHandle, unsigned short(Text)),
        SLOT(GetDispatcher, ReturnPtrI<Dispatcher>(unsigned short)));
    EXPECT_SLOTS(Logger::Callback, kCountedSlots, SLOT(OnDispatcherChanged, void(unsigned short)));
    EXPECT_SLOTS(Dispatcher, kCountedSlots, SLOT(GetName, Text()), SLOT(HasDestinations, bool()),
        SLOT(LogAndUpdateMessage, void(Logger&, Message&)), SLOT(LogBaseMessage, void(Logger&, Message const&)),
        SLOT(LogText, void(Logger&, Text, unsigned int, Text, Text, int)),
        SLOT(SetDestinations, void(QzBase::CountedPtr<DestinationCollection> const&)),
        SLOT(AddCallback, void(Dispatcher::Callback*)), SLOT(RemoveCallback, void(Dispatcher::Callback*)),
        SLOT(FormatHeaderJson, void(Logger&, Text, unsigned int, Text, Text, int, std::string&)));
    EXPECT_SLOTS(Dispatcher::Callback, kCountedSlots, SLOT(OnDestinationsChanged, void(Dispatcher&)));
    EXPECT_SLOTS(DestinationCollection, kCountedSlots, SLOT(GetCount, unsigned int()),
        SLOT(GetDestination, Destination * (unsigned int)));
    EXPECT_SLOTS(MessageCatalog, kCountedSlots,
        SLOT(GetMessageString, QzBase::ReturnString(unsigned int, unsigned short, Text)),
        SLOT(GetMessageTemplate, QzResource::MessageTemplate const&(unsigned int, unsigned short, Text)));
    EXPECT_SLOTS(ConfigurationHook, kCountedSlots, SLOT(ConfigureLogger, void(Logger*)),
        SLOT(ConfigureDispatcher, void(QzBase::CountedPtr<Dispatcher>&, Logger*)));
}

TEST(VirtualOrder, Destinations)
{
    EXPECT_SLOTS(ProtectedOperations, kCountedSlots, SLOT(WriteMessage, void(MessageHeader&, MessageBody&)),
        SLOT(WriteMessage, void(Text, MessageHeader&)),
        SLOT(SetCallstackMessageIDs, void(unsigned int const*, unsigned int)),
        SLOT(GetLanguageID, unsigned short() const), SLOT(SetLanguageID, void(unsigned short)));
    EXPECT_SLOTS(Destination_DebugOutput, kDestinationSlots, SLOT(WriteString, void(Text)));
    EXPECT_SLOTS(Destination_SystemLog, kDestinationSlots, SLOT(SetEventSource, void(Text)),
        SLOT(ReportEvent, void(Text, unsigned int, unsigned short)));
    EXPECT_SLOTS(Destination_DiskFile, kDestinationSlots, SLOT(SetMaxFileSize, void(unsigned int)),
        SLOT(GetMaxFileSize, unsigned int()), SLOT(SetBackupCount, void(unsigned int)),
        SLOT(GetBackupCount, unsigned int()), SLOT(GetFilePath, QzBase::ReturnWString()),
        SLOT(SetRecovery, void(Recovery)), SLOT(GetRecovery, Recovery()), SLOT(SetRetryInterval, void(unsigned int)),
        SLOT(GetRetryInterval, unsigned int()), SLOT(GetStatistics, DiskFileStatistics()),
        SLOT(SetLossObserver, void(LossObserver*)));
    EXPECT_SLOTS(LossObserver, kCountedSlots, SLOT(OnLossesBegan, void(LossRun const&)),
        SLOT(OnLossesReported, void(LossRun const&)));
    EXPECT_SLOTS(
        Destination_KafkaLog, kDestinationSlots, SLOT(GetDiskFileDestination, ReturnPtrI<Destination_DiskFile>()));
}

TEST(VirtualOrder, Messages)
{
    EXPECT_SLOTS(MessageHeader, kCountedSlots, PROPERTY(HostName, Text), PROPERTY(ServerName, Text),
        PROPERTY(ProcessID, unsigned int), PROPERTY(ProcessIDString, Text), PROPERTY(ProcessIDHexString, Text),
        PROPERTY(ThreadID, unsigned int), PROPERTY(ThreadIDString, Text), PROPERTY(ThreadIDHexString, Text),
        SLOT(GetTimestamp, Timestamp const&() const), SLOT(GetTimestamp, Timestamp & ()),
        SLOT(SetTimestamp, void(Timestamp const&)), SLOT(SetTimestampToNow, void()), SLOT(GetTimestampString, Text()),
        SLOT(SetTimestampString, unsigned int(Text)), PROPERTY(LoggerName, Text), PROPERTY(DispatcherName, Text),
        PROPERTY(MessageID, unsigned int), PROPERTY(MessageIDString, Text), SLOT(GetHeaderText, Text()),
        SLOT(GetHeaderJSON, Text()), SLOT(ParseHeaderText, unsigned int(Text)), SET_FIRST(SourceFile, Text),
        SET_FIRST(SourceFunction, Text), SET_FIRST(SourceLine, int), SET_FIRST(UserID, Text),
        SET_FIRST(SessionID, Text), SET_FIRST(ObjectID, Text));
    EXPECT_SLOTS(MessageBody, kCountedSlots, SLOT(SetMessage, void(Message const&)), SLOT(GetMessage, Message & ()),
        SLOT(GetMessageText, Text(unsigned short)));
    EXPECT_SLOTS(
        LogTrace, kDestructorSlots, SLOT(CollectLogTrace, void()), SLOT(PrintAllLogTrace, long()), SLOT(Clear, void()));
}
