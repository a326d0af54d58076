// Users' programs hold the slot of each virtual operation: an operation that is inserted, moved or changed in type
// breaks every program that was compiled before. scripts/abi.sh compares all with those of the last release, but for
// the types whose change CHANGELOG.md admits; the interfaces among these stand here. The slots are read out of pointers
// to the members, whose form is that of the C++ ABI on Linux.
#include <QzLog/QzLog.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>

using namespace QzLog;

namespace
{
    /// The slot of an operation of exactly the type Signature in the table of the class that declares it.
    template <class Signature, class Class>
    std::ptrdiff_t SlotOf(Signature Class::*operation)
    {
        std::array<std::ptrdiff_t, 2> words; // offset and adjustment, one of them with the mark of virtual operations
        static_assert(sizeof(words) == sizeof(operation));
        std::memcpy(&words, &operation, sizeof(words));
#ifdef __aarch64__
        std::ptrdiff_t const mark = words[1] & 1;
        std::ptrdiff_t const offset = words[0];
#else
        std::ptrdiff_t const mark = words[0] & 1;
        std::ptrdiff_t const offset = words[0] - 1;
#endif
        return mark != 0 ? offset / static_cast<std::ptrdiff_t>(sizeof(void*)) : -1;
    }

    void ExpectSlots(std::ptrdiff_t first, std::initializer_list<std::ptrdiff_t> slots)
    {
        for (std::ptrdiff_t const slot : slots)
            EXPECT_EQ(first++, slot);
    }

    constexpr std::ptrdiff_t kDestructorSlots = 2;
    /// Destructor, AddRef and Release stand in front of what a counted interface adds.
    constexpr std::ptrdiff_t kCountedSlots = kDestructorSlots + 2;
    constexpr std::ptrdiff_t kDestinationSlots = kCountedSlots + 5;

#define SLOT(name, ...) SlotOf<__VA_ARGS__>(&Face::name)

    using Text = char const*;
    using QzBase::Message;
    using QzBase::ReturnPtrI;
}

TEST(VirtualOrder, Logger)
{
    using Face = Logger;
    ExpectSlots(kCountedSlots,
        {SLOT(GetName, Text()), SLOT(SetMessageCatalog, void(MessageCatalog*)),
            SLOT(GetMessageCatalog, ReturnPtrI<MessageCatalog>()),
            SLOT(ApplyConfigurationHook, void(ConfigurationHook*)),
            SLOT(LogAndUpdateMessage, void(unsigned short, Message&)),
            SLOT(LogBaseMessage, void(unsigned short, Message const&)),
            SLOT(LogText, void(unsigned short, Text, unsigned int, Text, Text, int)),
            SLOT(GetDispatcherCollection, Logger::DispatcherCollection * ()),
            SLOT(AddCallback, void(Logger::Callback*)), SLOT(RemoveCallback, void(Logger::Callback*)),
            SLOT(FormatHeaderJson, void(unsigned short, Text, unsigned int, Text, Text, int, std::string&))});
}

TEST(VirtualOrder, DiskFile)
{
    using Face = Destination_DiskFile;
    ExpectSlots(
        kDestinationSlots, {SLOT(SetMaxFileSize, void(unsigned int)), SLOT(GetMaxFileSize, unsigned int()),
                               SLOT(SetBackupCount, void(unsigned int)), SLOT(GetBackupCount, unsigned int()),
                               SLOT(GetFilePath, QzBase::ReturnWString()), SLOT(SetRecovery, void(Recovery)),
                               SLOT(GetRecovery, Recovery()), SLOT(SetRetryInterval, void(unsigned int)),
                               SLOT(GetRetryInterval, unsigned int()), SLOT(GetStatistics, DiskFileStatistics()),
                               SLOT(SetLossObserver, void(LossObserver*))});
}

TEST(VirtualOrder, LogTrace)
{
    using Face = LogTrace;
    ExpectSlots(kDestructorSlots, {SLOT(CollectLogTrace, void()), SLOT(PrintAllLogTrace, long()), SLOT(Clear, void())});
}
