#include "filesystem/TemporaryFolder.h"

#include <QzLogKit/Routing.h>
#include <QzResource/Localizer.h>

#include <gtest/gtest.h>

#include <span>

using QzLogKit::SettingsFault;

namespace
{
    /// Values for the place "@" of a file, each of which is a fault in the third line.
    struct BadValues
    {
        std::string mFile;
        std::string mKey;
        std::string mExpected;
        std::vector<char const*> mValues;
    };

    std::string InDestination(std::string const& type, std::string const& member)
    {
        return "{\"destinations\": {\"y\": {\"type\": \"debugOutput\"}, \"x\":\n\n{\"type\": \"" + type + "\"," +
               (type == "file" ? R"("path": "p",)" : "") + member + "}}}";
    }

    std::string InTop(std::string const& member)
    {
        return "{\n\n" + member + "}";
    }

    std::string Number(std::string const& limits)
    {
        return "a number from " + limits;
    }

    std::string const kLanguage = "a language such as \"en\", \"de\", \"pt-BR\" or \"0x0409\"";
    std::string const kTypes = R"("debugOutput", "systemLog", "file", "kafka", "language", "rateLimit" or "selection")";
    std::string const kPatternKey = "as the key \"logger/dispatcher\" or \"*\"";
    std::string const kIDs = "message IDs such as \"0x80000304\"";
    std::string const kIDKey = "as the key a message ID such as \"0x80000304\"";
    std::string const kTop = "one of basePath, catalogs, destinations, kafka, language, routes, server";
    std::string const kSame = "the same as in \"x\", which writes to the same place";
    std::string const kName = "a name that stands in \"destinations\"";
    std::string const kServer = "a name without \"]\" and control characters";

    // Strings with a zero character or half a pair of UTF-16 cannot stand for any name or path.
    std::vector<char const*> const kNoText = {
        "1", "-1.5", "true", "null", "[]", "{}", R"("")", R"("a\u0000b")", R"("a\udc00b")"};
    std::vector<char const*> const kNoObject = {"1", "1.5", R"("x")", "true", "null", "[]"};
    std::vector<char const*> const kNoList = {"1", "1.5", R"("x")", "true", "null", "{}"};
    std::vector<char const*> const kNoLanguage = {
        R"("")", R"("xx")", R"("EN")", R"("0x")", "0", "65536", "-1", "1.5", "true", "null", "[]", "{}"};

    std::string const kOpinion =
        "{\"basePath\": \"b\", \"destinations\": {\"x\": {\"type\": \"file\", \"path\": \"f\"},\n\n\"y\": @}}";
    // With the longest suffix one character too long for a broker.
    std::string const kLongName = '"' + std::string(235, 'a') + '"';
    char const* const kLongTopic = kLongName.c_str();

    BadValues const kBadValues[] = {
        {InTop(R"("server": @)"), "server", kServer, kNoText},
        {InTop(R"("server": @)"), "server", kServer, {R"("a]b")", R"("a\nb")", R"("\u0085")"}},
        {InTop(R"("basePath": @)"), "basePath", "a path", kNoText},
        {InTop(R"("language": @)"), "language", kLanguage, kNoLanguage},
        {InTop(R"("destinations": @, "routes": {"*": ["x"]})"), "destinations", "an object", kNoObject},
        {InTop(R"("destinations": {"x": @})"), "destinations.x", "an object", kNoObject},
        {InTop(R"("routes": @)"), "routes", "an object", kNoObject},
        {InTop(R"("catalogs": @)"), "catalogs", "an object", kNoObject},
        {InTop(R"("catalogs": {"*": @})"), "catalogs.*", "the path of a catalog", kNoText},
        {InTop(R"("kafka": @)"), "kafka", "an object", kNoObject},
        {InTop(R"("kafka": {"client": @})"), "kafka.client", "an object", kNoObject},
        {InTop(R"("kafka": {"client": {"bootstrap.servers": "k", "a.b": @}})"), "kafka.client.a.b",
            "a text, a whole number, true or false", {"null", "[]", "{}", "1.5", R"("a\u0000b")"}},
        {InTop(R"("kafka": {"client": {@: ""}})"), "kafka.client", "\"bootstrap.servers\"",
            {R"("linger.ms")", R"("bootstrap.servers")"}},
        {InTop(R"("kafka": {"enabled": @})"), "kafka.enabled", "true or false", {"1", R"("true")", "null", "[]"}},
        {InTop(R"("kafka": {"publishSettings": @})"), "kafka.publishSettings", "true or false", {"0", "{}"}},
        {InTop(R"("kafka": {"topic": @})"), "kafka.topic",
            R"(a name of at most 234 characters: letters and digits of ASCII, ".", "_" and "-")",
            {R"("")", R"("..")", R"("a b")", R"("ä")", "5", kLongTopic}},
        {InTop(R"("kafka": {@: 1})"), "kafka.linger.ms", "one of client, enabled, publishSettings, topic",
            {R"("linger.ms")"}},
        {InTop("@: 1"), "sever", kTop, {R"("sever")"}},
        {InTop("@: {}"), "Routes", kTop, {R"("Routes")"}},

        {InDestination("file", R"("maxFileSize": @)"), "destinations.x.maxFileSize", Number("1 to 2000000000"),
            {"0", "-1", "1.5", "2000000001", "4294967296", "1e30", R"("1000")", "true", "null", "[]", "{}"}},
        {InDestination("file", R"("backups": @)"), "destinations.x.backups", Number("1 to 256"),
            {"0", "-1", "257", "0.5", R"("3")", "false", "null", "[3]", "{}"}},
        {InDestination("file", R"("retryInterval": @)"), "destinations.x.retryInterval", Number("0 to 1000000000"),
            {"-1", "1000000001", "0.5", R"("300")", "true", "null", "[]", "{}"}},
        {InDestination("file", R"("recovery": @)"), "destinations.x.recovery", R"("basic" or "strict")",
            {R"("Strict")", R"("")", "1", "true", "null", "[]", "{}"}},
        {InDestination("file", R"("reportLosses": @)"), "destinations.x.reportLosses", R"("log" or "systemLog")",
            {R"("journal")", "true"}},
        {InDestination("file", R"("language": @)"), "destinations.x.language", kLanguage, kNoLanguage},
        {InDestination("file", R"("callStacks": @)"), "destinations.x.callStacks", "a list of " + kIDs, kNoList},
        {InDestination("file", R"("callStacks": [5, @])"), "destinations.x.callStacks", kIDs,
            {"0", "-1", R"("x")", R"("0x")", R"("0x1FFFFFFFF")", R"("-1")", R"("")", "1.5", "true", "null", "[]"}},
        {InDestination("systemLog", R"("source": @)"), "destinations.x.source", "a text", kNoText},
        {InTop(R"("destinations": {"x": {"type": @}})"), "destinations.x.type", kTypes,
            {R"("fax")", R"("File")", R"("")", "1", "true", "null", "[]", "{}"}},
        {InTop(R"("destinations": {"x": {"type": "file", "path": @}})"), "destinations.x.path", "a path", kNoText},
        {InTop(R"("destinations": {"x": {"type": "kafka", "path": @}})"), "destinations.x.path", "a path", kNoText},
        {InTop(R"("destinations": {"x": @})"), "destinations.x", "\"type\"",
            {R"({"callStacks": []})", R"({"path": "f"})"}},
        {InTop(R"("destinations": {"x": @})"), "destinations.x.path", "a path",
            {R"({"type": "file"})", R"({"type": "kafka"})"}},
        {InDestination("rateLimit", R"("to": "y", @)"), "destinations.x", R"("messages" and "period")",
            {R"("messages": 5)", R"("period": 5)"}},
        {InDestination("rateLimit", R"("messages": 5, "period": 5, "to": @)"), "destinations.x.to", kName + " (x, y)",
            {R"("z")"}},
        {InDestination("rateLimit", R"("messages": 5, "period": 5, "to": @)"), "destinations.x.to",
            "a destination that leads to one that writes", {R"("x")"}},
        {InDestination("rateLimit", R"("to": "y", "messages": 5, "period": @)"), "destinations.x.period",
            Number("1 to 10000000"), {"0", "1.5", R"("1 s")"}},
        {InDestination("rateLimit", R"("messages": 5, "period": 5, "to": "y", "per": @)"), "destinations.x.per",
            R"("messageID", "callSite" or "dispatcher")", {R"("host")", "5"}},
        {InDestination("language", R"("to": @)"), "destinations.x", "\"language\"", {R"("y")"}},
        {InDestination("selection", R"("to": "y", "users": [@])"), "destinations.x.users", "texts", {"5", "null"}},
        // What another type has.
        {InDestination("debugOutput", "@: 1"), "destinations.x.path", "one of callStacks, language, type",
            {R"("path")"}},
        {InDestination("systemLog", "@: 1"), "destinations.x.backups", "one of callStacks, language, source, type",
            {R"("backups")"}},
        {InDestination("file", "@: 1"), "destinations.x.source",
            "one of backups, callStacks, language, maxFileSize, path, recovery, reportLosses, retryInterval, type",
            {R"("source")"}},
        // Two opinions about one object.
        {kOpinion, "destinations.y.backups", kSame, {R"({"type": "file", "path": "f", "backups": 2})"}},
        {kOpinion, "destinations.y.type", kSame, {R"({"type": "kafka", "path": "f"})"}},
        {kOpinion, "destinations.y.recovery", kSame, {R"({"type": "file", "path": "./c/..\\f", "recovery": "basic"})"}},
        {kOpinion, "destinations.y.callStacks", kSame, {R"({"type": "file", "path": "f", "callStacks": [1]})"}},
        {"{\"destinations\": {\"x\": {\"type\": \"systemLog\", \"source\": \"a\"},\n\n\"y\": @}}",
            "destinations.y.source", kSame, {R"({"type": "systemLog"})", R"({"type": "systemLog", "source": "b"})"}},

        {InTop(R"("routes": {"a/b": @})"), "routes.a/b", "a list of names of destinations", kNoList},
        {InTop(R"("routes": {"a/b": [@]})"), "routes.a/b", "names of destinations",
            {"1", "null", "[]", R"("a\u0000")"}},
        {InTop(R"("routes": {"a/b": [@]})"), "routes.a/b", kName, {R"("z")", R"("")"}},
        {InTop(R"("routes": {@: []})"), "routes.", kPatternKey, {R"("")"}},
        {InTop(R"("routes": {@: []})"), "routes.Kernel", kPatternKey, {R"("Kernel")"}},
        {InTop(R"("routes": {@: []})"), "routes.Kernel/", kPatternKey, {R"("Kernel/")"}},
        {InTop(R"("routes": {@: []})"), "routes./Info", kPatternKey, {R"("/Info")"}},
        {InTop(R"("routes": {"*": [], @: []})"), "routes.*/*", "each pattern once", {R"("*/*")"}},
        {"{\"destinations\": {\"x\": {\"type\": \"debugOutput\"}}, \"routes\": {\"a/b\":\n\n@}}", "routes.a/b",
            "each destination once", {R"(["x", "x"])"}},

        {"\n\n@", "", "an object", {"[]", "1", R"("x")", "null", "true"}},
        {"{\n\n@", "", "JSON",
            {"", "\"a\"", "\"a\":", "\"a\": 1,}", "a: 1}", "\"a\": [1}", "\"server\": \"a}", "}}", "} x", "\"a\": nul}",
                "\"a\": 1e999}", "\"a\": 'x'}", "\"a\": NaN}", "\"a\": .5}"}},
        {"{\"a\": 1,\n\n@: 2}", "", "JSON", {R"("a")"}},
        {"{\n\n@: 1}", "", "UTF-8", {"\"K\xF6ln\"", "\"\xED\xB0\x80\""}},
    };

    // The same in a catalog.
    BadValues const kBadCatalogs[] = {
        {InTop(R"("messages": @)"), "messages", "an object", kNoObject},
        {InTop(R"("messages": {"5": @})"), "messages.5", "an object", kNoObject},
        {InTop(R"("messages": {"5": @})"), "messages.5", "a text in at least one language", {"{}"}},
        {InTop(R"("messages": {"5": {"en": @}})"), "messages.5.en", "a text in that language", kNoText},
        {InTop(R"("messages": {"5": {@: "a"}})"), "messages.5.xx", "as the key " + kLanguage, {R"("xx")"}},
        {InTop(R"("messages": {@: {"en": "a"}})"), "messages.x", kIDKey, {R"("x")"}},
        {InTop(R"("messages": {@: {"en": "a"}})"), "messages.-5", kIDKey, {R"("-5")"}},
        {InTop(R"("messages": {"5": {"en": "a"}, @: {"en": "a"}})"), "messages.5", "each message once", {R"("0x5")"}},
        {"{\"messages\": {},\n\n\"domain\": @}", "domain", Number("0 to 65535"), {"-1", "65536", R"("1")", "null"}},
        {"{\"messages\": {},\n\n@: 1}", "message", "one of domain, messages", {R"("message")"}},
    };

    std::vector<SettingsFault> FindFaults(std::string const& file)
    {
        try
        {
            QzLogKit::Routing::Check(file);
        }
        catch (QzLogKit::SettingsError const& error)
        {
            return error.GetFaults();
        }
        return {};
    }
}

class KitSettings : public QzTest::TemporaryFolder
{
protected:
    /// Returns how many files it has tried.
    int ExpectFaults(std::span<BadValues const> table, std::string const& file)
    {
        int count = 0;
        for (BadValues const& row : table)
            for (char const* const value : row.mValues)
            {
                std::string text = row.mFile;
                text.replace(text.find('@'), 1, value);
                SCOPED_TRACE(text);
                Put(file, text);
                std::vector<SettingsFault> const faults = FindFaults("settings.json");
                ++count;
                if (faults.size() != 1)
                {
                    ADD_FAILURE() << faults.size() << " faults"
                                  << (faults.empty() ? "" : ", the second " + faults.at(1).mKey);
                    continue;
                }
                EXPECT_EQ(faults[0].mFile, file);
                EXPECT_EQ(faults[0].mLine, 3u);
                EXPECT_EQ(faults[0].mKey, row.mKey);
                EXPECT_EQ(faults[0].mExpected, row.mExpected);
            }
        return count;
    }
};

TEST_F(KitSettings, FaultsAreReportedWithLineKeyAndWhatWasExpected)
{
    EXPECT_GE(ExpectFaults(kBadValues, "settings.json"), 200);
    Put("settings.json", R"({"catalogs": {"Kernel": "texts.json"}})");
    ExpectFaults(kBadCatalogs, "texts.json");
}

TEST_F(KitSettings, AllFaultsAreReportedAtOnceAndNoSecretIsShown)
{
    Put("settings.json", R"({"server": 5, "kafka": {"client": {"bootstrap.servers": "k", "sasl.password": ["geheim"]}},
        "destinations": {"f": {"type": "file", "path": "f", "maxFilesize": 5}}, "routes": {"*": ["g"]}})");
    try
    {
        QzLogKit::Routing::Check("settings.json");
        FAIL() << "no fault";
    }
    catch (QzBase::Message const& error)
    {
        EXPECT_STREQ(QzBase::FormatMessage(error, 0).c_str(),
            "The settings 'settings.json' are not usable, nothing of them is in force.\r\n"
            "settings.json(1): server: expected a name without \"]\" and control characters, found 5\r\n"
            "settings.json(2): destinations.f.maxFilesize: expected one of backups, callStacks, language, maxFileSize, "
            "path, recovery, reportLosses, retryInterval, type, found a key that nobody knows\r\n"
            "settings.json(2): routes.*: expected a name that stands in \"destinations\" (f), found \"g\"\r\n"
            "settings.json(1): kafka.client.sasl.password: expected a text, a whole number, true or false, found "
            "something else");
    }
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    for (char const* const file : {"nowhere.json", "/proc", "pipe"})
        ASSERT_EQ(FindFaults(file).size(), 1u) << file;
    EXPECT_EQ(FindFaults("nowhere.json")[0].mFound, "No such file or directory");

    // What is missing is one fault, not another one for each thing that follows from it.
    Put("settings.json",
        R"({"destinations": {"f": {"type": "file"}, "g": {"type": "kafka"}, "h": {"type": "fax", "to": 5}},
        "routes": {"*": ["h"]}, "catalogs": {"*": "nowhere.json"}})");
    EXPECT_EQ(FindFaults("settings.json").size(), 4u);
    EXPECT_EQ(FindFaults("settings.json")[3].mFound, "\"nowhere.json\": No such file or directory");

    Put("settings.json",
        R"({"destinations": {"a": {"type": "systemLog"}, "b": {"type": "file", "path": "system log"}}})");
    EXPECT_EQ(FindFaults("settings.json").size(), 0u) << "what a path says is a file";

    Put("settings.json", std::string(100000, '['));
    ASSERT_EQ(FindFaults("settings.json").size(), 1u);
    EXPECT_EQ(FindFaults("settings.json")[0].mFound, "a fault: it is nested too deep.");
}

TEST_F(KitSettings, NothingIsInForceWithoutTheModule)
{
    Put("settings.json", R"({"language": "de", "server": "s"})");
    EXPECT_THROW(QzLogKit::Routing().Apply("settings.json"), QzBase::Message);
    EXPECT_EQ(QzResource::GetProcessLanguageID(), 0x0409);
}

TEST_F(KitSettings, ADescriptionSaysWhatIsInForce)
{
    Put("texts.json", R"({"messages": {"5": {"en": "a"}, "0x80000304": {"de": "b", "en": "c"}}})");
    Put("settings.json", "\xEF\xBB\xBF"
                         R"({ // with a comment
        "basePath": "logs", "language": "de", "catalogs": {"K*": "texts.json"},
        "kafka": {"client": {"sasl.password": "geheim", "bootstrap.servers": "k"}, "enabled": false,
                  "topic": "a.b_C-9"},
        "destinations": {
            "f": {"type": "file", "path": "f.log", "recovery": "basic", "retryInterval": 0, "callStacks": ["0x5", 5, 3]},
            "g": {"type": "file", "path": "f.log", "recovery": "basic", "retryInterval": 0, "callStacks": [3, 5],
                  "language": "pt-BR"},
            "s": {"type": "kafka", "path": "s.log", "maxFileSize": 5, "backups": 7,
                  "reportLosses": "systemLog"}, "j": {"type": "systemLog"}},
        "routes": {"*": ["f"], "K*/*": ["g", "s"], "*/Error": ["j"], "Kernel/*": [], "Ker*/Info": ["s"]}})");
    EXPECT_EQ(QzLogKit::Routing::Check("settings.json"), R"(Settings of 'settings.json'
Base path: logs
Process language: 0x0407
Kafka: off, topic a.b_C-9, client properties bootstrap.servers, sasl.password
Destinations:
  f: file 'f.log', rolled over at 2000000 bytes, back-ups: 1, basic recovery, retried after 0 s, call stacks of )"
                                                         R"(0x00000003, 0x00000005
  g: file 'f.log', rolled over at 2000000 bytes, back-ups: 1, basic recovery, retried after 0 s, in language 0x0416, )"
                                                         R"(call stacks of 0x00000003, 0x00000005
  j: system log
  s: Kafka, else file 's.log', rolled over at 5 bytes, back-ups: 7, strict recovery, retried after 300 s, )"
                                                         R"(losses to the system log
Routes, the most exact first:
  Kernel/* -> off
  Ker*/Info -> s
  K*/* -> g, s
  */Error -> j
  */* -> f
Catalog of K*: 'texts.json', messages: 2
)");
}
