// A filter and sort data across the wire, with the shipped libraries and the shipped dictionary.
#include <gtest/gtest.h>

#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "include/zelstream.h"
#include "tests/support/bytes.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

class OrderQuery : public testing::TestWithParam<int> {
protected:
    static void SetUpTestSuite() {
        CZELMessage::init();
        ASSERT_NE(CZELMessage::getVormaZelData(), nullptr);
    }
    static void TearDownTestSuite() { CZELMessage::terminate(); }

    static short Id(const char* name) { return static_cast<short>(CZELMessage::getVormaZelData()->idFromName(name)); }
    static std::string Name(int id) {
        const ZELDictionaryHeader* dictionary = CZELMessage::getVormaZelData()->dataDictionary();
        return reinterpret_cast<const ZELDictionaryField*>(dictionary)[id].name;
    }
    static std::string_view Value(CZELMessage& message, const char* name) {
        const _field_data* field = message.getField(Id(name), -1);
        return {static_cast<const char*>(field->value), field->length};
    }

    RecordedReports reports_;
};

TEST_P(OrderQuery, StreamsArriveAsTheyLeft) {
    ZELFilter filter;
    EXPECT_EQ(filter.AddFilter(Id("SIDE"), "=", short{2}), 0);
    EXPECT_EQ(filter.AddFilter(Id("QUANTITY"), ">=", 100L), 0);
    EXPECT_EQ(filter.AddFilter(Id("CONTRACT_SIZE"), "!=", 5000), 0);
    EXPECT_EQ(filter.AddFilter(Id("CURRENCY"), "=", "EUR", 3), 0);
    EXPECT_EQ(filter.AddFilter(Id("SYMBOL"), "=", "BARLEY", 6), 0);
    EXPECT_EQ(filter.AddFilter(Id("COMMISSION_RATE"), "<", 2.5F), 0);
    EXPECT_EQ(filter.AddFilter(Id("AVERAGE_PRICE"), ">", 99.75), 0);
    EXPECT_EQ(filter.AddFilter(Id("LIMIT_PRICE"), "<=", _money{10150, 20}), 0);
    EXPECT_EQ(filter.AddFilter(Id("ENTERED_AT"), ">=", _datetime{17, 5, 124, 9, 30, 0, 0, 3}), 0);
    ZELSortData sort;
    EXPECT_EQ(sort.AddSortData(Id("LIMIT_PRICE"), 2), 0);
    EXPECT_EQ(sort.AddSortData(Id("ENTERED_AT"), 1), 0);

    CZELMessage sent(0, GetParam() == 2 ? 1 : 0);
    sent.msgType = 40;
    sent.subType = 1;
    sent.compressMode = GetParam() == 1 ? 1 : 0;
    sent.createStruct();
    sent.setFieldValue(Id("QUERY_REF"), "Q-1", -1);
    sent.setFieldValueBinary(Id("FILTER_STREAM"), filter.GetStream(), static_cast<short>(filter.GetLength()), -1);
    sent.setFieldValueBinary(Id("SORT_STREAM"), sort.GetStream(), static_cast<short>(sort.GetLength()), -1);
    char buffer[6 + 30 + 12288];
    long length = 0;
    ASSERT_EQ(sent.packMessage(buffer, &length), 0);
    const ExactCopy frame({buffer, static_cast<std::size_t>(length)});
    CZELMessage received(0, 0);
    ASSERT_EQ(received.unpackMessage(frame.data.get()), 0);
    const std::string_view filterBytes = Value(received, "FILTER_STREAM");
    const std::string_view sortBytes = Value(received, "SORT_STREAM");
    EXPECT_EQ(ToHex(filterBytes), ToHex({filter.GetStream(), static_cast<std::size_t>(filter.GetLength())}));

    ZELFilter terms;
    ASSERT_EQ(terms.SetStream(filterBytes.data(), static_cast<int>(filterBytes.size())), 0);
    ZELFilterItem item;
    std::string read;
    while (terms.GetFilterItem(item) == 0) {
        read += Name(item.fieldId) + item.logicOperator.text + std::to_string(item.type) + " ";
        switch (item.type) {
            case kZELShort:
                EXPECT_EQ(*item.AsShort(), 2);
                break;
            case kZELLong:
                EXPECT_EQ(*item.AsLong(), 100);
                break;
            case kZELInt:
                EXPECT_EQ(*item.AsInt(), 5000);
                break;
            case kZELText:
                EXPECT_STREQ(item.AsText(), item.fieldId == Id("SYMBOL") ? "BARLEY" : "EUR");
                break;
            case kZELFloat:
                EXPECT_EQ(*item.AsFloat(), 2.5F);
                break;
            case kZELDouble:
                EXPECT_EQ(*item.AsDouble(), 99.75);
                break;
            case kZELDateTime:
                EXPECT_EQ(item.AsDateTime()->minute, 30);
                break;
            default:
                EXPECT_EQ(item.AsMoney()->amount, 10150);
                break;
        }
    }
    EXPECT_EQ(read,
              "SIDE=1 QUANTITY>=2 CONTRACT_SIZE!=3 CURRENCY=5 SYMBOL=5 COMMISSION_RATE<6 AVERAGE_PRICE>7 "
              "LIMIT_PRICE<=9 ENTERED_AT>=8 ");
    ZELSortData keys;
    ASSERT_EQ(keys.SetStream(sortBytes.data(), static_cast<int>(sortBytes.size())), 0);
    SortItem key;
    read.clear();
    while (keys.GetSortItem(key) == 0) {
        read += Name(key.fieldId) + ":" + std::to_string(key.sortOrder) + " ";
    }
    EXPECT_EQ(read, "LIMIT_PRICE:2 ENTERED_AT:1 ");
    EXPECT_EQ(reports_.Take(), Lines{});

    // Whatever a program can write with the public classes links and copies.
    ZELFilter copy(terms);
    copy = terms;
    const ZELFilterItem itemCopy(item);
    FilterValue value(itemCopy);
    value = item;
    const ZELSortData keysCopy(keys);
    keys = keysCopy;
    EXPECT_EQ(copy.AddFilter(1, "=", 1), 0);
    EXPECT_EQ(copy.GetCount(), terms.GetCount() + 1);
}

INSTANTIATE_TEST_SUITE_P(PlainCompressedFormat2, OrderQuery, testing::Values(0, 1, 2));

}  // namespace
}  // namespace zel::test
