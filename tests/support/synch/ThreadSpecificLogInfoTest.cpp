#include <QzSynch/ThreadSpecificLogInfo.h>

#include <gtest/gtest.h>

#include <thread>

namespace QzLog
{
    struct ThreadSpecificLogInfo
    {
    };
}

using namespace QzSynch;

// What is called here comes back from another thread, which would wait for a lock that is held meanwhile.
TEST(ThreadSpecificLogInfo, FunctionsRunAndEndWithNoLockHeld)
{
    auto const info = std::make_shared<QzLog::ThreadSpecificLogInfo>();
    RegisterThreadSpecificLogInfoGetter(
        [info]
        {
            std::thread(DeregisterThreadSpecificLogInfoGetter).join();
            return info;
        });
    EXPECT_EQ(CaptureThreadSpecificLogInfo(), info);
    EXPECT_EQ(CaptureThreadSpecificLogInfo(), nullptr);

    int resets = 0;
    auto const reset = [](void*) { std::thread(ResetThreadSpecificLogInfo).join(); };
    RegisterThreadSpecificLogInfoUnsetter([object = std::shared_ptr<void>(nullptr, reset)] {});
    RegisterThreadSpecificLogInfoUnsetter([&] { ++resets; });
    DeregisterThreadSpecificLogInfoUnsetter();
    ResetThreadSpecificLogInfo();
    EXPECT_EQ(resets, 1) << "called once, by what the replaced function held";
}
