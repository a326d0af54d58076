#include "destination/LossRuns.h"
#include "routing/CallPath.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include <malloc.h>

// The operators of this whole program, which count for the thread that asks for memory. Never inlined: compilers
// take a free() that they see after a new for a mistake.

namespace
{
    constexpr std::size_t kNoLimit = ~std::size_t{0};
    constinit thread_local std::size_t tAllocations = 0;
    constinit thread_local std::size_t tLimit = kNoLimit; // from here on memory is refused
    constinit thread_local std::ptrdiff_t tBytes = 0;     // asked for and not given back
}

[[gnu::noinline]] void* operator new(std::size_t size)
{
    void* const memory = tAllocations++ < tLimit ? std::malloc(size) : nullptr;
    tBytes += static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
    return memory ? memory : throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    tBytes -= static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

using namespace CallPath;

namespace
{
    /// Whether the action is content with so many pieces of memory.
    template <class Action>
    bool SucceedsWith(std::size_t allocations, Action action)
    try
    {
        tLimit = tAllocations + allocations;
        action();
        tLimit = kNoLimit;
        return true;
    }
    catch (std::bad_alloc const&)
    {
        tLimit = kNoLimit;
        return false;
    }
}

TEST(AllocationTest, AnEnabledTextCallAllocatesNothingInTheSteadyState)
{
    Module const module;
    SetServerInstanceName(u"a server whose name does not fit into a short string"_w);
    module.mDestination.mForgets = true;
    auto const logAll = [&]
    {
        // As often as there are formatters and templates in their rings.
        for (int i = 0; i < 32; ++i)
        {
            LogString(module.mRouter, "a literal", nullptr, __FILE__, __func__, __LINE__);
            LogMessage(module.mRouter, "a template with '%1' and %2, so that it is a long one",
                GetMessageFormatter() << "a text of more than a few characters" << i, nullptr, __FILE__, __func__,
                __LINE__);
            QzLog::Log(module.mRouter, "%1 %2 %3 %4", std::string_view("a text of more than a few characters"), i, 0.1f,
                &module);
            ScopeGuard const guard(module.mRouter, "scope", __FILE__, __LINE__);
        }
    };
    logAll();
    std::size_t const before = tAllocations;
    logAll();
    EXPECT_EQ(tAllocations, before);
}

TEST(AllocationTest, ALongMessageLeavesNoMemoryWithItsThread)
{
    Module const module;
    Router& router = module.mRouter;
    module.mDestination.mForgets = true;
    std::string const text(1 << 20, 'x');
    QzBase::WideString const wide(1 << 20, 'x');
    char const* const file = text.c_str();
    std::function<void()> const calls[] = {[&]
        { router.LogBaseMessage(QzBase::Message(1, 1, "short").WrapBy(1, 2, text.c_str())); },
        [&] { QzLog::Log(router, "%1", text); }, [&] { QzLog::Log(router, 7, text); },
        [&] { QzLog::Log(router, QzLog::RunTimeTemplate(text), 1); },
        [&] { ScopeGuard const guard(router, file, file, 1); },
        [&]
        {
            QzResource::MessageFormatter& formatter = GetMessageFormatter();
            for (int i = 0; i < 100'000; ++i)
                formatter << 'x';
            LogMessage(router, "of many values", formatter, nullptr, nullptr, nullptr, 0);
        },
        [&] { LogString(router, "with a long place", nullptr, file, file, 1); },
        [&]
        {
            SetUserIDToThreadContext(wide.c_str());
            std::string json;
            router.FormatHeaderJson("", 0, "", "", 0, json);
            QzLog::Log(router, "of a user with a long name");
            SetUserIDToThreadContext(u""_w);
        }};
    for (std::size_t row = 0; row < std::size(calls); ++row)
    {
        std::ptrdiff_t const before = tBytes;
        for (int i = 0; i < 20; ++i)
            calls[row]();
        QzLog::Log(router, "%1", "short");
        EXPECT_LT(tBytes - before, 64 * 1024) << row;
    }
}

TEST(AllocationTest, AHeaderLineThatFailsIsWholeTheNextTime)
{
    std::string const name(100, 'n');
    auto const fill = [&](MessageHeader& header)
    {
        header.SetHostName(name.c_str());
        header.SetServerName(name.c_str());
        header.SetUserID(name.c_str());
        header.SetObjectID(name.c_str());
    };
    CountedPtr<MessageHeader> const whole(CreateMessageHeader());
    fill(*whole);
    for (std::size_t spare = 0; spare < 20; ++spare)
    {
        CountedPtr<MessageHeader> const header(CreateMessageHeader());
        fill(*header);
        SucceedsWith(spare, [&] { header->GetHeaderText(); });
        EXPECT_STREQ(header->GetHeaderText(), whole->GetHeaderText()) << spare;
    }
}

TEST(AllocationTest, AFormatterThatFailsIsEmptyAfterwards)
{
    QzResource::MessageFormatter formatter;
    QzResource::MessageTemplate const messageTemplate("a template that needs memory: '%1'");
    formatter << 1;
    EXPECT_FALSE(SucceedsWith(0, [&] { formatter.Format(messageTemplate); }));
    EXPECT_STREQ(formatter.Format(messageTemplate), messageTemplate.GetText().c_str());
}

TEST(AllocationTest, RoutersKnowTheirDestinationsWhenMemoryFails)
{
    // One dispatcher at two places of one logger and in another logger.
    Module const module;
    DispatcherPtr const dispatcher = CreateDispatcher("shared");
    InstallHook().mOnDispatcher = [&](DispatcherPtr& offered) { offered = dispatcher; };
    CountedPtr<Router> const routers[] = {MakeRouter("A"), MakeRouter("B"), MakeRouter("A", "M")};
    CountedPtr<DestinationCollection> const lists[] = {
        nullptr, CreateDestinationCollection({module.mpDestination.get()})};
    for (std::size_t spare = 0; spare < 12; ++spare)
    {
        for (auto const& list : lists)
        {
            bool const isSet = SucceedsWith(spare, [&] { dispatcher->SetDestinations(list); });
            EXPECT_TRUE(!isSet || dispatcher->HasDestinations() == static_cast<bool>(list));
            for (CountedPtr<Router> const& router : routers)
                EXPECT_EQ(router->mEnabled, dispatcher->HasDestinations()) << spare;
        }
    }
    EXPECT_TRUE(dispatcher->HasDestinations());
}

TEST(AllocationTest, AMessageThatCannotBeAssignedStaysAsItWas)
{
    QzBase::Message const source = QzBase::Message(QzBase::MESSAGE_DOMAIN_SERVER, 1, "a text that needs memory")
                                       .WrapBy(QzBase::MESSAGE_DOMAIN_SERVER, 2, "and one that has a cause");
    QzBase::Message message(QzBase::MESSAGE_DOMAIN_SERVER, 3, "old");
    for (std::size_t spare = 0; !SucceedsWith(spare, [&] { message = source; }); ++spare)
    {
        EXPECT_EQ(message.GetID(), 3);
        EXPECT_STREQ(FormatMessage(message, 9).c_str(), "old");
    }
    EXPECT_STREQ(FormatMessage(message, 9).c_str(), FormatMessage(source, 9).c_str());
}

TEST(AllocationTest, ALossCountsWithoutMemoryForItsReason)
{
    QzBase::Message const failure(QzBase::MESSAGE_DOMAIN_SERVER, 1, "a reason that needs memory");
    LossRuns runs;
    EXPECT_TRUE(SucceedsWith(0, [&] { runs.AddFailure(failure, 1); }));
    EXPECT_EQ(runs.GetTotal(), 1u);
}

TEST(AllocationTest, AModuleThatFindsNoMemoryLeavesTheNextOneRoom)
{
    std::optional<Initializer> initializer;
    for (std::size_t spare = 0; !SucceedsWith(spare, [&] { initializer.emplace(); }); ++spare)
        EXPECT_THROW(GetConfigurationHook(), QzBase::Message);
    EXPECT_FALSE(GetConfigurationHook());
}
