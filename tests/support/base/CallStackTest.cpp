#include "support/ForkedChild.h"
#include "support/base/FrameNames.h"

#include <QzBase/CallStack.h>
#include <QzBase/Conversions.h>

#include <gmock/gmock.h>

namespace
{
    using namespace QzBase;
    using testing::Contains;
    using testing::ContainsRegex;

    using Descriptions = std::vector<std::string>;

    int gRecordLine = 0;
    int gCallLine = 0;

    // The statements after the calls keep them from becoming jumps.
    __attribute__((noinline)) Descriptions RecordHere(unsigned int limit)
    {
        gRecordLine = __LINE__ + 1;
        CallStack* const stack = CreateCallStack(nullptr);
        Descriptions descriptions;
        for (unsigned int i = 0; i < stack->GetFrameCount() && i < limit; ++i)
            descriptions.emplace_back(WideCharToUTF8(stack->GetFrame(i).GetDescription(), true).c_str());
        stack->Destroy();
        return descriptions;
    }

    template <class T>
    __attribute__((noinline)) Descriptions CallRecorder(T)
    {
        gCallLine = __LINE__ + 1;
        Descriptions descriptions = RecordHere(1000);
        asm volatile("");
        return descriptions;
    }

    TEST(CallStackTest, FrameZeroIsTheCallerWithItsPlace)
    {
        Descriptions const descriptions = CallRecorder(1);
        ASSERT_GT(descriptions.size(), 3u);
        auto const at = [](int line) { return " at .*CallStackTest\\.cpp:" + std::to_string(line) + "$"; };
        EXPECT_THAT(descriptions[0], ContainsRegex("::RecordHere\\(unsigned int\\).*" + at(gRecordLine)));
        EXPECT_THAT(descriptions[1], ContainsRegex("::CallRecorder<int>\\(int\\).*" + at(gCallLine)));
        EXPECT_THAT(descriptions[2], ContainsRegex("FrameZero.*::TestBody\\(\\) at .*CallStackTest\\.cpp"));
        // What has no debug information shows its module.
        EXPECT_THAT(descriptions, Contains(ContainsRegex("libc")));
        EXPECT_EQ(DescribeFrame(16), "0x10");
    }

    TEST(CallStackTest, AForkedChildFindsNamesWhileOthersLookThemUp)
    {
        auto const finds = [] { return RecordHere(1)[0].find("RecordHere") != std::string::npos; };
        ExpectInChildrenOfBusyParent(
            20, [&] { EXPECT_TRUE(finds()); }, finds);
    }
}
