#include "destination/Destination_DebugOutput_Impl.h"
#include "destination/Destination_SystemLog_Impl.h"

#include "os/Restore.h"

#include <QzBase/Conversions.h>
#include <QzLog/MessageHeader.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
    using testing::ElementsAre;

    /// What the system was asked for, one line a call.
    std::vector<std::string> gCallLog;

    void Add(std::string const& what, unsigned short const* text)
    {
        gCallLog.push_back(what + QzBase::WideCharToUTF8(text, false).c_str());
    }

    class Output : public testing::Test, QzTest::Restore
    {
    protected:
        Output()
        {
            gCallLog.clear();
            QzOs::gCalls.mpWriteDebugOutput = [](unsigned short const* text) { Add("", text); };
            QzOs::gCalls.mpRegisterEventSource = [](unsigned short const* name) -> void*
            {
                Add("register ", name);
                return *name == '-' ? nullptr : new int(static_cast<int>(gCallLog.size()));
            };
            QzOs::gCalls.mpReportEvent =
                [](void* source, unsigned short type, unsigned int id, unsigned short const* text)
            {
                Add((source ? "" : "null ") + std::to_string(type) + ' ' + std::to_string(id) + ' ', text);
                if (gOnReport)
                    gOnReport();
            };
            QzOs::gCalls.mpDeregisterEventSource = [](void* source)
            {
                gCallLog.push_back("deregister");
                delete static_cast<int*>(source);
            };
        }

        ~Output() override { gOnReport = nullptr; }

        /// The calls since the last look.
        static std::vector<std::string> TakeCalls() { return std::exchange(gCallLog, {}); }

        static inline void (*gOnReport)() = nullptr;

        QzBase::CountedPtr<QzLog::MessageHeader> const mpHeader{QzLog::CreateMessageHeader()};
        std::string const mHeaderText = mpHeader->GetHeaderText();
    };

    TEST_F(Output, DebugOutputGetsEachTextInOnePiece)
    {
        QzBase::CountedPtr<QzLog::Destination_DebugOutput> const destination(new QzLog::Destination_DebugOutput_Impl);
        destination->WriteMessage("a\nb\xFF", *mpHeader);
        destination->WriteMessage(nullptr, *mpHeader);
        EXPECT_THAT(TakeCalls(), ElementsAre(mHeaderText + " a\r\nb\uFFFD\r\n", mHeaderText + " \r\n"));

        for (char const* const text : {"a", "a\r", "", "a\n", "a\nb\r\n"})
            destination->WriteString(text);
        EXPECT_THAT(TakeCalls(), ElementsAre("a\r\n", "a\r\r\n", "\r\n", "a\n", "a\nb\r\n"));
    }

    TEST_F(Output, SystemLogTakesSeverityAndEventFromTheID)
    {
        struct
        {
            unsigned int mID;
            char const* mpEvent;
        } const cases[] = {{0, "4 0"}, {0x4001002A, "2 42"}, {0x8000FFFF, "1 65535"}, {0xC0000001, "4 1"}};
        QzBase::CountedPtr<QzLog::Destination_SystemLog> const destination(new QzLog::Destination_SystemLog_Impl);
        destination->SetEventSource("");
        EXPECT_THAT(TakeCalls(), ElementsAre());
        destination->ReportEvent("first", 3, 9);
        EXPECT_THAT(TakeCalls(), ElementsAre("register Tarnwickforge Application", "0 9 first"));
        for (auto const& c : cases)
        {
            mpHeader->SetMessageID(c.mID);
            destination->WriteMessage("a\nb\n", *mpHeader);
            EXPECT_THAT(TakeCalls(), ElementsAre(std::string(c.mpEvent) + ' ' + mpHeader->GetHeaderText() + " a\r\nb"));
        }
    }

    TEST_F(Output, SystemLogRegistersANameOnce)
    {
        QzBase::CountedPtr<QzLog::Destination_SystemLog> destination(new QzLog::Destination_SystemLog_Impl);
        destination->SetEventSource("own");
        destination->SetEventSource("own");
        destination->ReportEvent("text", 0, 1);
        EXPECT_THAT(TakeCalls(), ElementsAre("register own", "4 1 text"));
        // One that fails is not tried again.
        destination->SetEventSource("-");
        destination->ReportEvent("text", 1, 1);
        destination->ReportEvent("text", 2, 1);
        EXPECT_THAT(TakeCalls(), ElementsAre("deregister", "register -", "null 2 1 text", "null 1 1 text"));
        destination->SetEventSource("last");
        destination.reset();
        EXPECT_THAT(TakeCalls(), ElementsAre("deregister", "register last", "deregister"));
    }

    TEST_F(Output, SystemLogKeepsASourceWhileItReports)
    {
        static QzBase::CountedPtr<QzLog::Destination_SystemLog> destination;
        destination = new QzLog::Destination_SystemLog_Impl;
        gOnReport = []
        {
            destination->SetEventSource("new");
            gCallLog.push_back("reported");
        };
        destination->ReportEvent("text", 0, 1);
        destination.reset();
        EXPECT_THAT(TakeCalls(), ElementsAre("register Tarnwickforge Application", "4 1 text", "register new",
                                     "reported", "deregister", "deregister"));
    }
}
