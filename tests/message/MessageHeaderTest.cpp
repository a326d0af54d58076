#include <QzLog/MessageHeader.h>

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <random>

namespace
{
    using Header = QzLog::MessageHeader;
    using HeaderPtr = QzBase::CountedPtr<Header>;

    std::string const kErrorText =
        "2026-11-18 03:02:07.123-05:00 [HOST:ws01][SERVER:Engine][PID:4242][THR:9876][Kernel]"
        "[Error][0x0000002A][UID:0][SID:0][OID:0][Writer:Flush at line:42]";
    std::string const kBare = "2026-11-18 08:02:07.123 [HOST:h][SERVER:s][PID:1][THR:2][L][D]";

    HeaderPtr MakeHeader()
    {
        HeaderPtr header(QzLog::CreateMessageHeader());
        EXPECT_EQ(header->ParseHeaderText(kErrorText.c_str()), kErrorText.size());
        return header;
    }

    TEST(MessageHeader, RendersTheSourceOfErrorsOnly)
    {
        // Dispatcher, file, function, how the text ends.
        char const* const rows[][4] = {
            {"Error", "/src/a\\Writer", "Flush", "[OID:0][a\\Writer:Flush at line:-2147483647]"},
            {"Error", nullptr, "Flush", "[SID:0][OID:0]"}, {"Error", "Writer", "", "[SID:0][OID:0]"},
            {"Errors", "Writer", "Flush", "[SID:0][OID:0]"}};
        for (auto const& [dispatcher, file, function, end] : rows)
        {
            HeaderPtr const header = MakeHeader();
            header->SetDispatcherName(dispatcher);
            header->SetSourceFile(file);
            header->SetSourceFunction(function);
            header->SetSourceLine(-INT_MAX);
            EXPECT_TRUE(std::string(header->GetHeaderText()).ends_with(end)) << header->GetHeaderText();
        }
    }

    TEST(MessageHeader, RendersTextAndJSON)
    {
        HeaderPtr const read = MakeHeader();
        EXPECT_EQ(read->GetHeaderText(), kErrorText);
        EXPECT_STREQ(read->GetHeaderJSON(), R"({"dispatcher":"Error","host":"ws01","logger":"Kernel",)"
                                            R"("message_id":"0x0000002A","oid":"0","pid":"4242","server":"Engine",)"
                                            R"("sid":"0","thr":"9876","time":"2026-11-18 03:02:07.123-05:00",)"
                                            R"("uid":"0"})"
                                            "\n");

        HeaderPtr const header(QzLog::CreateMessageHeader());
        header->SetServerName(nullptr);
        header->SetSessionID("\"\xC3\xA9\xC3\n");
        EXPECT_STREQ(header->GetHeaderText(), "1899-12-30 00:00:00.000 [HOST:][SERVER:][PID:0][THR:0][]"
                                              "[][UID:0][SID:\"\xC3\xA9\xC3\n][OID:0]");
        EXPECT_STREQ(header->GetHeaderJSON(), R"({"dispatcher":"","host":"","logger":"","pid":"0",)"
                                              R"("server":"","sid":"\"\u00e9\ufffd\n","thr":"0",)"
                                              R"("time":"1899-12-30 00:00:00.000"})"
                                              "\n");

        // More than is reserved.
        std::string const longText(3000, 'x');
        header->SetUserID(longText.c_str());
        header->SetDispatcherName("Error");
        header->SetSourceFile(longText.c_str());
        header->SetSourceFunction(longText.c_str());
        header->SetMessageID(0xFFFFFFFF);
        std::string const text = header->GetHeaderText();
        EXPECT_NE(text.find("[0xFFFFFFFF][UID:" + longText + "]["), text.npos);
        EXPECT_TRUE(text.ends_with('[' + longText + ':' + longText + " at line:0]"));
    }

    // What a header keeps from line to line must not show in the next one.
    TEST(MessageHeader, IsLikeANewOneAfterManyChanges)
    {
        using Text = void (Header::*)(char const*);
        using Get = char const* (Header::*)();
        std::pair<Text, Get> const fields[] = {{&Header::SetHostName, &Header::GetHostName},
            {&Header::SetServerName, &Header::GetServerName}, {&Header::SetLoggerName, &Header::GetLoggerName},
            {&Header::SetDispatcherName, &Header::GetDispatcherName}, {&Header::SetUserID, &Header::GetUserID},
            {&Header::SetSessionID, &Header::GetSessionID}, {&Header::SetObjectID, &Header::GetObjectID},
            {&Header::SetSourceFile, &Header::GetSourceFile}, {&Header::SetSourceFunction, &Header::GetSourceFunction},
            {&Header::SetProcessIDString, &Header::GetProcessIDString},
            {&Header::SetThreadIDString, &Header::GetThreadIDString}};
        std::string const longText(700, 'x');
        char const* const values[] = {"", "1", "a/b", "Error", "Errors", longText.c_str()};
        std::mt19937 random(4711);
        auto const choose = [&](auto const& list) { return list[random() % std::size(list)]; };
        auto const makeTime = [&]
        {
            QzLog::Timestamp_Impl time;
            auto const milliseconds = random() % 1'000'000;
            time.FromISO8601String(("2026-11-18 03:0" + std::to_string(milliseconds % 2) + ":07." +
                                    std::to_string(milliseconds) + choose(std::array{"", "+05:30", "-05:30"}))
                                       .c_str());
            return time;
        };
        HeaderPtr const header(QzLog::CreateMessageHeader());
        for (int round = 0; round < 10'000; ++round)
        {
            for (auto changes = random() % 3; changes-- != 0;)
                ((*header).*choose(fields).first)(choose(values));
            header->SetSourceLine(static_cast<int>(random() % 2));
            header->SetMessageID(static_cast<unsigned int>(random() % 2));
            if (random() % 2)
                header->GetHeaderText();
            if (random() % 8 == 0)
                header->SetTimestampString("2026-11-18 03:02:07.1");
            if (random() % 4 == 0)
                header->SetTimestamp(makeTime()), header->GetTimestampString();
            QzLog::Timestamp_Impl const time = makeTime();
            header->SetTimestamp(time);

            HeaderPtr const fresh(QzLog::CreateMessageHeader());
            for (auto const& [set, get] : fields)
                ((*fresh).*set)(((*header).*get)());
            fresh->SetSourceLine(header->GetSourceLine());
            fresh->SetMessageID(header->GetMessageID());
            fresh->SetTimestamp(time);
            ASSERT_EQ(std::string(header->GetHeaderText()), fresh->GetHeaderText()) << "round " << round;
        }
    }

    TEST(MessageHeader, RebuildsOnlyAfterTimeAndNumbers)
    {
        std::pair<bool, void (*)(Header&)> const rows[] = {{true, [](Header& h) { h.SetProcessID(1); }},
            {true, [](Header& h) { h.SetMessageIDString("2b"); }}, {true, [](Header& h) { h.SetTimestampToNow(); }},
            {false, [](Header& h) { h.SetProcessID(4242), h.SetThreadID(9876), h.SetMessageID(42); }},
            {false, [](Header& h) { h.SetTimestampString("2026-11-18 03:02:07.1"); }}};
        for (auto const& [rebuilds, change] : rows)
        {
            HeaderPtr const header = MakeHeader();
            std::string const before = std::string(header->GetHeaderText()) + header->GetHeaderJSON();
            header->SetHostName("other");
            change(*header);
            std::string const text = header->GetHeaderText();
            EXPECT_EQ(text.find("HOST:other") != text.npos, rebuilds) << text;
            EXPECT_EQ(text + header->GetHeaderJSON() != before, rebuilds);
        }
    }

    TEST(MessageHeader, KeepsNumbersAndTextsInStep)
    {
        HeaderPtr const header(QzLog::CreateMessageHeader());
        header->SetProcessID(0xFFFFFFFF);
        EXPECT_STREQ(header->GetProcessIDHexString(), "FFFFFFFF");
        header->SetThreadIDString(header->GetProcessIDString());
        EXPECT_EQ(header->GetThreadID(), 0xFFFFFFFF);
        header->SetProcessIDString(" 007x");
        EXPECT_EQ(header->GetProcessID(), 7u);
        EXPECT_STREQ(header->GetProcessIDString(), " 007x");
        EXPECT_STREQ(header->GetProcessIDHexString(), "7");
        EXPECT_EQ(header->SetTimestampString("2026-11-18 03:02:07.5+5:3]"), 25u);
        EXPECT_STREQ(header->GetTimestampString(), "2026-11-18 03:02:07.5+5:3");
        header->SetTimestampToNow();
        EXPECT_STRNE(header->GetTimestampString(), "2026-11-18 03:02:07.5+5:3");
        header->SetTimestamp(QzLog::Timestamp_Impl());
        EXPECT_STREQ(header->GetTimestampString(), "1899-12-30 00:00:00.000");
    }

    TEST(MessageHeader, ReadsOptionalBrackets)
    {
        std::string const file255(255, 'f');
        std::string const function127(127, 'g');
        // What follows the header, how many characters of it are not read, what is.
        std::tuple<std::string, std::size_t, std::string> const rows[] = {{" text", 5, "0||||||0"},
            {"[0x0000002A][UID:0][OID:o] text", 5, "42|0||o|||0"}, {"[SID:s][UID:late]", 10, "0||s||||0"},
            {"[a: \t f\nat\r line: 7]x", 1, "0||||a|f|7"}, {"[a]b:f at line:7]x", 15, "0||||a]b|f|7"},
            {"[a:f at line:+99999999999999999999]", 0, "0||||a|f|2147483647"},
            {"[a:f at line:-99999999999999999999]", 0, "0||||a|f|-2147483648"},
            {"[a:f at line:7 and no end", 11, "0||||a|f|7"}, {"[a:f at line:]", 14, "0||||||0"},
            {"[a:f g at line:7]", 17, "0||||||0"}, {"[c:\\a:f at line:7]", 0, "0||||c|\\a:f|7"},
            {"[" + file255 + ":f at line:7]", 0, "0||||" + file255 + "|f|7"},
            {"[f" + file255 + ":f at line:7]", 270, "0||||||0"},
            {"[a:" + function127 + " at line:7]", 0, "0||||a|" + function127 + "|7"},
            {"[a:g" + function127 + " at line:7]", 142, "0||||||0"}};
        for (auto const& [behind, unread, expected] : rows)
        {
            HeaderPtr const h = MakeHeader();
            EXPECT_EQ(h->ParseHeaderText((kBare + behind).c_str()), (kBare + behind).size() - unread) << behind;
            EXPECT_EQ(std::to_string(h->GetMessageID()) + '|' + h->GetUserID() + '|' + h->GetSessionID() + '|' +
                          h->GetObjectID() + '|' + h->GetSourceFile() + '|' + h->GetSourceFunction() + '|' +
                          std::to_string(h->GetSourceLine()),
                expected);
        }
    }

    TEST(MessageHeader, RefusesWhatIsNoHeader)
    {
        std::vector<std::string> rows{kBare + "[0x2A", kBare + "[UID:alice", ' ' + kBare};
        for (std::size_t length = 0; length < kBare.size(); ++length)
            rows.push_back(kBare.substr(0, length));
        for (std::string const& text : rows)
        {
            HeaderPtr const header = MakeHeader();
            EXPECT_EQ(header->ParseHeaderText(text.c_str()), 0u) << text;
            EXPECT_EQ(header->GetHeaderText(), kErrorText) << text;
        }
    }
}
