#include <QzSynch/ThreadSpecificLogInfo.h>

#include <gtest/gtest.h>

namespace QzLog
{
    struct ThreadSpecificLogInfo
    {
    };
}

TEST(ThreadSpecificLogInfo, FunctionsEndWithNoLockHeldBehindTheirLastCall)
{
    auto const info = std::make_shared<QzLog::ThreadSpecificLogInfo>();
    QzSynch::RegisterThreadSpecificLogInfoGetter(
        [info]
        {
            QzSynch::DeregisterThreadSpecificLogInfoGetter();
            return info;
        });
    EXPECT_EQ(QzSynch::CaptureThreadSpecificLogInfo(), info);
    EXPECT_EQ(QzSynch::CaptureThreadSpecificLogInfo(), nullptr);

    int resets = 0;
    auto const reset = [](void*) { QzSynch::ResetThreadSpecificLogInfo(); };
    QzSynch::RegisterThreadSpecificLogInfoUnsetter([object = std::shared_ptr<void>(nullptr, reset)] {});
    QzSynch::RegisterThreadSpecificLogInfoUnsetter([&] { ++resets; });
    QzSynch::DeregisterThreadSpecificLogInfoUnsetter();
    QzSynch::ResetThreadSpecificLogInfo();
    EXPECT_EQ(resets, 1) << "called once, by what the replaced function held";
}
