#include "filesystem/TemporaryFolder.h"

#include <QzLogKit/Routing.h>
#include <QzResource/Localizer.h>

#include <gtest/gtest.h>

#include <fstream>

using QzLogKit::SettingsFault;

namespace
{
    std::vector<std::string> Split(std::string text, std::string const& separator)
    {
        std::vector<std::string> parts;
        for (std::size_t end; (end = text.find(separator)) != text.npos; text.erase(0, end + separator.size()))
            parts.push_back(text.substr(0, end));
        parts.push_back(text);
        return parts;
    }

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

using KitSettings = QzTest::TemporaryFolder;

TEST_F(KitSettings, FaultsAreReportedWithLineKeyAndWhatWasExpected)
{
    std::vector<std::pair<std::string, std::string>> words{{"~", "\n"}};
    auto const expand = [&](std::string text)
    {
        for (auto word = words.rbegin(); word != words.rend(); ++word)
            for (std::size_t at; (at = text.find(word->first)) != text.npos;)
                text.replace(at, word->first.size(), word->second);
        return text;
    };
    std::ifstream rows(QZLOG_FAULTY_SETTINGS);
    std::string file = "settings.json";
    int count = 0;
    for (std::string row; std::getline(rows, row);)
    {
        std::vector<std::string> const columns = Split(row, " | ");
        if (row == "# texts.json")
        {
            Put(file, R"({"catalogs": {"Kernel": "texts.json"}})");
            file = "texts.json";
        }
        else if (std::size_t const at = row.find(" = "); row[0] == '$' && columns.size() == 1)
            words.emplace_back(row.substr(0, at) + (at == 2 && row[1] != 'm' ? " " : ""), row.substr(at + 3));
        if (columns.size() != 4)
            continue;
        for (std::string const& value : Split(expand(columns[3]), " ; "))
        {
            std::string text = columns[0].find_first_of("$~") != row.npos ? columns[0] : "{~~" + columns[0] + '}';
            text = expand(text[0] == '$' ? text + "}}" : text);
            Put(file, text.replace(text.find('@'), 1, value));
            std::string found;
            for (SettingsFault const& fault : FindFaults("settings.json"))
                found += fault.mFile + '(' + std::to_string(fault.mLine) + ") " + fault.mKey + ": " + fault.mExpected;
            EXPECT_EQ(found, file + "(3) " + expand(columns[1]) + ": " + expand(columns[2])) << text;
            ++count;
        }
    }
    EXPECT_GE(count, 200);
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
            "The settings 'settings.json' are not usable; what was in force before stays in force.\r\n"
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

    for (char const* const bytes : {"K\xF6ln", "\xED\xB0\x80"})
    {
        Put("settings.json", std::string("{\n\"") + bytes + "\": 1}");
        EXPECT_EQ(FindFaults("settings.json").at(0).mExpected, "UTF-8");
    }
    Put("settings.json", std::string(100000, '['));
    ASSERT_EQ(FindFaults("settings.json").size(), 1u);
    EXPECT_EQ(FindFaults("settings.json")[0].mFound, "a fault: it is nested too deep.");
}

TEST_F(KitSettings, ADescriptionSaysWhatIsInForce)
{
    Put("texts.json", R"({"messages": {"5": {"en": "a"}, "0x80000304": {"de": "b", "en": "c"}}})");
    Put("settings.json", "\xEF\xBB\xBF"
                         R"({ // with a comment
        "basePath": "logs", "language": "de", "catalogs": {"K*": "texts.json"},
        "kafka": {"client": {"sasl.password": "geheim", "bootstrap.servers": "k"}, "enabled": false, "topic": "a.b_C-9"},
        "destinations": {
            "f": {"type": "file", "path": "f.log", "recovery": "basic", "retryInterval": 0, "callStacks": ["0x5", 5, 3]},
            "g": {"type": "file", "path": "f.log", "recovery": "basic", "retryInterval": 0, "callStacks": [3, 5],
                  "language": "pt-BR"},
            "s": {"type": "kafka", "path": "s.log", "maxFileSize": 5, "backups": 7, "reportLosses": "systemLog"}},
        "routes": {"*": ["f"], "K*/*": ["g", "s"], "Kernel/*": [], "Ker*/Info": ["s"]}})");
    std::string const file =
        "file 'f.log', rolled over at 2000000 bytes, back-ups: 1, basic recovery, retried after 0 s, ";
    EXPECT_EQ(
        QzLogKit::Routing::Check("settings.json"), R"(Settings of 'settings.json'
Base path: logs
Process language: 0x0407
Kafka: off, topic a.b_C-9, client properties bootstrap.servers, sasl.password
Destinations:
  f: )" + file + R"(call stacks of 0x00000003, 0x00000005
  g: )" + file +
                                                       R"(in language 0x0416, call stacks of 0x00000003, 0x00000005
  s: Kafka, else file 's.log', rolled over at 5 bytes, back-ups: 7, strict recovery, retried after 300 s, )"
                                                       R"(losses to the system log
Routes, the most exact first:
  Kernel/* -> off
  Ker*/Info -> s
  K*/* -> g, s
  */* -> f
Catalog of K*: 'texts.json', messages: 2
)");
    // Nothing is in force without the module.
    EXPECT_THROW(QzLogKit::Routing().Apply("settings.json"), QzBase::Message);
    EXPECT_EQ(QzResource::GetProcessLanguageID(), 0x0409);
}
