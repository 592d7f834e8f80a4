// A filter and sort data across the wire, with the shipped libraries and the shipped dictionary.
#include <gtest/gtest.h>

#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "include/zelstream.h"
#include "tests/stream/shown_item.h"
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
    ZELFilter terms;
    ASSERT_EQ(terms.SetStream(filterBytes.data(), static_cast<int>(filterBytes.size())), 0);
    ZELFilterItem item;
    std::string read;
    while (terms.GetFilterItem(item) == 0) {
        read += Shown(item) + "; ";
    }
    const auto id = [](const char* name) { return std::to_string(Id(name)); };
    EXPECT_EQ(read, id("SIDE") + " = short 2; " + id("QUANTITY") + " >= long 100; " + id("CONTRACT_SIZE") +
                        " != int 5000; " + id("CURRENCY") + " = text EUR; " + id("SYMBOL") + " = text BARLEY; " +
                        id("COMMISSION_RATE") + " < float 2.5; " + id("AVERAGE_PRICE") + " > double 99.75; " +
                        id("LIMIT_PRICE") + " <= money 10150 20; " + id("ENTERED_AT") +
                        " >= date-time 17 5 124 9 30 0 0 3; ");
    ZELSortData keys;
    ASSERT_EQ(keys.SetStream(sortBytes.data(), static_cast<int>(sortBytes.size())), 0);
    SortItem key;
    for (const char* name : {"LIMIT_PRICE", "ENTERED_AT"}) {
        EXPECT_EQ(keys.GetSortItem(key), 0);
        EXPECT_EQ(key.fieldId, Id(name));
        EXPECT_EQ(key.sortOrder, name[0] == 'L' ? 2 : 1);
    }
    EXPECT_EQ(keys.GetSortItem(key), -1);
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
