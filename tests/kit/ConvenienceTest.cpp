#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Log.h>
#include <QzLogKit/DestinationList.h>
#include <QzLogKit/LogCapture.h>
#include <QzLogKit/LoggerHandle.h>
#include <QzLogKit/Matchers.h>
#include <QzLogKit/Utf8.h>

#include "filesystem/TemporaryFolder.h"

#include <filesystem>
#include <sstream>
#include <thread>

using namespace QzLogKit;
using namespace testing;
using QzBase::CountedPtr;

namespace
{
    constinit LoggerHandle<"Trace", "Info", "Error"> gKernel("Kernel");
    constinit RouterHandle gOrders("Orders", "Info");

    struct LogAtTheEndOfTheProcess
    {
        ~LogAtTheEndOfTheProcess() { QzLog::Log(gOrders, "nobody hears it"); }
    } const gLogAtTheEnd;

    using Utf8Test = QzTest::TemporaryFolder;
}

TEST(LoggerHandle, FindsItsRoutersInEachRunOfTheModule)
{
    QzLog::Log(gKernel.To<"Info">(), "before the module");
    EXPECT_EQ(gOrders->GetLogger(), nullptr);
    for (char const* const text : {"first", "second"})
    {
        LogCapture log;
        std::jthread other([&] { QzLog::Log(gKernel.To<"Error">(), "%1", text); });
        QzLog::Log(gKernel.To<"Error">(), "%1", text);
        other.join();
        QzLog::Log(gOrders, "%1", text);
        EXPECT_THAT(log.Take(),
            ElementsAre(AllOf(LoggerIs("Kernel"), DispatcherIs("Error"), TextIs(text)), TextIs(text),
                AllOf(LoggerIs("Orders"), DispatcherIs("Info"), SourceFileIs(EndsWith("ConvenienceTest.cpp")))));
        EXPECT_EQ(&gKernel.To<"Trace">(), &gKernel.To<"Trace">());
    }
    QzLog::Log(gKernel.To<"Info">(), "after the module");
}

TEST(LogCapture, GivesBackWhatWasThere)
{
    QzLog::Initializer const module;
    QzBase::CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Kernel", "Error"));
    std::ostringstream shown;
    {
        LogCapture log;
        QzLog::LogMessage(*router, 42, QzResource::GetMessageFormatter(), nullptr, "src/Client.cpp", "Send", 77);
        QzLog::Log(*router, "kept");
        EXPECT_THAT(log.GetMessages(), SizeIs(2));
        shown << log.Take().front();
        EXPECT_THAT(log.Take(), IsEmpty());
    }
    EXPECT_EQ(shown.str(), "Kernel/Error 0x0000002A Client.cpp:77 \"Message 0x0000002A\"");
    EXPECT_FALSE(router->mEnabled);
    EXPECT_EQ(QzLog::GetConfigurationHook().get(), nullptr);
}

TEST(DestinationList, TakesPointersOfEveryKind)
{
    QzLog::Initializer const module;
    CountedPtr<Destination_Capture> const capture(CreateDestination_Capture());
    CountedPtr<QzLog::Destination> const base(capture);
    QzLog::Destination* const pointers[] = {base.get()};
    EXPECT_EQ(CreateDestinationList(std::vector{capture, capture})->GetCount(), 2u);
    EXPECT_EQ(CreateDestinationList(std::span(pointers))->GetCount(), 1u);
    CountedPtr<QzLog::DestinationCollection> const list(
        CreateDestinationList(capture, base.get(), QzLog::GetDestination_DebugOutput()));
    EXPECT_EQ(list->GetCount(), 3u);
    EXPECT_EQ(list->GetDestination(1), base.get());
}

TEST_F(Utf8Test, KeepsNamesAndPathsAsTheyAre)
{
    QzLog::Initializer const module;
    std::string const folder = In("gr\xC3\xBC\xC3\x9F\xFF");
    SetBasePath(folder);
    SetServerInstanceName("\xC3\x84rger");
    EXPECT_EQ(GetServerInstanceName(), "\xC3\x84rger");
    CountedPtr<QzLog::Destination_DiskFile> const file(
        GetDestination_DiskFile(std::filesystem::path("logs") / "\xE2\x82\xAC.log"));
    EXPECT_EQ(GetFilePath(*file), folder + "/logs/\xE2\x82\xAC.log");
    CountedPtr<QzLog::Destination_KafkaLog> const kafka(GetDestination_KafkaLog("k.log"));
    EXPECT_EQ(GetFilePath(*CountedPtr(kafka->GetDiskFileDestination().get())), folder + "/k.log");
    for (bool const isEnabled : {true, false})
    {
        SetFeatureEnabled("\xC3\x84", isEnabled);
        EXPECT_EQ(IsFeatureEnabled("\xC3\x84"), isEnabled);
    }
    SetServerInstanceName("");
}
