#include "root/ThreadContext.h"

#include "message/MessageHeader_Impl.h"
#include "root/ModuleAccess.h"
#include "root/ModuleMain.h"
#include "routing/CallPath.h"

#include <QzSynch/ThreadSpecificLogInfo.h>

#include <gtest/gtest.h>

#include <optional>
#include <thread>

using namespace CallPath;

namespace
{
    /// The calling thread's identity in one text.
    std::string Identity()
    {
        std::shared_ptr<ThreadSpecificLogInfo> const info = GetThreadSpecificLogInfo();
        return info->userID + "," + info->sessionID + "," + info->objectID + "," +
               std::to_string(info->parentThreadID) + "," + std::to_string(GetEpisodeNumber());
    }
}

TEST(ThreadContextTest, AnIdentityBelongsToItsThreadAndCanBeCarried)
{
    std::optional<Initializer> initializer(std::in_place);
    SetUserIDToThreadContext(u"\u00FC"_w);
    SetSessionIDToThreadContext(u"s"_w);
    SetObjectIDToThreadContext(u"o"_w);
    SetParentThreadIDToThreadContext(0x123456789);
    SetEpisodeNumber(5);
    EXPECT_EQ(Identity(), "\xC3\xBC,s,o,4886718345,5");
    EXPECT_EQ(GetObjectIDFromThreadContext().c_str()[0], 'o');
    std::shared_ptr<ThreadSpecificLogInfo> const info = QzSynch::CaptureThreadSpecificLogInfo();
    SetUserIDToThreadContext(nullptr);
    EXPECT_EQ(Identity(), ",s,o,4886718345,5");
    std::thread(
        [&]
        {
            EXPECT_EQ(Identity(), ",,,0,0");
            QzSynch::ApplyThreadSpecificLogInfo(info.get());
            QzSynch::ApplyThreadSpecificLogInfo(nullptr);
            EXPECT_EQ(Identity(), "\xC3\xBC,s,o,4886718345,0");
            ModulePin const module;
            MessageHeader& header = *module->GetThreadContext()->GetMessageHeader();
            EXPECT_STREQ(header.GetHostName(), module->GetMachineName());
            EXPECT_EQ(header.GetProcessID(), QzBase::GetCurrentProcessID());
            EXPECT_EQ(header.GetThreadID(), QzBase::GetCurrentThreadID());
            SetThreadSpecificLogInfo({});
            EXPECT_EQ(Identity(), "\xC3\xBC,s,o,0,0");
            QzSynch::ResetThreadSpecificLogInfo();
            ThreadSpecificLogInfoSwitchGuard const outer(info.get());
            {
                ThreadSpecificLogInfoSwitchGuard const inner(nullptr);
                EXPECT_EQ(Identity(), "\xC3\xBC,s,o,4886718345,0");
            }
            EXPECT_EQ(Identity(), ",,,0,0");
        })
        .join();
    ClearThreadSpecificLogInfo();
    EXPECT_EQ(Identity(), ",,,0,5");
    initializer.reset();
    EXPECT_EQ(QzSynch::CaptureThreadSpecificLogInfo(), nullptr);
}
