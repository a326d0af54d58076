#include <QzLog/Destination_Impl.h>

#include "destination/ConcreteDestination.h"

#include <QzLog/MessageBody.h>
#include <QzLog/MessageHeader.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace
{
    class Plain : public virtual QzLog::Destination
    {
    };

    class PlainDestination : public QzLog::ConcreteDestination<Plain>
    {
    public:
        using ConcreteDestination::WriteMessage;
        using Destination_Impl::SetLanguageID;

        QZLOG_CALL_FRAME void WriteMessage(char const* bodyText, QzLog::MessageHeader& header) override
        {
            mWritten = FormatMultiLineMessageText(header.GetMessageID(), "H", bodyText, false).c_str();
        }

        std::string mWritten;
    };

    TEST(MultiLineText, JoinsHeaderAndLines)
    {
        struct
        {
            char const* mpHeader;
            char const* mpBody;
            char const* mpExpected; // without the CR LF that is appended unless this is empty
        } const cases[] = {
            {"H", "one\n\ntwo\r\nthree\n", "H one\r\ntwo\r\nthree"},
            {"H", "a\rb\n\rc\r\n\r\n\nd\r", "H a\r\nb\r\nc\r\nd"},
            {"\r\n\nH\n", "\n\rb", "H\n b"},
            {"H", " b \n c", "H  b \r\n c"},
            {"H", "", "H "},
            {"H", nullptr, "H "},
            {"H", "\r\n\n", ""},
            {nullptr, "a\nb", "a\r\nb"},
            {"\n", "a", "a"},
            {"\n", nullptr, ""},
            {nullptr, "", ""},
        };
        PlainDestination const destination;
        for (auto const& c : cases)
        {
            SCOPED_TRACE(c.mpExpected);
            std::string const expected = c.mpExpected;
            EXPECT_EQ(destination.FormatMultiLineMessageText(0, c.mpHeader, c.mpBody, false).c_str(), expected);
            EXPECT_EQ(destination.FormatMultiLineMessageText(0, c.mpHeader, c.mpBody, true).c_str(),
                expected + (expected.empty() ? "" : "\r\n"));
        }
    }

    TEST(MultiLineText, KeepsLargeTexts)
    {
        std::string body;
        std::string expected = "H ";
        for (int line = 0; line < 20'000; ++line)
        {
            std::string const text(static_cast<std::size_t>(line % 23 + 1), static_cast<char>('a' + line % 26));
            body += text + (line % 3 == 0 ? "\n" : line % 3 == 1 ? "\r\n" : "\r");
            expected += text + "\r\n";
        }
        PlainDestination const destination;
        EXPECT_TRUE(destination.FormatMultiLineMessageText(1, "H", body.c_str(), true).c_str() == expected);
    }

    TEST(MultiLineText, AppendsACallStackToChosenMessages)
    {
        constexpr char kHead[] = "H b\r\n--------- callstack ---------\r\n";
        constexpr char kFoot[] = "\r\n-----------------------------\r\n";
        PlainDestination destination;
        auto const format = [&](unsigned int id, char const* body = "b")
        { return std::string(destination.FormatMultiLineMessageText(id, "H", body, true).c_str()); };

        unsigned int const ids[] = {7, 0, 7, 9};
        destination.SetCallstackMessageIDs(ids, 4);
        EXPECT_EQ(format(0), "H b\r\n");
        EXPECT_EQ(format(8), "H b\r\n");
        for (unsigned int const id : {7u, 9u})
        {
            std::string const text = format(id);
            EXPECT_TRUE(text.starts_with(kHead)) << text;
            EXPECT_TRUE(text.ends_with(kFoot)) << text;
        }
        EXPECT_TRUE(format(7, "\n").starts_with("\r\n--------- callstack"));

        PlainDestination const copy(destination);
        destination.SetCallstackMessageIDs(nullptr, 0);
        EXPECT_EQ(format(7), "H b\r\n");
        EXPECT_GT(copy.FormatMultiLineMessageText(7, "H", "b", true).size(), std::size(kHead));
    }

    // The road of a message up to its destination, in as many frames.
    QZLOG_CALL_FRAME void DispatcherLog(QzLog::Destination& destination, QzLog::MessageHeader& header)
    {
        destination.WriteMessage("b", header);
    }
    QZLOG_CALL_FRAME void LoggerLog(QzLog::Destination& destination, QzLog::MessageHeader& header)
    {
        DispatcherLog(destination, header);
    }
    QZLOG_CALL_FRAME void RouterLog(QzLog::Destination& destination, QzLog::MessageHeader& header)
    {
        LoggerLog(destination, header);
    }
    QZLOG_CALL_FRAME void FrontEndLog(QzLog::Destination& destination, QzLog::MessageHeader& header)
    {
        RouterLog(destination, header);
    }
    QZLOG_CALL_FRAME void CallerOfTheLibrary(QzLog::Destination& destination, QzLog::MessageHeader& header)
    {
        FrontEndLog(destination, header);
    }

    TEST(MultiLineText, BeginsTheCallStackAtTheCallerOfTheLibrary)
    {
        PlainDestination destination;
        unsigned int const id = 7;
        destination.SetCallstackMessageIDs(&id, 1);
        QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
        header->SetMessageID(id);
        CallerOfTheLibrary(destination, *header);
        std::string const& text = destination.mWritten;
        std::size_t const first = text.find("---\r\n") + 5;
        EXPECT_NE(text.substr(first, text.find('\r', first) - first).find("CallerOfTheLibrary"), text.npos) << text;
    }

    TEST(MultiLineText, ChangesItsSetWhileMessagesFlow)
    {
        PlainDestination destination;
        std::atomic<bool> stop{false};
        std::thread writer(
            [&]
            {
                while (!stop)
                    destination.FormatMultiLineMessageText(99, "H", "b", true);
            });
        for (unsigned int count = 0; count < 2000; ++count)
        {
            unsigned int const ids[] = {1, 2, count + 1000};
            destination.SetCallstackMessageIDs(ids, count % 4 % 3);
        }
        stop = true;
        writer.join();
    }

    TEST(ConcreteDestination, AsksForTheTextInItsLanguage)
    {
        QzBase::Message message(700, 1, "plain");
        message.SetLocalizedText(0x0407, "deutsch");
        QzBase::CountedPtr<QzLog::MessageBody> const body(QzLog::CreateMessageBody());
        QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
        body->SetMessage(message);
        QzBase::CountedPtr<PlainDestination> const destination(new PlainDestination);
        destination->WriteMessage(*header, *body);
        EXPECT_EQ(destination->mWritten, "H plain");
        destination->SetLanguageID(0x0407);
        destination->WriteMessage(*header, *body);
        EXPECT_EQ(destination->mWritten, "H deutsch");
    }
}
