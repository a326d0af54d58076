#include <QzDataType/Binary.h>
#include <QzDataType/StringCollection.h>
#include <QzDataType/Variant.h>

#include <gtest/gtest.h>

#include <memory>

using namespace QzDataType;

TEST(ValuesTest, ABinaryShortensAndResets)
{
    std::unique_ptr<Binary> const binary(CreateBinary(10, nullptr));
    binary->GetData()[9] = 7;
    binary->Shorten(3);
    EXPECT_EQ(binary->GetSize(), 7u);
    binary->Shorten(8);
    EXPECT_EQ(binary->GetSize(), 0u);
    binary->Reset();
    EXPECT_EQ(binary->GetSize(), 10u);
    EXPECT_EQ(binary->GetData()[9], 7);
}

TEST(ValuesTest, TextsMayBeNull)
{
    std::unique_ptr<StringCollection> const list(CreateStringCollection());
    list->Append(nullptr);
    EXPECT_EQ(Variant(list->GetItem(0), nullptr).GetUTF8Text(), "");
}
