#include "module/ThreadContext.h"
#include "module/ModuleAccess.h"
#include "module/ModuleMain.h"
#include "routing/Road.h"

#include <QzSynch/ThreadSpecificLogInfo.h>

#include <gtest/gtest.h>

#include <thread>

using namespace Road;

namespace
{
    class ThreadContextTest : public testing::Test
    {
    protected:
        /// The calling thread's identity in one text.
        static std::string Identity()
        {
            std::shared_ptr<ThreadSpecificLogInfo> const info = GetThreadSpecificLogInfo();
            return info->userID + "," + info->sessionID + "," + info->objectID + "," +
                   std::to_string(info->parentThreadID);
        }

        static void SetIdentity()
        {
            SetUserIDToThreadContext(u"\u00FC"_w);
            SetSessionIDToThreadContext(u"s"_w);
            SetObjectIDToThreadContext(u"o"_w);
            SetParentThreadIDToThreadContext(0x123456789);
        }

        Initializer const mInitializer;
    };

    char const kIdentity[] = "\xC3\xBC,s,o,4886718345";
    char const kNone[] = ",,,0";
}

TEST_F(ThreadContextTest, EachThreadHasItsOwn)
{
    SetIdentity();
    SetEpisodeNumber(5);
    EXPECT_EQ(Identity(), kIdentity);
    std::thread(
        []
        {
            EXPECT_EQ(Identity(), kNone);
            EXPECT_EQ(GetEpisodeNumber(), 0u);
            SetEpisodeNumber(6);
            ModulePin const module;
            MessageHeader& header = *module->GetThreadContext()->GetMessageHeader();
            EXPECT_STREQ(header.GetHostName(), module->GetMachineName());
            EXPECT_EQ(header.GetProcessID(), QzBase::GetCurrentProcessID());
            EXPECT_EQ(header.GetThreadID(), QzBase::GetCurrentThreadID());
        })
        .join();
    EXPECT_EQ(GetEpisodeNumber(), 5u);
    EXPECT_EQ(std::u16string(1, u'o')[0], GetObjectIDFromThreadContext().c_str()[0]);
    SetUserIDToThreadContext(nullptr);
    EXPECT_EQ(Identity(), ",s,o,4886718345");
    ClearThreadSpecificLogInfo();
    EXPECT_EQ(Identity(), kNone);
    EXPECT_EQ(GetEpisodeNumber(), 5u);
}

TEST_F(ThreadContextTest, AnIdentityIsCarriedToAnotherThread)
{
    SetIdentity();
    std::shared_ptr<ThreadSpecificLogInfo> const info = QzSynch::CaptureThreadSpecificLogInfo();
    ClearThreadSpecificLogInfo();
    std::thread(
        [&]
        {
            QzSynch::ApplyThreadSpecificLogInfo(info.get());
            QzSynch::ApplyThreadSpecificLogInfo(nullptr);
            EXPECT_EQ(Identity(), kIdentity);
            SetThreadSpecificLogInfo({});
            EXPECT_EQ(Identity(), "\xC3\xBC,s,o,0");
            QzSynch::ResetThreadSpecificLogInfo();
            EXPECT_EQ(Identity(), kNone);
            {
                ThreadSpecificLogInfoSwitchGuard const outer(info.get());
                {
                    ThreadSpecificLogInfoSwitchGuard const inner(nullptr);
                    EXPECT_EQ(Identity(), kIdentity);
                }
                EXPECT_EQ(Identity(), kNone);
            }
        })
        .join();
    EXPECT_EQ(Identity(), kNone);
}

TEST(ThreadContextWithoutModuleTest, TheRegistrationEndsWithTheModule)
{
    {
        Initializer const initializer;
    }
    EXPECT_EQ(QzSynch::CaptureThreadSpecificLogInfo(), nullptr);
    QzSynch::ResetThreadSpecificLogInfo();
}
