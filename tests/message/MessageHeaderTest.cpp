#include <QzLog/MessageHeader.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

namespace
{
    using HeaderPtr = QzBase::CountedPtr<QzLog::MessageHeader>;

    constexpr char kErrorText[] = "2026-11-18 03:02:07.123-05:00 [HOST:ws01][SERVER:Engine][PID:4242][THR:9876][Kernel]"
                                  "[Error][0x0000002A][UID:0][SID:0][OID:0][Writer:Flush at line:42]";
    constexpr char kBare[] = "2026-11-18 08:02:07.123 [HOST:h][SERVER:s][PID:1][THR:2][L][D]";

    void SetTime(QzLog::MessageHeader& header, char const* text)
    {
        QzLog::Timestamp_Impl timestamp;
        timestamp.FromISO8601String(text);
        header.SetTimestamp(timestamp);
    }

    HeaderPtr MakeHeader()
    {
        HeaderPtr header(QzLog::CreateMessageHeader());
        SetTime(*header, "2026-11-18 03:02:07.123-05:00");
        header->SetHostName("ws01");
        header->SetServerName("Engine");
        header->SetProcessID(4242);
        header->SetThreadID(9876);
        header->SetLoggerName("Kernel");
        header->SetDispatcherName("Error");
        header->SetMessageID(42);
        return header;
    }

    void SetSource(QzLog::MessageHeader& header, char const* file, char const* function, int line)
    {
        header.SetSourceFile(file);
        header.SetSourceFunction(function);
        header.SetSourceLine(line);
    }

    TEST(MessageHeader, RendersTheSourceOfErrorsOnly)
    {
        struct
        {
            char const* mpDispatcher;
            char const* mpFile;
            char const* mpFunction;
            int mLine;
            char const* mpEnd;
        } const cases[] = {
            {"Error", "/src/a\\Writer", "Flush", 42, "[a\\Writer:Flush at line:42]"},
            {"Error", "c:\\src\\Writer", "Flush", 0, "[Writer:Flush at line:0]"},
            {"Error", "Writer", "Flush", INT_MIN, "[Writer:Flush at line:-2147483648]"},
            {"Error", "dir/", "Flush", 1, "[:Flush at line:1]"},
            {"Error", nullptr, "Flush", 1, "[OID:0]"},
            {"Error", "Writer", "", 1, "[OID:0]"},
            {"error", "Writer", "Flush", 1, "[OID:0]"},
            {"Errors", "Writer", "Flush", 1, "[OID:0]"},
        };
        for (auto const& c : cases)
        {
            HeaderPtr const header = MakeHeader();
            header->SetDispatcherName(c.mpDispatcher);
            SetSource(*header, c.mpFile, c.mpFunction, c.mLine);
            std::string const text = header->GetHeaderText();
            EXPECT_TRUE(text.ends_with(std::string("[SID:0]") + (c.mpEnd[1] == 'O' ? "" : "[OID:0]") + c.mpEnd))
                << text;
        }
    }

    TEST(MessageHeader, RendersTextAndJSON)
    {
        HeaderPtr const header = MakeHeader();
        SetSource(*header, "/src/Writer", "Flush", 42);
        EXPECT_STREQ(header->GetHeaderText(), kErrorText);
        EXPECT_STREQ(header->GetHeaderJSON(),
            "{\"dispatcher\":\"Error\",\"host\":\"ws01\",\"logger\":\"Kernel\",\"message_id\":\"0x0000002A\",\"pid\":"
            "\"4242\",\"server\":\"Engine\",\"thr\":\"9876\",\"time\":\"2026-11-18 03:02:07.123-05:00\"}\n");

        SetTime(*header, "2026-11-18 08:02:07.123");
        header->SetDispatcherName("Trace");
        header->SetMessageID(0);
        header->SetUserID("alice");
        header->SetSessionID("\"\xC3\xA9\xFF"
                             "z");
        header->SetObjectID(nullptr);
        header->SetServerName(nullptr);
        EXPECT_STREQ(header->GetHeaderText(),
            "2026-11-18 08:02:07.123 [HOST:ws01][SERVER:][PID:4242][THR:9876][Kernel][Trace][UID:alice]"
            "[SID:\"\xC3\xA9\xFFz][OID:0]");
        EXPECT_STREQ(header->GetHeaderJSON(),
            "{\"dispatcher\":\"Trace\",\"host\":\"ws01\",\"logger\":\"Kernel\",\"pid\":\"4242\",\"server\":\"\","
            "\"sid\":"
            "\"\\\"\\u00e9\\ufffdz\",\"thr\":\"9876\",\"time\":\"2026-11-18 08:02:07.123\",\"uid\":\"alice\"}\n");

        // Long texts: more than is reserved.
        std::string const longText(3000, 'x');
        header->SetUserID(longText.c_str());
        header->SetMessageID(0xFFFFFFFF);
        EXPECT_TRUE(std::string(header->GetHeaderText())
                        .ends_with("[0xFFFFFFFF][UID:" + longText + "][SID:\"\xC3\xA9\xFFz][OID:0]"));
    }

    TEST(MessageHeader, RebuildsOnlyAfterTimeAndNumbers)
    {
        struct
        {
            char const* mpName;
            void (*mpChange)(QzLog::MessageHeader&);
            bool mRebuilds;
        } const cases[] = {
            {"host", [](QzLog::MessageHeader&) {}, false},
            {"process", [](QzLog::MessageHeader& h) { h.SetProcessID(1); }, true},
            {"same process", [](QzLog::MessageHeader& h) { h.SetProcessID(4242); }, false},
            {"process text", [](QzLog::MessageHeader& h) { h.SetProcessIDString("1"); }, false},
            {"process hex", [](QzLog::MessageHeader& h) { h.SetProcessIDHexString("1"); }, true},
            {"thread", [](QzLog::MessageHeader& h) { h.SetThreadID(1); }, true},
            {"same thread", [](QzLog::MessageHeader& h) { h.SetThreadID(9876); }, false},
            {"thread text", [](QzLog::MessageHeader& h) { h.SetThreadIDString("1"); }, false},
            {"message", [](QzLog::MessageHeader& h) { h.SetMessageIDString("2b"); }, true},
            {"same message", [](QzLog::MessageHeader& h) { h.SetMessageID(42); }, false},
            {"time", [](QzLog::MessageHeader& h) { h.SetTimestampToNow(); }, true},
            {"time text", [](QzLog::MessageHeader& h) { h.SetTimestampString("2026-11-18 03:02:07.1"); }, false},
        };
        for (auto const& c : cases)
        {
            SCOPED_TRACE(c.mpName);
            HeaderPtr const header = MakeHeader();
            std::string const text = header->GetHeaderText();
            std::string const json = header->GetHeaderJSON();
            header->SetHostName("other");
            header->SetLoggerName("Other");
            c.mpChange(*header);
            EXPECT_EQ(header->GetHeaderText() != text, c.mRebuilds);
            EXPECT_EQ(header->GetHeaderJSON() != json, c.mRebuilds);
        }
    }

    TEST(MessageHeader, KeepsNumbersAndTextsInStep)
    {
        HeaderPtr const header(QzLog::CreateMessageHeader());
        EXPECT_STREQ(header->GetProcessIDString(), "0");
        EXPECT_STREQ(header->GetThreadIDHexString(), "0");
        EXPECT_STREQ(header->GetMessageIDString(), "00000000");
        EXPECT_STREQ(header->GetTimestampString(), "1899-12-30 00:00:00.000");

        header->SetProcessID(0xFFFFFFFF);
        EXPECT_STREQ(header->GetProcessIDString(), "4294967295");
        EXPECT_STREQ(header->GetProcessIDHexString(), "FFFFFFFF");
        header->SetProcessIDString(" 007x");
        EXPECT_EQ(header->GetProcessID(), 7u);
        EXPECT_STREQ(header->GetProcessIDString(), " 007x");
        EXPECT_STREQ(header->GetProcessIDHexString(), "7");
        header->SetThreadIDHexString("0abC");
        EXPECT_STREQ(header->GetThreadIDString(), "2748");
        EXPECT_STREQ(header->GetThreadIDHexString(), "ABC");

        EXPECT_EQ(header->SetTimestampString("2026-11-18 03:02:07.5+5:3]"), 25u);
        EXPECT_STREQ(header->GetTimestampString(), "2026-11-18 03:02:07.5+5:3");
        EXPECT_EQ(header->SetTimestampString("nonsense"), 0u);
        EXPECT_STREQ(header->GetTimestampString(), "2026-11-18 03:02:07.5+5:3");
    }

    std::string Describe(QzLog::MessageHeader& h)
    {
        return std::to_string(h.GetMessageID()) + '|' + h.GetUserID() + '|' + h.GetSessionID() + '|' + h.GetObjectID() +
               '|' + h.GetSourceFile() + '|' + h.GetSourceFunction() + '|' + std::to_string(h.GetSourceLine());
    }

    TEST(MessageHeader, ReadsWhatItWrote)
    {
        for (char const* const text : {kErrorText, kBare})
        {
            HeaderPtr const header = MakeHeader();
            header->SetUserID("gone");
            EXPECT_EQ(header->ParseHeaderText(text), std::strlen(text));
            EXPECT_EQ(std::string(header->GetHeaderText()).substr(0, std::strlen(text)), text);
        }
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
            HeaderPtr const header = MakeHeader();
            std::string const text = kBare + c.mBehind;
            EXPECT_EQ(header->ParseHeaderText(text.c_str()), text.size() - c.mUnread);
            EXPECT_EQ(Describe(*header), c.mExpected);
        }
    }

    TEST(MessageHeader, RefusesWhatIsNoHeader)
    {
        std::string const bare = kBare;
        std::string const cases[] = {"", "no header", bare.substr(0, 23), bare.substr(0, 30), bare.substr(0, 40),
            bare.substr(0, 50), bare.substr(0, 55), bare.substr(0, 58), bare.substr(0, bare.size() - 1), bare + "[0x2A",
            bare + "[UID:alice", bare + "[SID:", bare + "[OID:", ' ' + bare};
        for (std::string const& text : cases)
        {
            SCOPED_TRACE(text);
            HeaderPtr const header = MakeHeader();
            std::string const before = header->GetHeaderText();
            EXPECT_EQ(header->ParseHeaderText(text.c_str()), 0u);
            header->SetMessageID(1);
            header->SetMessageID(42);
            EXPECT_EQ(header->GetHeaderText(), before);
        }
    }
}
