#include <QzSynch/ThreadSpecificLogInfo.h>

#include <gtest/gtest.h>

namespace QzLog
{
    struct ThreadSpecificLogInfo
    {
        int mID;
    };
}

TEST(ThreadSpecificLogInfo, GoesToWhatIsRegistered)
{
    using QzLog::ThreadSpecificLogInfo;
    ThreadSpecificLogInfo* applied = nullptr;
    int resets = 0;
    int ends = 0;

    EXPECT_EQ(QzSynch::CaptureThreadSpecificLogInfo(), nullptr);
    QzSynch::ApplyThreadSpecificLogInfo(nullptr);
    QzSynch::ResetThreadSpecificLogInfo();

    // What a function holds may end by calling back, so it ends with no lock held.
    struct CallsBack
    {
        ~CallsBack() { QzSynch::ResetThreadSpecificLogInfo(); }
    };
    QzSynch::RegisterThreadSpecificLogInfoUnsetter([object = std::make_shared<CallsBack>()] {});
    QzSynch::RegisterThreadSpecificLogInfoUnsetter([&] { ++resets; });
    EXPECT_EQ(resets, 1);

    // A function may take itself away, and ends when its last call does.
    QzSynch::RegisterThreadSpecificLogInfoGetter(
        [kept = std::shared_ptr<int>(new int(5), [&](int* id) { ++ends, delete id; })]
        {
            QzSynch::DeregisterThreadSpecificLogInfoGetter();
            return std::make_shared<ThreadSpecificLogInfo>(ThreadSpecificLogInfo{*kept});
        });
    QzSynch::RegisterThreadSpecificLogInfoSetter([&](ThreadSpecificLogInfo* info) { applied = info; });
    auto const info = QzSynch::CaptureThreadSpecificLogInfo();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->mID, 5);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(QzSynch::CaptureThreadSpecificLogInfo(), nullptr);

    QzSynch::ApplyThreadSpecificLogInfo(info.get());
    EXPECT_EQ(applied, info.get());
    QzSynch::DeregisterThreadSpecificLogInfoSetter();
    QzSynch::ApplyThreadSpecificLogInfo(nullptr);
    EXPECT_EQ(applied, info.get());

    QzSynch::DeregisterThreadSpecificLogInfoUnsetter();
    QzSynch::ResetThreadSpecificLogInfo();
    EXPECT_EQ(resets, 1);
}
