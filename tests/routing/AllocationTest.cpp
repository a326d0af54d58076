#include "routing/Road.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

// The operators of this whole program, which count for the thread that asks for it.

namespace
{
    constinit thread_local std::size_t tAllocations = 0;
}

void* operator new(std::size_t size)
{
    ++tAllocations;
    if (void* const memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

using namespace Road;

namespace
{
    class SilentDestination final : public Counted<Destination>
    {
    public:
        void WriteMessage(MessageHeader&, MessageBody&) override {}
        void WriteMessage(char const* text, MessageHeader&) override { mLast = text[0]; }
        void SetCallstackMessageIDs(unsigned int const*, unsigned int) override {}
        char mLast = 0;

    protected:
        unsigned short GetLanguageID() const override { return 0; }
        void SetLanguageID(unsigned short) override {}
    };
}

TEST(AllocationTest, AnEnabledTextCallAllocatesNothingInTheSteadyState)
{
    Initializer const initializer;
    SetServerInstanceName(u"a server whose name does not fit into a short string"_w);
    CountedPtr<SilentDestination> const destination(new SilentDestination);
    CountedPtr<Router> const router = MakeRouter("a dispatcher whose name is a long one");
    SetDestinations(*router->GetDispatcher(),
        {destination.get(), destination.get(), destination.get(), destination.get(), destination.get(),
            destination.get(), destination.get(), destination.get(), destination.get(), destination.get()});
    auto const logAll = [&]
    {
        // As often as there are formatters and templates in their rings.
        for (int i = 0; i < 32; ++i)
        {
            LogString(*router, "a literal", nullptr, __FILE__, __func__, __LINE__);
            LogMessage4NP(*router, "%1", GetMessageFormatter(), nullptr, __FILE__, __func__, __LINE__);
            LogMessage(*router, "a template with '%1' and %2, so that it is a long one",
                GetMessageFormatter() << "a text of more than a few characters" << Format::WideHex << i, nullptr,
                __FILE__, __func__, __LINE__);
            ScopeGuard const guard(*router, "scope", __FILE__, __LINE__);
        }
    };
    logAll();
    std::size_t const before = tAllocations;
    logAll();
    EXPECT_EQ(tAllocations - before, 0u);
    EXPECT_EQ(destination->mLast, 'L');
}
