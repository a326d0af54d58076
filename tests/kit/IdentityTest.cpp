#include <QzLog/Log.h>
#include <QzLogKit/Identity.h>
#include <QzLogKit/LogCapture.h>
#include <QzLogKit/Matchers.h>

#include <thread>

using namespace QzLogKit;
using namespace testing;

namespace
{
    struct IdentityTest : Test
    {
        /// "user/session/object/parent thread" of this thread.
        static std::string Get()
        {
            auto const info = QzLog::GetThreadSpecificLogInfo();
            return info->userID + "/" + info->sessionID + "/" + info->objectID + "/" +
                   std::to_string(info->parentThreadID);
        }

        LogCapture mLog;
        QzBase::CountedPtr<QzLog::Router> const mpRouter{QzLog::CreateRouter("Kernel", "Info")};
    };
}

TEST_F(IdentityTest, NestsAndRestores)
{
    std::string const user = "alice";
    IdentityGuard const outer({.mUserID = user, .mSessionID = "S\xC3\x9F\xFF", .mParentThreadID = 7});
    EXPECT_EQ(Get(), "alice/S\xC3\x9F\xEF\xBF\xBD//7");
    {
        IdentityGuard const inner({.mSessionID = "", .mObjectID = "report"});
        EXPECT_EQ(Get(), "alice//report/7");
        QzLog::Log(*mpRouter, "text");
        std::jthread worker(
            [info = QzLog::GetThreadSpecificLogInfo()]
            {
                IdentityGuard const own({.mUserID = "pool", .mSessionID = "none"});
                {
                    IdentityGuard const request(*info);
                    EXPECT_EQ(Get(), "alice//report/7");
                }
                EXPECT_EQ(Get(), "pool/none//0");
            });
    }
    EXPECT_EQ(Get(), "alice/S\xC3\x9F\xEF\xBF\xBD//7");
    EXPECT_THAT(mLog.Take(), ElementsAre(AllOf(UserIs("alice"), SessionIs(""), ObjectIs("report"))));
}

TEST_F(IdentityTest, CannotForgeRecordsOrFields)
{
    // What was there before the guard is restored as it was.
    QzLog::SetThreadSpecificLogInfo({.userID = "a]b", .sessionID = "", .objectID = "", .parentThreadID = 0});
    {
        IdentityGuard const guard({.mUserID = "eve][SID:root",
            .mObjectID =
                "x\r\n2026-11-18 03:02:07.123 [HOST:h][SERVER:][PID:1][THR:1][K][I][UID:0][SID:0][OID:0] text"});
        QzLog::Log(*mpRouter, "text");
        std::string const info = Get();
        EXPECT_EQ(info.find_first_of("\r\n]"), std::string::npos) << info;
    }
    EXPECT_EQ(Get(), "a]b///0");
}

TEST_F(IdentityTest, LeavesAThreadAloneAfterTheModule)
{
    EXPECT_NO_THROW({
        auto module = std::make_unique<QzLog::Initializer>();
        auto const guard = std::make_unique<IdentityGuard>(Identity{.mUserID = "alice"});
        mLog.~LogCapture();
        module.reset();
        EXPECT_THROW(IdentityGuard const other({.mUserID = "bob"}), QzBase::Message);
        new (&mLog) LogCapture;
    });
}

TEST(TraceSession, TakesWhatTheStandardTakes)
{
    std::string const trace = "0af7651916cd43dd8448eb211c80319c";
    std::string const ids = trace + "-b7ad6b7169203331";
    EXPECT_EQ(TraceSession("00-" + ids + "-01"), "trace=" + ids);
    EXPECT_EQ(TraceSession("cc-" + ids + "-00-what the future brings"), "trace=" + ids);
    std::string const bad[] = {"00-" + ids + "-01-", "cc-" + ids + "-00.what", "ff-" + ids + "-00", "0g-" + ids + "-00",
        "00-" + ids + "-0", "00-" + ids + "-0x", "00-0AF7651916CD43DD8448EB211C80319C-b7ad6b7169203331-01",
        "00-" + std::string(32, '0') + "-b7ad6b7169203331-01", "00-" + trace + "-0000000000000000-01",
        "00 " + ids + "-01", ""};
    for (std::string const& text : bad)
        EXPECT_EQ(TraceSession(text), "") << text;
}
