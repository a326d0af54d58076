#include <QzDataType/Binary.h>

#include <gtest/gtest.h>

#include <memory>

using namespace QzDataType;

TEST(ValuesTest, ABinaryShortensAndResets)
{
    std::unique_ptr<Binary> const binary(CreateBinary(10, nullptr));
    binary->Shorten(3);
    EXPECT_EQ(binary->GetSize(), 7u);
    binary->Shorten(8);
    EXPECT_EQ(binary->GetSize(), 0u);
    binary->Reset();
    EXPECT_EQ(binary->GetSize(), 10u);
}
