// The types of all operations that are no virtual ones, and that the shared library has them. The
// addresses in the tables are what the linker must find; nothing is called.
#include <KafkaClient/KafkaProducer.h>
#include <QzBase/CallStack.h>
#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzBase/TotalTimer.h>
#include <QzDataType/Binary.h>
#include <QzDataType/StringCollection.h>
#include <QzLog/QzLog.h>
#include <QzResource/Localizer.h>
#include <QzSynch/Initializer.h>
#include <QzSynch/ThreadLocalStorage.h>
#include <QzSynch/ThreadSpecificLogInfo.h>

#include <cstddef>
#include <tuple>
#include <type_traits>

using namespace QzLog;

namespace
{
    using namespace QzBase;
    using namespace QzDataType;
    using namespace QzResource;
    using namespace QzSynch;
    using Wide = unsigned short const*;
    using Narrow = char const*;
    using Category = EnumHvnLockStackCategory;

    /// Functions and static operations of one type.
    template <class Signature>
    struct Free
    {
        Signature* mFunctions[8];
    };

    template <class Signature, class Class>
    constexpr Signature Class::*Member(Signature Class::*operation)
    {
        return operation;
    }

    [[gnu::used]] std::tuple const gCallPath(
        Free<void(Router&, Narrow, MessageFormatter&, Narrow, Narrow, Narrow, int)>{&LogMessage, &LogMessage4NP},
        Free<void(Router&, unsigned int, MessageFormatter&, Narrow, Narrow, Narrow, int)>{&LogMessage, &LogMessage4NP},
        Free<void(Router&, Narrow, Narrow, Narrow, Narrow, int)>{&LogString},
        Free<void(Router&, unsigned int, Narrow, Narrow, Narrow, int)>{&LogString},
        Free<void(Router&, Narrow, MessageFormatter&, Narrow)>{&LogMessageAndThrowBaseException},
        Free<void(Router&, unsigned int, MessageFormatter&, Narrow)>{&LogMessageAndThrowBaseException},
        Free<void(Router&, Narrow, Narrow)>{&LogStringAndThrowBaseException},
        Free<void(Router&, unsigned int, Narrow)>{&LogStringAndThrowBaseException},
        Free<ReturnPtrI<Router>(Narrow, Narrow, Category)>{&CreateRouter},
        Free<ReturnPtrI<Logger>(Narrow, Category)>{&GetLogger}, Free<ReturnPtrI<Dispatcher>(Narrow)>{&CreateDispatcher},
        Free<ReturnPtrI<DestinationCollection>(std::initializer_list<Destination*>)>{&CreateDestinationCollection},
        Member<Narrow() const noexcept>(&ScopeGuard::GetScopeName),
        Member<int(int, unsigned short) noexcept>(&ScopeGuard::SetReturnCode),
        Member<unsigned int(unsigned int, unsigned short) noexcept>(&ScopeGuard::SetReturnCode),
        Member<long(long, unsigned short) noexcept>(&ScopeGuard::SetReturnCode),
        Member<unsigned long(unsigned long, unsigned short) noexcept>(&ScopeGuard::SetReturnCode),
        Member<ScopeGuard&(ScopeGuard const&) noexcept>(&ScopeGuard::operator=), &Format::Dec, &Format::Hex,
        &Format::WideDec, &Format::WideHex);

    [[gnu::used]] std::tuple const gMessagesAndDestinations(Free<ReturnPtrI<MessageHeader>()>{&CreateMessageHeader},
        Free<ReturnPtrI<MessageBody>()>{&CreateMessageBody}, Member<void()>(&Timestamp_Impl::SetToNowLocal),
        Member<ReturnString() const>(&Timestamp_Impl::ToISO8601String),
        Member<unsigned int(Narrow)>(&Timestamp_Impl::FromISO8601String),
        Member<ReturnString(unsigned int, Narrow, Narrow, bool) const>(&Destination_Impl::FormatMultiLineMessageText),
        Member<void(unsigned int const*, unsigned int)>(&Destination_Impl::SetCallstackMessageIDs),
        Free<ReturnPtrI<Destination_DebugOutput>()>{&GetDestination_DebugOutput},
        Free<ReturnPtrI<Destination_SystemLog>()>{&GetDestination_SystemLog},
        Free<ReturnPtrI<Destination_DiskFile>(Wide)>{&GetDestination_DiskFile},
        Free<ReturnPtrI<Destination_KafkaLog>(Wide)>{&GetDestination_KafkaLog},
        Free<ReturnPtrI<LossObserver>()>{&CreateSystemLogLossObserver});

    [[gnu::used]] std::tuple const gModule(
        Free<ReturnWString()>{&GetServerInstanceName, &GetObjectIDFromThreadContext, &GetComputerName},
        Free<void(Wide)>{&SetServerInstanceName, &UpdateLogRegistryStr, &SetBasePath, &SetUserIDToThreadContext,
            &SetSessionIDToThreadContext, &SetObjectIDToThreadContext},
        Free<void(std::uint64_t)>{&SetEpisodeNumber, &SetParentThreadIDToThreadContext},
        Free<std::uint64_t()>{&GetEpisodeNumber}, Free<void(ConfigurationHook*)>{&SetConfigurationHook},
        Free<ReturnPtrI<ConfigurationHook>()>{&GetConfigurationHook},
        Free<std::shared_ptr<ThreadSpecificLogInfo>()>{&GetThreadSpecificLogInfo},
        Free<void(ThreadSpecificLogInfo const&)>{&SetThreadSpecificLogInfo},
        Free<void()>{&RefreshConfiguration, &ClearThreadSpecificLogInfo, &InitHTTPSensitiveTagVector,
            &MsgLogTrace::Init, &MsgLogTrace::Destroy, &DeregisterThreadSpecificLogInfoGetter,
            &DeregisterThreadSpecificLogInfoSetter, &DeregisterThreadSpecificLogInfoUnsetter});

    [[gnu::used]] std::tuple const gMasksAndTraces(Free<ReturnString(Narrow, Narrow, Narrow)>{&ReplaceSensitiveMessage},
        Free<ReturnString(Wide, Narrow, Narrow)>{&ReplaceSensitiveMessage},
        Free<ReturnString(Narrow)>{&ReplaceSensitiveMessageInHTTP},
        Member<void(unsigned long, int, std::int64_t)>(&CmdLogTrace::AddToLogTrace),
        Member<std::map<int, CmdTraceItem>&(unsigned long)>(&CmdLogTrace::GetCurItem),
        Free<MsgLogTrace*()>{&MsgLogTrace::getInstance}, Free<void(bool)>{&MsgLogTrace::SetMsgLogTrace},
        Free<bool()>{&MsgLogTrace::IsMsgLogTraceEnabled},
        Free<long(unsigned long, int, WideString&, int, MsgOpType)>{&MsgLogTrace::SendToLogTrace},
        Member<long(unsigned long, int, WideString&, int, MsgOpType)>(&MsgLogTrace::AddToLogTrace),
        Free<Narrow(int) noexcept>{&GetServerCommandName});

    [[gnu::used]] std::tuple const gBase(Free<ReturnWString(Narrow, bool)>{&UTF8ToWideChar},
        Free<ReturnString(Wide, bool)>{&WideCharToUTF8, &WideCharToASCII}, Free<ReturnString(int)>{&ToDecimalString},
        Free<int(Narrow)>{&DecimalToInt}, Free<unsigned int(Narrow, bool)>{&HexToUnsignedInt},
        Free<unsigned int()>{&GetCurrentProcessID, &GetLastError}, Free<unsigned long()>{&GetCurrentThreadID},
        Free<ReturnWString(unsigned int)>{&GetSystemErrorDescription}, Free<void(unsigned int)>{&Sleep},
        Free<void(_GUID&)>{&CreateGUID}, Member<ReturnWString() const>(&GUID::ToWString),
        Free<bool(Wide)>{&IsFeatureEnabled}, Free<void(Wide, bool)>{&SetFeatureEnabled},
        Free<CallStack*(Buffer*)>{&CreateCallStack}, &UNICODE_BYTE_ORDER_MARK,
        Free<ReturnString(Message const&, unsigned short)>{&FormatMessage},
        Free<ReturnString(Message const&, Message&, unsigned short, Message::Localizer&)>{&FormatMessage},
        Member<Narrow() const noexcept>(&ExceptionImpl<Message>::what),
        Member<Narrow() const noexcept>(&ExceptionImpl<Exception>::what),
        Member<void(unsigned short, int)>(&Message::SetDomainAndID), Member<void(Wide)>(&Message::SetMessage),
        Member<Wide() const>(&Message::GetMessage), Member<int() const>(&Message::GetID),
        Member<Message&(Wide)>(&Message::operator<<), Member<Message&(unsigned long)>(&Message::operator<<),
        Member<Message&(unsigned short, int, Narrow)>(&Message::WrapBy),
        Member<void(Message const&)>(&Message::PrependBy),
        Member<Narrow(unsigned short) const>(&Message::GetLocalizedText),
        Member<void(unsigned short, Narrow)>(&Message::SetLocalizedText),
        Member<Message&() const>(&MessageCursor::GetCurrentMessage),
        Member<Message const&() const>(&ConstMessageCursor::GetCurrentMessage),
        Member<bool(bool)>(&ConstMessageCursor::GoToLowerLevelMessage),
        Member<bool(bool)>(&ConstMessageCursor::GoToSameLevelMessage), Member<bool()>(&ConstMessageCursor::GoToParent),
        Member<bool() const>(&MessageCursor::LowerLevelMessageIsUnvisited),
        Member<void() noexcept>(&TotalTimer::Timer::Stop));

    template <class Type>
    using Register = void(std::function<Type>&&);
    using Producer = KafkaClient::KafkaProducer;
    [[gnu::used]] std::tuple const gOtherSupport(Free<CriticalSection*(Category)>{&CreateCriticalSection},
        Free<RWLock*(Category)>{&CreateRWLock}, Free<ThreadLocalStorage*()>{&CreateThreadLocalStorage},
        Free<Register<std::shared_ptr<ThreadSpecificLogInfo>()>>{&RegisterThreadSpecificLogInfoGetter},
        Free<Register<void(ThreadSpecificLogInfo*)>>{&RegisterThreadSpecificLogInfoSetter},
        Free<Register<void()>>{&RegisterThreadSpecificLogInfoUnsetter},
        Free<DateTime()>{&DateTime::Now, &DateTime::NowUTC}, Member<ReturnString() const>(&DateTime::ToString),
        Member<unsigned int(Narrow)>(&DateTime::FromString),
        Member<TimeSpan(DateTime const&) const noexcept>(&DateTime::operator-),
        Member<int() const noexcept>(&TimeSpan::GetTotalSeconds), Free<Binary*(std::size_t, Buffer*)>{&CreateBinary},
        Free<StringCollection*()>{&CreateStringCollection},
        Free<MessageFormatter&()>{&QzResource::GetMessageFormatter, &QzLog::GetMessageFormatter},
        Free<MessageTemplate const&(Narrow)>{&GetMessageTemplate}, Free<unsigned short()>{&GetProcessLanguageID},
        Free<void(unsigned short)>{&SetProcessLanguageID}, Free<ReturnPtrI<Localizer>()>{&GetLocalizer},
        Free<void(unsigned short, unsigned short, int, Narrow)>{&RegisterMessageText},
        Free<void(MessageFormatter&)>{&MessageFormat::Dec, &MessageFormat::Hex, &MessageFormat::WideHex},
        &REST_TAG_PASSWORD, Member<MessageFormatter&(Narrow)>(&MessageFormatter::operator<<),
        Member<MessageFormatter&(unsigned short)>(&MessageFormatter::operator<<),
        Member<MessageFormatter&(unsigned int)>(&MessageFormatter::operator<<),
        Member<MessageFormatter&(void (*)(MessageFormatter&))>(&MessageFormatter::operator<<),
        Member<Narrow(MessageTemplate const&)>(&MessageFormatter::Format),
        Free<Producer::EnumKafkaProducerStatus()>{&Producer::GetKafkaProducerStatus},
        Free<bool(WideString const&, int, std::string const*, Variant const&)>{&Producer::Send},
        Free<void(std::map<std::string, std::string> const&)>{&Producer::Configure});

    /// Constructors have no address: this is compiled and linked, and never called.
    struct DiskFile : Destination_DiskFile
    {
    };
    struct Shared : Destination_Impl
    {
    };
    [[gnu::used]] void Construct(Router& router, ThreadSpecificLogInfo* info, Shared& shared, DiskFile& file)
    {
        QzLog::Initializer const module;
        QzLog::Initializer const again(module);
        ScopeGuard const narrow(router, Narrow(), Narrow(), static_cast<unsigned short>(1));
        ScopeGuard const wide(router, Wide(), Narrow(), static_cast<unsigned short>(1));
        ScopeGuard const copy(narrow);
        ThreadSpecificLogInfoSwitchGuard guard(info);
        guard = static_cast<ThreadSpecificLogInfoSwitchGuard const&>(guard);
        CmdLogTrace const trace;
        Timestamp_Impl stamp;
        stamp = static_cast<Timestamp const&>(stamp);
        shared = static_cast<Shared const&>(shared);
        file = static_cast<DiskFile const&>(file);
        DiskFile& same = file;
        file = static_cast<DiskFile&&>(same);
        Variant const values[] = {{Wide(), nullptr}, {Narrow(), nullptr}};
        Message const message(MESSAGE_DOMAIN_SERVER, 1, Narrow());
        Message copied(message);
        copied = message;
        ConstMessageCursor const follower(message);
        MessageCursor const leader(copied);
        [[maybe_unused]] DateTime const times[] = {DateTime(0.0), DateTime(2026, 11, 18, 3, 2, 7, 123, 0, 0)};
        QzSynch::Initializer const synch;
        QzResource::Initializer const resource;
        KafkaClient::Initializer const kafka;
        throw ExceptionImpl<Exception>(static_cast<unsigned short>(1), 1, Narrow());
    }

    static_assert(std::is_base_of_v<Message, Exception> && std::is_base_of_v<LogTrace, MsgLogTrace>);
    static_assert(std::is_base_of_v<DateTime, Timestamp> && std::is_base_of_v<Timestamp, Timestamp_Impl>);

    static_assert(std::is_same_v<std::underlying_type_t<Category>, int> && Category(-3) == kLockStackCategoryDefault);
    static_assert(sizeof(MsgOpType) == 4 && MsgOpFirst == 0 && MsgOpSecond == 1 && MsgOpThird == 2);
    static_assert(Producer::kStatusUnusable == 0 && Producer::kStatusUp == 1 && Producer::kStatusDown == 3);

    // The order of the fields of the structures that users fill in.
    constexpr MsgTraceItem kMessage{1, 2, 3, 4};
    static_assert(kMessage.firstCount == 1 && kMessage.secondCount == 2 && kMessage.thirdCount == 3);
    using Info = ThreadSpecificLogInfo;
    static_assert(offsetof(Info, userID) < offsetof(Info, sessionID) &&
                  offsetof(Info, sessionID) < offsetof(Info, objectID) &&
                  offsetof(Info, objectID) < offsetof(Info, parentThreadID));
    static_assert(std::is_same_v<decltype(LogTrace::mFileName), WideString>);
}
