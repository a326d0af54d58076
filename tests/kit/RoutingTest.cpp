#include "filesystem/TemporaryFolder.h"
#include "support/Texts.h"

#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Log.h>
#include <QzLog/Logger.h>
#include <QzLog/LossObserver.h>
#include <QzLog/Module.h>
#include <QzLogKit/Destination_Selection.h>
#include <QzLogKit/Routing.h>
#include <QzLogKit/Utf8.h>
#include <QzResource/Localizer.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{
    using RouterPtr = QzBase::CountedPtr<QzLog::Router>;
}

class KitRouting : public QzTest::TemporaryFolder
{
protected:
    void Apply(std::string const& settings)
    {
        Put("settings.json", settings);
        mRouting.Apply("settings.json");
    }

    void Reload(std::string const& settings)
    {
        Put("settings.json", settings);
        mRouting.Reload();
    }

    void ExpectFault(std::string const& settings, unsigned int line, std::string const& key)
    {
        try
        {
            Apply(settings);
            FAIL() << "no fault";
        }
        catch (QzLogKit::SettingsError const& error)
        {
            EXPECT_EQ(error.GetFaults().at(0).mLine, line);
            EXPECT_EQ(error.GetFaults().at(0).mKey, key);
        }
    }

    /// The last words of the line of the description that begins with these.
    std::string GetRoute(std::string const& name) const
    {
        std::string const text = mRouting.Describe();
        std::string const start = "  " + name + " by ";
        std::size_t const begin = text.find(start);
        return begin == text.npos ? "not there"
                                  : text.substr(begin + start.size(), text.find('\n', begin) - begin - start.size());
    }

    QzLog::Initializer const mModule;
    QzLogKit::Routing mRouting;
};

TEST_F(KitRouting, TheMostExactPatternDecides)
{
    char const* const names[][3] = {// logger, dispatcher, route
        {"Kernel", "Error", "Kernel/Error"}, {"Kernel", "Info", "Kernel/*"}, {"Engine", "Error", "*/Error"},
        {"Engine", "Info", "*/*"}, {"Kerning", "Error", "Ker*/*"}, {"Ker", "", "Ker*/*"}, {"Kernels", "x", "Kern*s/*"},
        {"a/b", "Error", "a/b/E*r"}, {"a/b", "Er", "a/b/E*r"}, {"a/b", "E", "*/*"}, {"xyyz", "Info", "x*y*z/Info"},
        {"xyxyzz", "Info", "x*y*z/Info"}, {"xz", "Info", "*/*"}, {"", "Error", "*/Error"}};
    // A router from before the settings.
    RouterPtr const early(QzLog::CreateRouter("Kernel", "Error"));
    Apply(R"({"destinations": {"f": {"type": "file", "path": "f"}}, "routes": {"*": ["f"], "*/Error": ["f"],
        "Kernel/*": [], "Kernel/Error": ["f"], "Ker*/*": ["f"], "Kern*s/*": [], "a/b/E*r": ["f"], "x*y*z/Info": []}})");
    EXPECT_TRUE(early->mEnabled);
    for (auto const& [logger, dispatcher, route] : names)
    {
        RouterPtr const router(QzLog::CreateRouter(logger, dispatcher));
        EXPECT_EQ(GetRoute(std::string(logger) + '/' + dispatcher), route);
        bool const isOff = std::string(route) == "Kernel/*" || route[0] == 'x' || std::string(route) == "Kern*s/*";
        EXPECT_EQ(router->mEnabled, !isOff) << route;
    }
    Reload("{}");
    EXPECT_EQ(GetRoute("Engine/Error"), "no route: off");
    EXPECT_FALSE(early->mEnabled);
}

TEST_F(KitRouting, SettingsReachTheProcessItsDestinationsAndItsLoggers)
{
    Put("texts.json", R"({"domain": 17, "messages": {
        "0x80000304": {"de-AT": "Anfrage %1 ist fehlgeschlagen.", "en": "Request %1 has failed."}}})");
    Apply(R"({"server": "Köln", "basePath": "logs", "language": "en", "catalogs": {"K*": "texts.json"},
        "destinations": {
            "de": {"type": "file", "path": "de.log", "language": "de-AT", "maxFileSize": 77777, "backups": 5,
                   "recovery": "basic", "retryInterval": 7, "callStacks": [9]},
            "en": {"type": "kafka", "path": "en.log", "maxFileSize": 88888}},
        "routes": {"*": ["de", "en"]}})");
    RouterPtr const router(QzLog::CreateRouter("Kernel", "Info"));
    QzLog::Log(*router, 0x80000304u, 1);
    QzLog::Log(*router, QzBase::Message(17, static_cast<int>(0x80000304), "neither") << 3);
    QzResource::SetProcessLanguageID(0x0407);
    QzLog::Log(*router, 0x80000304u, 2);
    QzLog::Log(*router, 4u, "x");

    std::string const german = Get("logs/de.log");
    for (auto const& [text, inGerman] : std::map<std::string, int>{{"[SERVER:Köln]", 4}, {"Request 1 has failed.", 1},
             {"Anfrage 2 ist fehlgeschlagen.", 1}, {"Anfrage 3 ist fehlgeschlagen.", 1},
             {"(no text in the catalog) x", 1}})
        EXPECT_EQ(QzTest::Count(german, text), inGerman) << text;

    auto const settingsOf = [](char const* name)
    {
        auto const file = QzLog::GetDestination_DiskFile(QzTest::Wide(name));
        return std::vector<unsigned int>{
            file->GetMaxFileSize(), file->GetBackupCount(), file->GetRecovery(), file->GetRetryInterval()};
    };
    EXPECT_EQ(settingsOf("de.log"), (std::vector<unsigned int>{77777, 5, QzLog::kRecoveryBasic, 7}));
    EXPECT_EQ(settingsOf("en.log"), (std::vector<unsigned int>{88888, 1, QzLog::kRecoveryStrict, 300}));
    auto const file = QzLog::GetDestination_DiskFile(QzTest::Wide("de.log"));

    // What is left out returns to what it was without settings.
    Reload("{}");
    EXPECT_EQ(QzLog::GetServerInstanceName().size(), 0u);
    EXPECT_EQ(QzResource::GetProcessLanguageID(), 0x0409);
    EXPECT_FALSE(router->GetMessageCatalog());
    EXPECT_EQ(QzTest::Narrow(file->GetFilePath()), "de.log");
}

TEST_F(KitRouting, AReloadKeepsWhatItCan)
{
    int decorated = 0;
    mRouting.SetDecorator(
        [&](std::string const& name, QzBase::CountedPtr<QzLog::Destination> const& destination)
        {
            decorated += name == "g" ? 1 : 100;
            return destination;
        });
    Apply(R"({"destinations": {"g": {"type": "file", "path": "g", "language": "de"}}, "routes": {"*": ["g"]}})");
    RouterPtr const router(QzLog::CreateRouter("Kernel", "Info"));
    auto const before = mRouting.GetDestination("g");
    auto const file = QzLog::GetDestination_DiskFile(QzTest::Wide("g"));
    QzLog::Log(*router, "before");
    Reload(R"({"destinations": {"g": {"type": "file", "path": "./g", "language": "0x407", "backups": 9}},
        "routes": {"Kernel/*": ["g"]}})");
    QzLog::Log(*router, "after");
    EXPECT_EQ(mRouting.GetDestination("g").get(), before.get());
    EXPECT_EQ(file->GetStatistics().mRecords, 2u);
    EXPECT_EQ(file->GetBackupCount(), 9u);
    EXPECT_EQ(decorated, 1);

    // A file with a fault, and one that the decorator refuses, change nothing.
    std::string const description = mRouting.Describe();
    auto const files = TakeSnapshot();
    EXPECT_THROW(Reload(R"({"server": "x", "basePath": "x", "routes": {"*": ["g"]}})"), QzLogKit::SettingsError);
    mRouting.SetDecorator([&](auto const&, auto const&) -> QzBase::CountedPtr<QzLog::Destination>
        { throw QzBase::ExceptionImpl<QzBase::Message>(17, 5, mRouting.Describe().c_str()); });
    EXPECT_THROW(Reload(R"({"server": "x", "language": "fr", "destinations": {"t": {"type": "debugOutput"}},
        "routes": {"*": ["t"]}})"),
        QzBase::Message);
    EXPECT_EQ(mRouting.Describe(), description);
    EXPECT_EQ(QzLog::GetServerInstanceName().size(), 0u);
    EXPECT_EQ(QzResource::GetProcessLanguageID(), 0x0409);
    std::filesystem::remove("settings.json");
    EXPECT_THROW(mRouting.Reload(), QzLogKit::SettingsError);
    Put("settings.json", files.at("settings.json"));
    EXPECT_EQ(TakeSnapshot(), files);

    mRouting.SetDecorator(
        [&](auto const&, auto const& destination)
        {
            mRouting.Reload();
            return destination;
        });
    EXPECT_THROW(
        Reload(R"({"destinations": {"t": {"type": "debugOutput"}}, "routes": {"*": ["t"]}})"), QzBase::Message);
    EXPECT_THROW(QzLogKit::Routing().Reload(), QzBase::Message);
}

TEST_F(KitRouting, DestinationsThatPassMessagesOnKeepTheirStateOverAReload)
{
    std::string const settings = R"({"destinations": {
        "f": {"type": "file", "path": "f", "maxFileSize": 12345},
        "few": {"type": "rateLimit", "to": "f", "messages": 1, "period": 1000, "per": "dispatcher"},
        "case": {"type": "selection", "to": "few", "users": ["alice"]},
        "german": {"type": "language", "to": "case", "language": "de"}},
        "routes": {"*": ["german", "case"]}})";
    Apply(settings);
    RouterPtr const router(QzLog::CreateRouter("Kernel", "Info"));
    auto const before = mRouting.GetDestination("german");
    auto& selection = dynamic_cast<QzLogKit::Destination_Selection&>(*mRouting.GetDestination("case"));
    QzLog::Log(*router, "not selected");
    selection.Select({});
    Reload(settings);
    EXPECT_EQ(mRouting.GetDestination("german").get(), before.get());
    EXPECT_TRUE(selection.GetSelection().IsEmpty()) << "what the program has selected stays";

    std::string changed = settings;
    changed.replace(changed.find("alice"), 5, "0");
    Reload(changed);
    EXPECT_EQ(selection.GetSelection().mUserIDs, std::vector<std::string>{"0"});
    EXPECT_EQ(mRouting.GetDestination("german").get(), before.get());
    EXPECT_EQ(QzLog::GetDestination_DiskFile(QzTest::Wide("f"))->GetMaxFileSize(), 12345u);

    changed.replace(changed.find("1000"), 4, "2000");
    Reload(changed);
    EXPECT_NE(mRouting.GetDestination("german").get(), before.get()) << "it passes on to another one";
}

// Four threads log, each through a router that exists and through new ones, while routes change between files that have
// nothing in common.
TEST_F(KitRouting, ReloadsUnderLoadLoseNothing)
{
    auto const makeSettings = [](std::string const& name)
    {
        return R"({"destinations": {"f": {"type": "file", "path": ")" + name + R"(", "maxFileSize": 1000000000}},
            "routes": {"*/*": ["f"]}})";
    };
    Apply(makeSettings("a"));
    constexpr int threadCount = 4;
    constexpr int messageCount = 150;
    std::atomic<int> running = threadCount;
    std::vector<RouterPtr> routers(threadCount * messageCount);
    auto const log = [&](int thread)
    {
        RouterPtr const kept(QzLog::CreateRouter("Kept", "Info"));
        for (int i = 0; i < messageCount; ++i)
        {
            // Two threads create each of them at once.
            RouterPtr& created = routers[static_cast<std::size_t>(thread * messageCount + i)];
            created = QzLog::CreateRouter(("New" + std::to_string(thread / 2)).c_str(), std::to_string(i).c_str());
            QzLog::Log(*kept, "<%1>", i);
            QzLog::Log(*created, "<%1>", i);
        }
        --running;
    };
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < threadCount; ++thread)
            threads.emplace_back(log, thread);
        threads.emplace_back(
            [&]
            {
                while (running > 0)
                    mRouting.Reload();
            });
        for (int i = 0; running > 0; ++i)
        {
            Put("next", makeSettings(i % 2 ? "a" : "b"));
            std::filesystem::rename("next", "settings.json");
            mRouting.Reload();
        }
    }
    std::string const logs = Get("a") + Get("b");
    for (int i = 0; i < messageCount; ++i)
        ASSERT_EQ(QzTest::Count(logs, '<' + std::to_string(i) + '>'), 2 * threadCount) << i;

    // Those that were created while the routes changed follow the last ones.
    Apply(makeSettings("c"));
    for (RouterPtr const& router : routers)
        QzLog::Log(*router, "last");
    EXPECT_EQ(QzTest::Count(Get("c"), "last"), threadCount * messageCount);
}

TEST_F(KitRouting, LossesAreReportedAsTheFileSaysOrToTheProgramsObserver)
{
    struct Observer final : QzSynch::Counted<QzLog::LossObserver>
    {
        explicit Observer(std::shared_ptr<int> life) : mLife(std::move(life)) {}
        void OnLossesBegan(QzLog::LossRun const&) override {}
        void OnLossesReported(QzLog::LossRun const&) override {}

        std::shared_ptr<int> const mLife;
    };
    struct Step
    {
        char const* mType;
        char const* mReportLosses;
        char const* mTargets;
        bool mProgramsStays;
    };
    auto const file = QzLog::GetDestination_DiskFile(QzTest::Wide("f"));
    int number = 0;
    for (Step const& step : {Step{"file", "log", R"("f")", true}, {"file", "systemLog", R"("f")", false},
             {"file", "systemLog", R"("f")", true}, {"kafka", "log", R"("f")", false},
             {"kafka", "systemLog", R"("f")", false}, {"file", "systemLog", R"("f")", true},
             {"file", "systemLog", "", false}, {"file", "log", R"("f")", true}})
    {
        auto const life = std::make_shared<int>();
        file->SetLossObserver(QzBase::CountedPtr<Observer>(new Observer(life)).get());
        Apply(std::string(R"({"destinations": {"f": {"type": ")") + step.mType +
              R"(", "path": "f", "reportLosses": ")" + step.mReportLosses + R"("}}, "routes": {"*": [)" +
              step.mTargets + "]}}");
        ++number;
        EXPECT_EQ(life.use_count() == 2, step.mProgramsStays) << "step " << number;
    }
}

TEST_F(KitRouting, TheTopicKeepsTheNameThatItHas)
{
    // Another test of this process may have named it.
    std::string topic = QzLogKit::GetKafkaTopic();
    if (topic.empty())
        Apply("{\"server\": \"s\", \"kafka\": {\"topic\": \"" + (topic = "own") + "\"}}");
    ExpectFault("{\"server\": \"s\",\n\"kafka\": {\"topic\": \"other\"}}", 2, "kafka.topic");
    Apply(R"({"server": "s", "kafka": {}})");
    EXPECT_NE(mRouting.Describe().find("topic " + topic + '\n'), std::string::npos);
}

TEST_F(KitRouting, AForkDuringAReloadLeavesTheChildAUsableObject)
{
    Apply(R"({"destinations": {"f": {"type": "file", "path": "f"}}, "routes": {"*": ["f"]}})");
    ExpectInChildrenOfBusyParent(
        30, [&] { mRouting.Reload(); },
        [&]
        {
            mRouting.Reload();
            return RouterPtr(QzLog::CreateRouter("Child", "Info"))->mEnabled.load();
        });
}

#ifdef QZLOG_WITH_KAFKA
TEST_F(KitRouting, APropertyThatTheKafkaClientRefusesIsAFaultAtItsLine)
{
    std::string const start =
        "{\"server\": \"s\", \"kafka\": {\"client\":\n{\"bootstrap.servers\": \"k\",\n\"linger.ms\": 5,\n";
    // The client names the property in quotes, without, and not at all.
    ExpectFault(start + R"("compresion.codec": "lz4"}}})", 4, "kafka.client.compresion.codec");
    ExpectFault(start + R"("message.timeout.ms": 3}}})", 4, "kafka.client.message.timeout.ms");
    ExpectFault(start + R"("security.protocol": "sasl_plaintext", "sasl.mechanism": "PLAIN"}}})", 2, "kafka.client");
    EXPECT_EQ(QzLog::GetServerInstanceName().size(), 0u);
}
#endif
