#include <QzLog/MessageHeader.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace
{
    using Header = QzLog::MessageHeader;
    using HeaderPtr = QzBase::CountedPtr<Header>;

    constexpr char kErrorText[] = "2026-11-18 03:02:07.123-05:00 [HOST:ws01][SERVER:Engine][PID:4242][THR:9876][Kernel]"
                                  "[Error][0x0000002A][UID:0][SID:0][OID:0][Writer:Flush at line:42]";
    constexpr char kBare[] = "2026-11-18 08:02:07.123 [HOST:h][SERVER:s][PID:1][THR:2][L][D]";

    HeaderPtr MakeHeader()
    {
        HeaderPtr header(QzLog::CreateMessageHeader());
        EXPECT_EQ(header->ParseHeaderText(kErrorText), std::strlen(kErrorText));
        return header;
    }

    TEST(MessageHeader, RendersTheSourceOfErrorsOnly)
    {
        char const* const cases[][4] = {
            {"Error", "/src/a\\Writer", "Flush", "[OID:0][a\\Writer:Flush at line:-2147483648]"},
            {"Error", "c:\\src\\Writer", "Flush", "[OID:0][Writer:Flush at line:-2147483648]"},
            {"Error", "dir/", "Flush", "[OID:0][:Flush at line:-2147483648]"},
            {"Error", nullptr, "Flush", "[SID:0][OID:0]"},
            {"Error", "Writer", "", "[SID:0][OID:0]"},
            {"error", "Writer", "Flush", "[SID:0][OID:0]"},
            {"Errors", "Writer", "Flush", "[SID:0][OID:0]"},
        };
        for (auto const& [dispatcher, file, function, end] : cases)
        {
            HeaderPtr const header = MakeHeader();
            header->SetDispatcherName(dispatcher);
            header->SetSourceFile(file);
            header->SetSourceFunction(function);
            header->SetSourceLine(INT_MIN);
            EXPECT_TRUE(std::string(header->GetHeaderText()).ends_with(end)) << header->GetHeaderText();
        }
    }

    TEST(MessageHeader, RendersTextAndJSON)
    {
        HeaderPtr const read = MakeHeader();
        EXPECT_STREQ(read->GetHeaderText(), kErrorText);
        EXPECT_STREQ(read->GetHeaderJSON(), R"({"dispatcher":"Error","host":"ws01","logger":"Kernel",)"
                                            R"("message_id":"0x0000002A","oid":"0","pid":"4242","server":"Engine",)"
                                            R"("sid":"0","thr":"9876","time":"2026-11-18 03:02:07.123-05:00",)"
                                            R"("uid":"0"})"
                                            "\n");

        HeaderPtr const header(QzLog::CreateMessageHeader());
        header->SetHostName("ws01");
        header->SetServerName(nullptr);
        header->SetLoggerName("Kernel");
        header->SetDispatcherName("Trace");
        header->SetSessionID("\"\xC3\xA9\xC3\n");
        EXPECT_STREQ(header->GetHeaderText(), "1899-12-30 00:00:00.000 [HOST:ws01][SERVER:][PID:0][THR:0][Kernel]"
                                              "[Trace][UID:0][SID:\"\xC3\xA9\xC3\n][OID:0]");
        EXPECT_STREQ(header->GetHeaderJSON(), R"({"dispatcher":"Trace","host":"ws01","logger":"Kernel","pid":"0",)"
                                              R"("server":"","sid":"\"\u00e9\ufffd\n","thr":"0",)"
                                              R"("time":"1899-12-30 00:00:00.000"})"
                                              "\n");

        // More than is reserved.
        std::string const longText(3000, 'x');
        header->SetUserID(longText.c_str());
        header->SetMessageID(0xFFFFFFFF);
        EXPECT_NE(std::string(header->GetHeaderText()).find("[0xFFFFFFFF][UID:" + longText + "]["), std::string::npos);
    }

    TEST(MessageHeader, RebuildsOnlyAfterTimeAndNumbers)
    {
        struct
        {
            bool mRebuilds;
            void (*mpChange)(Header& header);
        } const cases[] = {
            {true, [](Header& h) { h.SetProcessID(1); }},
            {true, [](Header& h) { h.SetProcessIDHexString("1"); }},
            {true, [](Header& h) { h.SetThreadID(1); }},
            {true, [](Header& h) { h.SetMessageIDString("2b"); }},
            {true, [](Header& h) { h.SetTimestampToNow(); }},
            {true, [](Header& h) { h.SetTimestamp(h.GetTimestamp()); }},
            {false, [](Header& h) { h.SetProcessID(4242), h.SetThreadID(9876), h.SetMessageID(42); }},
            {false, [](Header& h) { h.SetProcessIDString("1"), h.SetThreadIDString("1"); }},
            {false, [](Header& h) { h.SetTimestampString("2026-11-18 03:02:07.1"); }},
        };
        for (auto const& test : cases)
        {
            SCOPED_TRACE(&test - cases);
            HeaderPtr const header = MakeHeader();
            std::string const text = header->GetHeaderText();
            std::string const json = header->GetHeaderJSON();
            header->SetHostName("other");
            test.mpChange(*header);
            EXPECT_EQ(header->GetHeaderText() != text, test.mRebuilds);
            EXPECT_EQ(header->GetHeaderJSON() != json, test.mRebuilds);
        }
    }

    TEST(MessageHeader, KeepsNumbersAndTextsInStep)
    {
        HeaderPtr const header(QzLog::CreateMessageHeader());
        EXPECT_STREQ(header->GetThreadIDHexString(), "0");
        EXPECT_STREQ(header->GetMessageIDString(), "00000000");

        header->SetProcessID(0xFFFFFFFF);
        EXPECT_STREQ(header->GetProcessIDHexString(), "FFFFFFFF");
        header->SetThreadIDString(header->GetProcessIDString());
        EXPECT_EQ(header->GetThreadID(), 0xFFFFFFFF);
        header->SetProcessIDString(" 007x");
        EXPECT_EQ(header->GetProcessID(), 7u);
        EXPECT_STREQ(header->GetProcessIDString(), " 007x");
        EXPECT_STREQ(header->GetProcessIDHexString(), "7");
        header->SetThreadIDHexString("0abC");
        EXPECT_STREQ(header->GetThreadIDString(), "2748");
        EXPECT_STREQ(header->GetThreadIDHexString(), "ABC");

        EXPECT_EQ(header->SetTimestampString("2026-11-18 03:02:07.5+5:3]"), 25u);
        EXPECT_EQ(header->SetTimestampString("nonsense"), 0u);
        EXPECT_STREQ(header->GetTimestampString(), "2026-11-18 03:02:07.5+5:3");
    }

    TEST(MessageHeader, ReadsOptionalBrackets)
    {
        std::string const file255(255, 'f');
        std::string const function127(127, 'g');
        struct
        {
            std::string mBehind;
            std::size_t mUnread; // characters at the end
            std::string mExpected;
        } const cases[] = {
            {" text", 5, "0||||||0"},
            {"[0x0000002A][UID:0][OID:o] text", 5, "42|0||o|||0"},
            {"[SID:s][UID:late]", 10, "0||s||||0"},
            {"[a/b.cpp:f at line:-7]", 0, "0||||a/b.cpp|f|-7"},
            {"[a: \t f\nat\r line: 7]x", 1, "0||||a|f|7"},
            {"[a:f atline:7]", 0, "0||||a|f|7"},
            {"[a]b:f at line:7]x", 15, "0||||a]b|f|7"},
            {"[a:f at line:+99999999999999999999]", 0, "0||||a|f|2147483647"},
            {"[a:f at line:-99999999999999999999]", 0, "0||||a|f|-2147483648"},
            {"[a:f at line:7 and no end", 11, "0||||a|f|7"},
            {"[a:f at line:]", 14, "0||||||0"},
            {"[a:f g at line:7]", 17, "0||||||0"},
            {"[c:\\a:f at line:7]", 0, "0||||c|\\a:f|7"},
            {"[:f at line:7]", 14, "0||||||0"},
            {"[" + file255 + ":f at line:7]", 0, "0||||" + file255 + "|f|7"},
            {"[f" + file255 + ":f at line:7]", 270, "0||||||0"},
            {"[a:" + function127 + " at line:7]", 0, "0||||a|" + function127 + "|7"},
            {"[a:g" + function127 + " at line:7]", 142, "0||||||0"},
        };
        for (auto const& c : cases)
        {
            SCOPED_TRACE(c.mBehind);
            HeaderPtr const h = MakeHeader();
            std::string const text = kBare + c.mBehind;
            EXPECT_EQ(h->ParseHeaderText(text.c_str()), text.size() - c.mUnread);
            EXPECT_EQ(std::to_string(h->GetMessageID()) + '|' + h->GetUserID() + '|' + h->GetSessionID() + '|' +
                          h->GetObjectID() + '|' + h->GetSourceFile() + '|' + h->GetSourceFunction() + '|' +
                          std::to_string(h->GetSourceLine()),
                c.mExpected);
        }
    }

    TEST(MessageHeader, RefusesWhatIsNoHeader)
    {
        std::string const bare = kBare;
        std::vector<std::string> cases{bare + "[0x2A", bare + "[UID:alice", bare + "[SID:", bare + "[OID:", ' ' + bare};
        for (std::size_t length = 0; length < bare.size(); ++length)
            cases.push_back(bare.substr(0, length));
        for (std::string const& text : cases)
        {
            SCOPED_TRACE(text);
            HeaderPtr const header = MakeHeader();
            EXPECT_EQ(header->ParseHeaderText(text.c_str()), 0u);
            EXPECT_STREQ(header->GetHeaderText(), kErrorText);
        }
    }
}
