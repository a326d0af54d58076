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
    using Wide = unsigned short const*;
    using Narrow = char const*;
    using Category = QzSynch::EnumHvnLockStackCategory;
    using QzBase::Message;
    using QzBase::ReturnPtrI;
    using QzBase::ReturnString;
    using QzBase::ReturnWString;
    using QzBase::WideString;
    using QzDataType::DateTime;
    using QzResource::MessageFormatter;

    template <class Signature>
    constexpr Signature* Free(Signature* function)
    {
        return function;
    }

    template <class Signature, class Class>
    constexpr Signature Class::*Member(Signature Class::*operation)
    {
        return operation;
    }

    using LogFormatted = void(Router&, Narrow, MessageFormatter&, Narrow, Narrow, Narrow, int);
    using LogFormattedID = void(Router&, unsigned int, MessageFormatter&, Narrow, Narrow, Narrow, int);

    [[gnu::used]] std::tuple const gRoad(Free<MessageFormatter&()>(&QzLog::GetMessageFormatter),
        Free<LogFormatted>(&LogMessage), Free<LogFormattedID>(&LogMessage), Free<LogFormatted>(&LogMessage4NP),
        Free<LogFormattedID>(&LogMessage4NP), Free<void(Router&, Narrow, Narrow, Narrow, Narrow, int)>(&LogString),
        Free<void(Router&, unsigned int, Narrow, Narrow, Narrow, int)>(&LogString),
        Free<void(Router&, Narrow, MessageFormatter&, Narrow)>(&LogMessageAndThrowBaseException),
        Free<void(Router&, unsigned int, MessageFormatter&, Narrow)>(&LogMessageAndThrowBaseException),
        Free<void(Router&, Narrow, Narrow)>(&LogStringAndThrowBaseException),
        Free<void(Router&, unsigned int, Narrow)>(&LogStringAndThrowBaseException),
        Free<ReturnPtrI<Router>(Narrow, Narrow, Category)>(&CreateRouter),
        Free<ReturnPtrI<Logger>(Narrow, Category)>(&GetLogger), Free<ReturnPtrI<Dispatcher>(Narrow)>(&CreateDispatcher),
        Free<ReturnPtrI<DestinationCollection>(std::initializer_list<Destination*>)>(&CreateDestinationCollection),
        Member<Narrow() const noexcept>(&ScopeGuard::GetScopeName),
        Member<int(int, unsigned short) noexcept>(&ScopeGuard::SetReturnCode),
        Member<unsigned int(unsigned int, unsigned short) noexcept>(&ScopeGuard::SetReturnCode),
        Member<long(long, unsigned short) noexcept>(&ScopeGuard::SetReturnCode),
        Member<unsigned long(unsigned long, unsigned short) noexcept>(&ScopeGuard::SetReturnCode),
        Member<ScopeGuard&(ScopeGuard const&) noexcept>(&ScopeGuard::operator=), &Format::Dec, &Format::Hex,
        &Format::WideDec, &Format::WideHex);

    [[gnu::used]] std::tuple const gMessagesAndDestinations(Free<ReturnPtrI<MessageHeader>()>(&CreateMessageHeader),
        Free<ReturnPtrI<MessageBody>()>(&CreateMessageBody), Member<void()>(&Timestamp_Impl::SetToNowLocal),
        Member<ReturnString() const>(&Timestamp_Impl::ToISO8601String),
        Member<unsigned int(Narrow)>(&Timestamp_Impl::FromISO8601String),
        Member<ReturnString(unsigned int, Narrow, Narrow, bool) const>(&Destination_Impl::FormatMultiLineMessageText),
        Member<void(unsigned int const*, unsigned int)>(&Destination_Impl::SetCallstackMessageIDs),
        Free<ReturnPtrI<Destination_DebugOutput>()>(&GetDestination_DebugOutput),
        Free<ReturnPtrI<Destination_SystemLog>()>(&GetDestination_SystemLog),
        Free<ReturnPtrI<Destination_DiskFile>(Wide)>(&GetDestination_DiskFile),
        Free<ReturnPtrI<Destination_KafkaLog>(Wide)>(&GetDestination_KafkaLog));

    using SetWide = void(Wide);
    [[gnu::used]] std::tuple const gModule(Free<ReturnWString()>(&GetServerInstanceName),
        Free<SetWide>(&SetServerInstanceName), Free<SetWide>(&UpdateLogRegistryStr), Free<SetWide>(&SetBasePath),
        Free<void(std::uint64_t)>(&SetEpisodeNumber), Free<std::uint64_t()>(&GetEpisodeNumber),
        Free<void(ConfigurationHook*)>(&SetConfigurationHook),
        Free<ReturnPtrI<ConfigurationHook>()>(&GetConfigurationHook), Free<void()>(&RefreshConfiguration),
        Free<SetWide>(&SetUserIDToThreadContext), Free<SetWide>(&SetSessionIDToThreadContext),
        Free<SetWide>(&SetObjectIDToThreadContext), Free<ReturnWString()>(&GetObjectIDFromThreadContext),
        Free<void(std::uint64_t)>(&SetParentThreadIDToThreadContext),
        Free<std::shared_ptr<ThreadSpecificLogInfo>()>(&GetThreadSpecificLogInfo),
        Free<void(ThreadSpecificLogInfo const&)>(&SetThreadSpecificLogInfo), Free<void()>(&ClearThreadSpecificLogInfo));

    [[gnu::used]] std::tuple const gMasksAndTraces(Free<ReturnString(Narrow, Narrow, Narrow)>(&ReplaceSensitiveMessage),
        Free<ReturnString(Wide, Narrow, Narrow)>(&ReplaceSensitiveMessage),
        Free<ReturnString(Narrow)>(&ReplaceSensitiveMessageInHTTP), Free<void()>(&InitHTTPSensitiveTagVector),
        Member<void(unsigned long, int, std::int64_t)>(&CmdLogTrace::AddToLogTrace),
        Member<std::map<int, CmdTraceItem>&(unsigned long)>(&CmdLogTrace::GetCurItem), Free<void()>(&MsgLogTrace::Init),
        Free<void()>(&MsgLogTrace::Destroy), Free<MsgLogTrace*()>(&MsgLogTrace::getInstance),
        Free<void(bool)>(&MsgLogTrace::SetMsgLogTrace), Free<bool()>(&MsgLogTrace::IsMsgLogTraceEnabled),
        Free<long(unsigned long, int, WideString&, int, MsgOpType)>(&MsgLogTrace::SendToLogTrace),
        Member<long(unsigned long, int, WideString&, int, MsgOpType)>(&MsgLogTrace::AddToLogTrace),
        Free<Narrow(int) noexcept>(&GetServerCommandName));

    [[gnu::used]] std::tuple const gBase(Free<ReturnWString(Narrow, bool)>(&QzBase::UTF8ToWideChar),
        Free<ReturnString(Wide, bool)>(&QzBase::WideCharToUTF8),
        Free<ReturnString(Wide, bool)>(&QzBase::WideCharToASCII), Free<ReturnString(int)>(&QzBase::ToDecimalString),
        Free<int(Narrow)>(&QzBase::DecimalToInt), Free<unsigned int(Narrow, bool)>(&QzBase::HexToUnsignedInt),
        Free<unsigned int()>(&QzBase::GetCurrentProcessID), Free<unsigned long()>(&QzBase::GetCurrentThreadID),
        Free<ReturnWString()>(&QzBase::GetComputerName), Free<unsigned int()>(&QzBase::GetLastError),
        Free<ReturnWString(unsigned int)>(&QzBase::GetSystemErrorDescription), Free<void(unsigned int)>(&QzBase::Sleep),
        Free<void(QzBase::_GUID&)>(&QzBase::CreateGUID), Member<ReturnWString() const>(&QzBase::GUID::ToWString),
        Free<bool(Wide)>(&QzBase::IsFeatureEnabled), Free<void(Wide, bool)>(&QzBase::SetFeatureEnabled),
        Free<QzBase::CallStack*(QzBase::Buffer*)>(&QzBase::CreateCallStack), &QzBase::UNICODE_BYTE_ORDER_MARK,
        Free<ReturnString(Message const&, unsigned short)>(&QzBase::FormatMessage),
        Free<ReturnString(Message const&, Message&, unsigned short, Message::Localizer&)>(&QzBase::FormatMessage),
        Member<void(unsigned short, int)>(&Message::SetDomainAndID), Member<void(Wide)>(&Message::SetMessage),
        Member<Wide() const>(&Message::GetMessage), Member<int() const>(&Message::GetID),
        Member<Message&(Wide)>(&Message::operator<<), Member<Message&(unsigned long)>(&Message::operator<<),
        Member<Message&(unsigned short, int, Narrow)>(&Message::WrapBy),
        Member<void(Message const&)>(&Message::PrependBy),
        Member<Narrow(unsigned short) const>(&Message::GetLocalizedText),
        Member<void(unsigned short, Narrow)>(&Message::SetLocalizedText),
        Member<Message&() const>(&QzBase::MessageCursor::GetCurrentMessage),
        Member<Message const&() const>(&QzBase::ConstMessageCursor::GetCurrentMessage),
        Member<bool(bool)>(&QzBase::ConstMessageCursor::GoToLowerLevelMessage),
        Member<bool(bool)>(&QzBase::ConstMessageCursor::GoToSameLevelMessage),
        Member<bool()>(&QzBase::ConstMessageCursor::GoToParent),
        Member<bool() const>(&QzBase::MessageCursor::LowerLevelMessageIsUnvisited),
        Member<void() noexcept>(&QzBase::TotalTimer::Timer::Stop));

    template <class Type>
    using Register = void(std::function<Type>&&);
    using Producer = KafkaClient::KafkaProducer;
    [[gnu::used]] std::tuple const gOtherSupport(
        Free<QzSynch::CriticalSection*(Category)>(&QzSynch::CreateCriticalSection),
        Free<QzSynch::RWLock*(Category)>(&QzSynch::CreateRWLock),
        Free<QzSynch::ThreadLocalStorage*()>(&QzSynch::CreateThreadLocalStorage),
        Free<Register<std::shared_ptr<ThreadSpecificLogInfo>()>>(&QzSynch::RegisterThreadSpecificLogInfoGetter),
        Free<Register<void(ThreadSpecificLogInfo*)>>(&QzSynch::RegisterThreadSpecificLogInfoSetter),
        Free<Register<void()>>(&QzSynch::RegisterThreadSpecificLogInfoUnsetter),
        Free<void()>(&QzSynch::DeregisterThreadSpecificLogInfoGetter),
        Free<void()>(&QzSynch::DeregisterThreadSpecificLogInfoSetter),
        Free<void()>(&QzSynch::DeregisterThreadSpecificLogInfoUnsetter), Free<DateTime()>(&DateTime::Now),
        Free<DateTime()>(&DateTime::NowUTC), Member<ReturnString() const>(&DateTime::ToString),
        Member<unsigned int(Narrow)>(&DateTime::FromString),
        Member<QzDataType::TimeSpan(DateTime const&) const noexcept>(&DateTime::operator-),
        Member<int() const noexcept>(&QzDataType::TimeSpan::GetTotalSeconds),
        Free<QzDataType::Binary*(std::size_t, QzBase::Buffer*)>(&QzDataType::CreateBinary),
        Free<QzDataType::StringCollection*()>(&QzDataType::CreateStringCollection),
        Free<MessageFormatter&()>(&QzResource::GetMessageFormatter),
        Free<QzResource::MessageTemplate const&(Narrow)>(&QzResource::GetMessageTemplate),
        Free<unsigned short()>(&QzResource::GetProcessLanguageID),
        Free<void(unsigned short)>(&QzResource::SetProcessLanguageID),
        Free<ReturnPtrI<QzResource::Localizer>()>(&QzResource::GetLocalizer),
        Free<void(unsigned short, unsigned short, int, Narrow)>(&QzResource::RegisterMessageText),
        Free<void(MessageFormatter&)>(&QzResource::MessageFormat::Dec),
        Free<void(MessageFormatter&)>(&QzResource::MessageFormat::Hex),
        Free<void(MessageFormatter&)>(&QzResource::MessageFormat::WideHex), &QzResource::REST_TAG_PASSWORD,
        Member<MessageFormatter&(Narrow)>(&MessageFormatter::operator<<),
        Member<MessageFormatter&(unsigned short)>(&MessageFormatter::operator<<),
        Member<MessageFormatter&(unsigned int)>(&MessageFormatter::operator<<),
        Member<MessageFormatter&(void (*)(MessageFormatter&))>(&MessageFormatter::operator<<),
        Member<Narrow(QzResource::MessageTemplate const&)>(&MessageFormatter::Format),
        Free<Producer::EnumKafkaProducerStatus()>(&Producer::GetKafkaProducerStatus),
        Free<bool(WideString const&, int, std::string const*, QzDataType::Variant const&)>(&Producer::Send),
        Free<void(std::map<std::string, std::string> const&)>(&Producer::Configure));

    /// Constructors have no address: this is compiled and linked, and never called.
    struct DiskFile : Destination_DiskFile
    {
    };
    struct Shared : Destination_Impl
    {
    };
    [[gnu::used]] void Construct(Router& router, ThreadSpecificLogInfo* info, Shared& shared, DiskFile& file)
    {
        Initializer const module;
        Initializer const again(module);
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
        file = static_cast<DiskFile&&>(file);
        QzDataType::Variant const values[] = {{Wide(), nullptr}, {Narrow(), nullptr}};
        Message const message(QzBase::MESSAGE_DOMAIN_SERVER, 1, Narrow());
        Message copied(message);
        copied = message;
        QzBase::ConstMessageCursor const follower(message);
        QzBase::MessageCursor const leader(copied);
        [[maybe_unused]] DateTime const times[] = {DateTime(0.0), DateTime(2026, 11, 18, 3, 2, 7, 123, 0, 0)};
        QzSynch::Initializer const synch;
        QzResource::Initializer const resource;
        KafkaClient::Initializer const kafka;
        throw QzBase::ExceptionImpl<Exception>(static_cast<unsigned short>(1), 1, Narrow());
    }

    template <class Interface>
    constexpr bool kCounted =
        std::is_abstract_v<Interface>&& std::is_convertible_v<Interface*, QzBase::ReferenceCounted*>;
    static_assert(kCounted<Router> && kCounted<Logger> && kCounted<Dispatcher> && kCounted<Logger::Callback>);
    static_assert(kCounted<Dispatcher::Callback> && kCounted<MessageHeader> && kCounted<MessageBody>);
    static_assert(kCounted<ConfigurationHook> && kCounted<MessageCatalog> && kCounted<DestinationCollection>);
    static_assert(kCounted<Destination> && kCounted<Destination_DiskFile> && kCounted<Destination_Impl>);
    static_assert(std::is_base_of_v<Message, Exception> && std::is_base_of_v<LogTrace, MsgLogTrace>);
    static_assert(std::is_base_of_v<DateTime, Timestamp> && std::is_base_of_v<Timestamp, Timestamp_Impl>);

    static_assert(
        std::is_same_v<std::underlying_type_t<Category>, int> && Category(-3) == QzSynch::kLockStackCategoryDefault);
    static_assert(sizeof(MsgOpType) == 4 && MsgOpFirst == 0 && MsgOpSecond == 1 && MsgOpThird == 2);
    static_assert(Producer::kStatusUnusable == 0 && Producer::kStatusUp == 1 && Producer::kStatusDown == 3);

    // The order of the fields of the structures that users fill in.
    constexpr CmdTraceItem kCommand{1, 2, INT64_C(3), INT64_C(4), INT64_C(5)};
    static_assert(kCommand.id == 1 && kCommand.count == 2 && kCommand.minimum == 3 && kCommand.average == 4);
    constexpr MsgTraceItem kMessage{1, 2, 3, 4};
    static_assert(kMessage.firstCount == 1 && kMessage.secondCount == 2 && kMessage.thirdCount == 3);
    using Info = ThreadSpecificLogInfo;
    static_assert(offsetof(Info, userID) < offsetof(Info, sessionID) &&
                  offsetof(Info, sessionID) < offsetof(Info, objectID) &&
                  offsetof(Info, objectID) < offsetof(Info, parentThreadID));
    static_assert(std::is_same_v<decltype(LogTrace::mFileName), WideString>);
}
