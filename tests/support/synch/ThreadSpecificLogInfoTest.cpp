#include <QzSynch/ThreadSpecificLogInfo.h>

#include <gtest/gtest.h>

namespace QzLog
{
    struct ThreadSpecificLogInfo
    {
    };
}

TEST(ThreadSpecificLogInfo, GoesToWhatIsRegistered)
{
    using QzLog::ThreadSpecificLogInfo;
    auto const info = std::make_shared<ThreadSpecificLogInfo>();
    ThreadSpecificLogInfo* applied = nullptr;
    int resets = 0;
    EXPECT_EQ(QzSynch::CaptureThreadSpecificLogInfo(), nullptr);

    // A function may take itself away, and lives until its last call ends.
    QzSynch::RegisterThreadSpecificLogInfoGetter(
        [info]
        {
            QzSynch::DeregisterThreadSpecificLogInfoGetter();
            return info;
        });
    EXPECT_EQ(QzSynch::CaptureThreadSpecificLogInfo(), info);
    EXPECT_EQ(QzSynch::CaptureThreadSpecificLogInfo(), nullptr);

    QzSynch::RegisterThreadSpecificLogInfoSetter([&](ThreadSpecificLogInfo* given) { applied = given; });
    QzSynch::ApplyThreadSpecificLogInfo(info.get());
    QzSynch::DeregisterThreadSpecificLogInfoSetter();
    QzSynch::ApplyThreadSpecificLogInfo(nullptr);
    EXPECT_EQ(applied, info.get());

    // What a function holds may call back when it ends, so it ends with no lock held.
    auto const reset = [](void*) { QzSynch::ResetThreadSpecificLogInfo(); };
    QzSynch::RegisterThreadSpecificLogInfoUnsetter([object = std::shared_ptr<void>(nullptr, reset)] {});
    QzSynch::RegisterThreadSpecificLogInfoUnsetter([&] { ++resets; });
    EXPECT_EQ(resets, 1);
    QzSynch::DeregisterThreadSpecificLogInfoUnsetter();
    QzSynch::ResetThreadSpecificLogInfo();
    EXPECT_EQ(resets, 1);
}
