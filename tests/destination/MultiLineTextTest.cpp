#include "destination/ConcreteDestination.h"

#include <QzLog/Dispatcher.h>
#include <QzLog/Log.h>
#include <QzLog/MessageBody.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>
#include <QzLog/Router.h>

#include <gtest/gtest.h>

#include <algorithm>
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

        std::string Format(unsigned int id, char const* headerText, char const* bodyText, bool appendNewline) const
        {
            return FormatMultiLineMessageText(id, headerText, bodyText, appendNewline).c_str();
        }

        std::string mWritten;
    };

    constexpr unsigned int kID = 7;

    TEST(MultiLineText, JoinsHeaderAndLines)
    {
        // Header, body, and the text without the CR LF that is appended unless it is empty.
        char const* const cases[][3] = {{"H", "one\n\ntwo\r\nthree\n", "H one\r\ntwo\r\nthree"},
            {"H", "a\rb\n\rc\r\n\r\n\nd\r", "H a\r\nb\r\nc\r\nd"}, {"\r\n\nH\n", "\n\rb", "H\n b"},
            {"H", " b \n c", "H  b \r\n c"}, {"H", "", "H "}, {"H", nullptr, "H "}, {"H", "\r\n\n", ""},
            {nullptr, "a\nb", "a\r\nb"}, {"\n", "a", "a"}, {"\n", nullptr, ""}};
        for (auto const& [header, body, expected] : cases)
        {
            SCOPED_TRACE(expected);
            std::string const end = *expected ? "\r\n" : "";
            EXPECT_EQ(PlainDestination().Format(0, header, body, false), expected);
            EXPECT_EQ(PlainDestination().Format(0, header, body, true), expected + end);
        }
    }

    TEST(MultiLineText, AppendsACallStackToChosenMessages)
    {
        constexpr char kHead[] = "\r\n--------- callstack ---------\r\n";
        constexpr char kFoot[] = "\r\n-----------------------------\r\n";
        unsigned int const ids[] = {kID, 0, kID, 9};
        PlainDestination destination;
        destination.SetCallstackMessageIDs(ids, 4);
        EXPECT_EQ(destination.Format(0, "H", "b", true), "H b\r\n");
        EXPECT_EQ(destination.Format(8, "H", "b", true), "H b\r\n");
        PlainDestination const copy(destination);
        destination.SetCallstackMessageIDs(nullptr, 0);
        EXPECT_EQ(destination.Format(kID, "H", "b", true), "H b\r\n");

        std::string const text = copy.Format(9, "H", "b", true);
        EXPECT_TRUE(text.starts_with(std::string("H b") + kHead) && text.ends_with(kFoot)) << text;
        EXPECT_TRUE(copy.Format(kID, "H", "\n", true).starts_with(kHead));
    }

    [[gnu::noinline]] std::string FormatBelow(unsigned int depth, PlainDestination const& destination)
    {
        std::string text = depth ? FormatBelow(depth - 1, destination) : destination.Format(kID, "H", "b", false);
        asm volatile("");
        return text;
    }

    TEST(MultiLineText, ShowsUpTo256Frames)
    {
        PlainDestination destination;
        destination.SetCallstackMessageIDs(&kID, 1);
        auto const countLines = [](std::string const& text) { return std::count(text.begin(), text.end(), '\n'); };
        // Without a frame the block has two line ends.
        auto const depth = static_cast<unsigned int>(256 + 2 - countLines(FormatBelow(0, destination)));
        for (unsigned int const left : {0u, 1u, 4000u})
        {
            std::string const text = FormatBelow(depth + left, destination);
            std::string const line = "\r\n" + std::to_string(left) + " more frames are left out.\r\n---";
            EXPECT_EQ(countLines(text), 256 + 2 + (left ? 1 : 0)) << left;
            EXPECT_EQ(text.find(line) != text.npos, left != 0) << left;
        }
    }

    // Without a call after it, that of LogString might replace the frame.
    [[gnu::noinline]] void CallOfTheUser1(QzLog::Router& router)
    {
        QzLog::LogString(router, kID, nullptr, __FILE__, __func__, __LINE__);
        EXPECT_TRUE(router.mEnabled);
    }

    [[gnu::noinline]] void CallOfTheUser2(QzLog::Router& router)
    {
        QzLog::Log(router, kID, "value", 1.5);
    }

    [[gnu::noinline]] void CallOfTheUser3(QzLog::Router& router)
    {
        static QzBase::Message const message(700, kID, "text");
        QzLog::Log(router, message);
    }

    [[gnu::noinline]] void CallOfTheUser4(QzLog::Router& router)
    {
        QzLog::LogAndThrow(router, kID, "value");
    }

    TEST(MultiLineText, BeginsTheCallStackAtTheCallerOfTheLibrary)
    {
        QzLog::Initializer const initializer;
        QzBase::CountedPtr<PlainDestination> const destination(new PlainDestination);
        destination->SetCallstackMessageIDs(&kID, 1);
        QzBase::CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Kernel", "Stack"));
        router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({destination.get()}));
        char number = '0';
        for (auto const call : {CallOfTheUser1, CallOfTheUser2, CallOfTheUser3, CallOfTheUser4})
        {
            try
            {
                call(*router);
            }
            catch (QzBase::Message const&)
            {
            }
            std::string const& text = destination->mWritten;
            std::size_t const first = text.find("---\r\n") + 5;
            std::string const frame = text.substr(first, text.find('\r', first) - first);
            EXPECT_NE(frame.find(std::string("CallOfTheUser") + ++number), text.npos) << text;
        }
    }

    TEST(MultiLineText, ChangesItsSetWhileMessagesFlow)
    {
        PlainDestination destination;
        std::atomic<bool> stop{false};
        std::thread writer(
            [&]
            {
                while (!stop)
                    destination.Format(99, "H", "b", true);
            });
        for (unsigned int count = 0; count < 2000; ++count)
            destination.SetCallstackMessageIDs(&count, count % 2 * (count != 99));
        stop = true;
        writer.join();
    }

    TEST(ConcreteDestination, AsksForTheTextInItsLanguage)
    {
        QzBase::Message message(700, 1, "plain");
        message.SetLocalizedText(0x0407, "deutsch");
        QzBase::CountedPtr<QzLog::MessageBody> const body(QzLog::CreateMessageBody());
        body->SetMessage(message);
        PlainDestination destination;
        destination.SetLanguageID(0x0407);
        destination.WriteMessage(*QzLog::CreateMessageHeader(), *body);
        EXPECT_EQ(destination.mWritten, "H deutsch");
    }
}
