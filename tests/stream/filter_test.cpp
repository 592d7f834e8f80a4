// Terms and keys: their bytes, reading them, refusing them.
#include <gtest/gtest.h>

#include <climits>
#include <tuple>

#include "core/tables/tables_in_use.h"
#include "stream/filter_term.h"
#include "tests/stream/open_stream.h"
#include "tests/stream/shown_item.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/failing_heap.h"
#include "tests/support/page.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

// The bytes of the term, without the header of the filter.
template <typename... Value>
std::string Term(const char* comparison, Value... value) {
    ZELFilter filter;
    const int result = filter.AddFilter(-2, comparison, value...);
    EXPECT_EQ(filter.GetCount(), result + 1);
    return result == 0 ? ToHex(Bytes(filter).substr(4)) : ToHex(Bytes(filter));
}

TEST(Filter, PlainLiteralsPickTheirOverload) {
    const char kNothing[] = "00 04 00 00";
    EXPECT_EQ(Term("=", short{-2}), "FF FE 00 01 FF FE");
    EXPECT_EQ(Term("!=", static_cast<long>(0xFFFFFFFF80000001)), "FF FE 00 02 80 00 00 01");
    EXPECT_EQ(Term(">", 0x12345678), "FF FE 00 03 12 34 56 78");
    EXPECT_EQ(Term("<", 2.5F), "FF FE 00 04 00 00 20 40");
    EXPECT_EQ(Term(">=", -2.5), "FF FE 00 05 00 00 00 00 00 00 04 C0");
    EXPECT_EQ(Term("<=", "A\0B", 3), "FF FE 00 06 00 03 41 00 42");
    EXPECT_EQ(Term("=", nullptr, 0), "FF FE 00 01 00 00");
    EXPECT_EQ(Term("=", nullptr, 1), kNothing);
    EXPECT_EQ(Term("=", "A", -1), kNothing);
    EXPECT_EQ(Term("=", _money{-123456, 562}), "FF FE 00 01 FF FE 1D C0 02 32");
    EXPECT_EQ(Term("=", _datetime{30, 11, 99, 9, 5, 7, 0, 3}), "FF FE 00 01 1E 0B 63 09 05 07 00 03");
    for (const char* text : {"==", "=>", "= ", "", "!", "<>", "=<", ">=>", ">==", "LIKE"}) {
        const ExactCopy exact({text, std::strlen(text) + 1});
        EXPECT_EQ(Term(exact.data.get(), 1), kNothing) << text;
    }
    EXPECT_EQ(Term(nullptr, 1), kNothing);
    ZELFilter filter;
    std::uint32_t count = 0;
    EXPECT_EQ(AddTerm(filter, count, 3, 9, 'A'), 0);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(ToHex(Bytes(filter).substr(4)), "00 03 00 09 00 00 00 41");
}

template <typename... Value>
void CheckRefusal(int valueSize, Value... value) {
    for (int room = 0; room < 4 + valueSize; ++room) {
        ZELFilter filter;
        const std::string text(static_cast<std::size_t>(16384 - 4 - 6 - room), 'T');
        EXPECT_EQ(filter.AddFilter(1, "=", text.data(), static_cast<int>(text.size())), 0);
        const std::string before = Bytes(filter);
        FailAllocationsFrom(1);
        EXPECT_EQ(filter.AddFilter(2, "=", value...), -1) << room;
        FailAllocationsFrom(0);
        EXPECT_EQ(filter.AddFilter(2, "=>", value...), -1);
        EXPECT_EQ(filter.GetCount(), 1);
        EXPECT_TRUE(Bytes(filter) == before) << room;
    }
}

TEST(Filter, KeepsNoPartOfATermThatFindsNoRoom) {
    CheckRefusal(2, short{1});
    CheckRefusal(4, 1L);
    CheckRefusal(4, 1);
    CheckRefusal(4, 1.0F);
    CheckRefusal(8, 1.0);
    CheckRefusal(6, _money{});
    CheckRefusal(8, _datetime{});
    CheckRefusal(5, "ABC", 3);
    OpenSort sort;
    EXPECT_EQ(StreamBuffer::Put(sort, short{1}), 0);
    while (sort.Room() - sort.Used() > 2) {
        EXPECT_EQ(sort.AddSortData(2, 1), 0);
    }
    const std::string before = Bytes(sort);
    FailAllocationsFrom(1);
    EXPECT_EQ(sort.AddSortData(3, 1), -1);
    FailAllocationsFrom(0);
    EXPECT_TRUE(Bytes(sort) == before);
}

// A growth that fails is counted. A copy has the source's count and its smaller room.
template <typename Stream>
void CheckCopies(int (*add)(Stream&)) {
    Stream source;
    while (source.Room() - source.Used() >= 12) {
        ASSERT_EQ(add(source), 0);
    }
    short number = 0;
    EXPECT_EQ(StreamBuffer::Get(source, number), 0);
    Stream copy;
    EXPECT_EQ(add(copy), 0);
    FailAllocationsFrom(1);
    while (add(source) == 0) {
    }
    copy = source;
    EXPECT_EQ(std::tuple(copy.buffer, copy.GetCount(), copy.blockCount, add(copy)), std::tuple(nullptr, 0, 0, -1));
    EXPECT_EQ(copy.blockSize, UINT32_MAX);
    EXPECT_EQ(StreamBuffer::Get(copy, number), -1);
    const Stream none(copy);
    EXPECT_EQ(std::tuple(none.buffer, none.GetCount()), std::tuple(nullptr, 0));
    FailAllocationsFrom(0);
    source = static_cast<const Stream&>(source);
    copy = source;
    EXPECT_EQ(std::tuple(Bytes(copy), copy.GetCount()), std::tuple(Bytes(source), source.GetCount()));
    EXPECT_EQ(std::tuple(copy.Room(), copy.blockCount, copy.ReadAt()), std::tuple(16384, 2, 6));
    while (copy.Room() == 16384) {
        EXPECT_EQ(add(copy), 0);
    }
    EXPECT_EQ(std::tuple(copy.Room(), copy.blockCount, copy.ReadAt()), std::tuple(3 * 16384, 3, 2));
}

TEST(Streams, CopiesHaveTheirOwnRoom) {
    CheckCopies<OpenFilter>([](OpenFilter& to) { return to.AddFilter(1, "=", 1); });
    CheckCopies<OpenSort>([](OpenSort& to) { return to.AddSortData(1, 1); });
}

TEST(Filter, ComparisonsAreTextsAndCodes) {
    short code = 0;
    for (const char* text : {"=", "!=", ">", "<", ">=", "<="}) {
        LogicOperator comparison;
        EXPECT_EQ(comparison.SetText(text), 0);
        EXPECT_EQ(LogicOperator(comparison).code, ++code);
        std::memset(comparison.text, 'x', sizeof comparison.text);
        comparison.Reset();
        EXPECT_EQ(comparison.code, -1);
        EXPECT_EQ(std::string(comparison.text, sizeof comparison.text), std::string(3, '\0'));
        EXPECT_EQ(comparison.SetCode(code), 0);
        EXPECT_STREQ(LogicOperator(comparison).text, text);
        comparison.text[0] = '\0';
        comparison.text[1] = '=';
        EXPECT_EQ(LogicOperator(comparison).text[1], '\0') << "nothing after the end of a text";
    }
}

TEST(Filter, ReadsTermsWithTheDictionary) {
    TestTables tables;
    RecordedReports reports;
    for (const Cells& row : ReadCases("tests/stream/cases/terms.txt", 5)) {
        const std::string bytes = FromHex(row[1]);
        const int size = static_cast<int>(bytes.size());
        for (int cut = size; cut >= 0; --cut) {
            const ExactCopy sent(bytes.substr(0, static_cast<std::size_t>(cut)));
            OpenFilter filter;
            for (const int none : {cut - size - 1, INT_MIN}) {
                ASSERT_EQ(filter.SetStream(sent.data.get(), none), -1);
            }
            ASSERT_EQ(filter.SetStream(nullptr, cut), -1);
            ASSERT_EQ(filter.SetStream(sent.data.get(), cut), cut >= 4 ? 0 : -1) << row[0];
            EXPECT_EQ(filter.GetCount(), cut >= 4 ? bytes[3] : 0) << row[0];
            ZELFilterItem item;
            item.SetInt(42);
            EXPECT_EQ(item.logicOperator.SetText(">="), 0);
            const bool readable = cut == size && row[3].starts_with("at the end");
            EXPECT_EQ(filter.GetFilterItem(item), readable ? 0 : -1) << row[0] << ", " << cut;
            if (cut < size) {
                EXPECT_EQ(*item.AsInt(), 42) << row[0] << ", " << cut;
                continue;
            }
            EXPECT_EQ(Shown(item), row[2]) << row[0];
            EXPECT_EQ(Shown(ZELFilterItem(item)), row[2]) << row[0];
            EXPECT_EQ(filter.ReadAt() == size ? "at the end" : std::to_string(filter.ReadAt()), row[3]) << row[0];
            EXPECT_EQ(reports.TakeText(), row[4]) << row[0];
        }
        reports.Take();
    }
    OpenFilter filter;
    EXPECT_EQ(filter.AddFilter(kSide, "<", short{3}), 0);
    EXPECT_EQ(StreamBuffer::Put(filter, short{0}), 0);
    ZELFilterItem item;
    EXPECT_EQ(filter.GetFilterItem(item), 0);
    EXPECT_EQ(filter.GetFilterItem(item), -1);
    EXPECT_EQ(Shown(item), "0 < short 3") << "an id without a comparison";
    EXPECT_EQ(reports.Take(), Lines{}) << "its type is not looked up";
}

TEST(Streams, KeepTheLowBitsOfWhatTheHeaderCannotHold) {
    TestTables tables;
    ZELFilter longText;
    EXPECT_EQ(longText.AddFilter(kSymbol, "=", std::string(70000, 'T').data(), 70000), 0);
    EXPECT_EQ(ToHex(Bytes(longText).substr(0, 10)), "11 7A 00 01 00 0E 00 01 11 70");
    ZELFilter filter;
    OpenSort sort;
    for (int i = 0; i < 65536; ++i) {
        EXPECT_EQ(filter.AddFilter(kSide, "=", static_cast<short>(i)), 0);
    }
    for (int i = 0; i < 70000; ++i) {
        EXPECT_EQ(sort.Room(), (i / 4096 + 1) * 16384) << i;
        EXPECT_EQ(sort.AddSortData(static_cast<short>(i), 1), 0);
    }
    ZELFilterItem term;
    EXPECT_EQ(filter.GetFilterItem(term), -1);
    EXPECT_EQ(term.fieldId, 0) << "the count, which was not written yet";
    const ExactCopy terms(Bytes(filter));
    const ExactCopy keys(Bytes(sort));
    EXPECT_EQ(ToHex({terms.data.get(), 4}), "00 04 00 00");
    EXPECT_EQ(ToHex({keys.data.get(), 4}), "45 C4 11 70");
    EXPECT_EQ(filter.SetStream(terms.data.get(), static_cast<int>(terms.size)), 0);
    EXPECT_EQ(sort.SetStream(keys.data.get(), static_cast<int>(keys.size)), 0);
    filter.Rewind();
    sort.Rewind();
    SortItem key;
    for (int i = 0; i < 70000; ++i) {
        ASSERT_EQ(filter.GetFilterItem(term), i < 65536 ? 0 : -1) << i;
        ASSERT_EQ(*term.AsShort(), static_cast<short>(i < 65536 ? i : 65535));
        ASSERT_EQ(sort.GetSortItem(key), 0) << i;
        ASSERT_EQ(key.fieldId, static_cast<short>(i));
    }
    EXPECT_EQ(sort.GetSortItem(key), -1);
    EXPECT_EQ(StreamBuffer::Put(sort, short{5}), 0);
    EXPECT_EQ(sort.GetSortItem(key), -1);
    EXPECT_EQ(key.fieldId, 5) << "half a key";
}

TEST(Filter, LongTextsAreRefusedAndSkipped) {
    TestTables tables;
    RecordedReports reports;
    ZELFilter filter;
    const std::string longest(2047, 'L');
    const std::string tooLong(2048, 'T');
    filter.AddFilter(kSymbol, "=", longest.data(), 2047);
    filter.AddFilter(kCode, "<", tooLong.data(), 2048);
    filter.AddFilter(kSide, ">", short{3});
    ZELFilterItem item;
    EXPECT_EQ(filter.GetFilterItem(item), 0);
    EXPECT_EQ(ZELFilterItem(item).AsText(), longest);
    EXPECT_EQ(filter.GetFilterItem(item), -1);
    EXPECT_EQ(Shown(item), "13 < text " + longest);
    EXPECT_EQ(filter.GetFilterItem(item), 0);
    EXPECT_EQ(item.SetString(tooLong.c_str()), -1);
    EXPECT_EQ(item.SetString(nullptr), -1);
    EXPECT_EQ(Shown(item), "10 > short 3");
    EXPECT_EQ(item.SetString(longest.c_str()), 2048);
    EXPECT_EQ(item.SetString(item.AsText() + 5), 2043);
    EXPECT_EQ(item.AsText(), longest.substr(5)) << "set from a part of itself";
    std::memset(item.value.text, 'U', sizeof item.value.text);
    EXPECT_EQ(FilterValue(item).AsText(), std::string(2047, 'U')) << "a terminator that was overwritten";
    filter.Rewind();
    StopUsingTables();
    EXPECT_EQ(filter.GetFilterItem(item), -1);
    EXPECT_EQ(reports.TakeText(), "1412 Data Dictionary not initialized in shared memory");
}

TEST(Filter, ItemsCopyWhatIsSet) {
    ZELFilterItem source;
    EXPECT_EQ(Shown(source), "-1  text ");
    source.SetChar('C');
    source.fieldId = 12;
    ZELFilterItem target;
    target.logicOperator.SetText("<=");
    target = source;
    EXPECT_EQ(Shown(target), "12 <= char C") << "an unset comparison is not copied";
    source.type = 10;
    target = source;
    EXPECT_EQ(Shown(target), "12 <= char C") << "nor is a value of no type";
    EXPECT_EQ(ZELFilterItem(source).type, 5);
    EXPECT_EQ(FilterValue(source).type, 10);
    const ZELFilterItem& itself = target;
    target = itself;
    target.logicOperator = itself.logicOperator;
    static_cast<FilterValue&>(target) = itself;
    EXPECT_EQ(Shown(target), "12 <= char C");
}

TEST(Streams, AreAsDocumented) {
    ZELFilter first;
    first.AddFilter(101, ">=", 5000L);
    first.AddFilter(7, "=", "ABC", 3);
    ZELFilter second;
    second.AddFilter(3, "<", 2.5F);
    second.AddFilter(3, "<=", short{-2});
    ZELSortData sort;
    sort.AddSortData(101, 1);
    sort.AddSortData(7, 2);
    EXPECT_EQ(ToHex(DocumentedBytes("docs/streams.md")), ToHex(Bytes(first) + Bytes(second) + Bytes(sort)));
}

}  // namespace
}  // namespace zel::test
