#include <gtest/gtest.h>

#include "core/dictionary.h"
#include "tests/stream/open_stream.h"
#include "tests/support/bytes.h"
#include "tests/support/failing_heap.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

const char kNewStream[] = "00 04 00 00";

std::string Load(ZELFilter& filter, std::string_view hex) {
    const ExactCopy bytes(FromHex(hex));
    return filter.SetStream(bytes.data.get(), static_cast<int>(bytes.size)) == 0 ? "loaded" : "refused";
}

// The terms alone, behind the header of a filter that holds nothing else.
template <typename... Value>
std::string Term(Value... value) {
    ZELFilter filter;
    const int result = filter.AddFilter(3, "<", value...);
    return result == 0 ? ToHex(Bytes(filter).substr(8)) : "-1";
}

TEST(Filter, PlainLiteralsPickTheirOverload) {
    EXPECT_EQ(Term(short{-2}), "FF FE");
    EXPECT_EQ(Term(-2L), "FF FF FF FE");
    EXPECT_EQ(Term(-2), "FF FF FF FE");
    EXPECT_EQ(Term(2.5F), "00 00 20 40");
    EXPECT_EQ(Term(2.5), "00 00 00 00 00 00 04 40");
    EXPECT_EQ(Term("ABC", 3), "00 03 41 42 43");
    EXPECT_EQ(Term("A", 2), "00 02 41 00");
    EXPECT_EQ(Term("", 0), "00 00");
    EXPECT_EQ(Term(nullptr, 0), "00 00");
    EXPECT_EQ(Term(nullptr, 1), "-1");
    EXPECT_EQ(Term("A", -1), "-1");
    EXPECT_EQ(Term(_money{123456, 20}), "00 01 E2 40 00 14");
    EXPECT_EQ(Term(_datetime{30, 11, 99, 9, 5, 7, 0, 3}), "1E 0B 63 09 05 07 00 03");
    struct Inner : ZELFilter {
        using ZELFilter::AddFilter;
    } filter;
    EXPECT_EQ(filter.AddFilter(3, short{9}, 'A'), 0);
    EXPECT_EQ(ToHex(Bytes(filter)), "00 0C 00 01 00 03 00 09 00 00 00 41");
}

TEST(Filter, KnowsSixComparisons) {
    const char* const texts[] = {"=", "!=", ">", "<", ">=", "<="};
    short code = 0;
    for (const char* text : texts) {
        ++code;
        ZELFilter filter;
        EXPECT_EQ(filter.AddFilter(-1, text, short{1}), 0) << text;
        EXPECT_EQ(ToHex(Bytes(filter)), "00 0A 00 01 FF FF 00 0" + std::to_string(code) + " 00 01");
        LogicOperator fromText;
        LogicOperator fromCode;
        EXPECT_EQ(fromText.SetText(text), 0);
        EXPECT_EQ(fromCode.SetCode(code), 0);
        EXPECT_EQ(fromText.code, code);
        EXPECT_STREQ(fromCode.text, text);
        for (const short none : {short{0}, short{7}, short{-1}, short{32767}}) {
            EXPECT_EQ(fromCode.SetCode(none), -1);
        }
        EXPECT_EQ(LogicOperator(fromCode).code, code);
        EXPECT_STREQ((fromText = LogicOperator()).text, "");
        EXPECT_EQ(fromText.code, -1);
    }
    ZELFilter filter;
    for (const char* text : {"==", "=>", "= ", "", "!", "<>", "=<", ">=>", ">==", "LIKE"}) {
        const ExactCopy exact({text, std::strlen(text) + 1});
        EXPECT_EQ(filter.AddFilter(1, exact.data.get(), 1), -1) << text;
    }
    EXPECT_EQ(filter.AddFilter(1, nullptr, 1), -1);
    EXPECT_EQ(ToHex(Bytes(filter)), kNewStream);
}

TEST(Filter, BuildsTheDocumentedExample) {
    ZELFilter filter;
    EXPECT_EQ(filter.AddFilter(101, ">=", 5000L), 0);
    EXPECT_EQ(filter.AddFilter(7, "=", "ABC", 3), 0);
    EXPECT_EQ(ToHex(Bytes(filter)), "00 15 00 02 00 65 00 05 00 00 13 88 00 07 00 01 00 03 41 42 43");
    EXPECT_EQ(filter.GetCount(), 2);
}

TEST(Filter, KeepsTheLowBitsOfWhatTheHeaderCannotHold) {
    TestTables tables;
    ZELFilter filter;
    const std::string text(70000, 'T');
    EXPECT_EQ(filter.AddFilter(kSymbol, "=", text.data(), 70000), 0);
    EXPECT_EQ(filter.GetLength(), 70010);
    EXPECT_EQ(ToHex(Bytes(filter).substr(0, 10)), "11 7A 00 01 00 0E 00 01 11 70");
    ZELFilter many;
    for (int i = 0; i < 65536; ++i) {
        EXPECT_EQ(many.AddFilter(kSide, "=", static_cast<short>(i)), 0);
    }
    const std::string bytes = Bytes(many);
    EXPECT_EQ(ToHex(bytes.substr(0, 4)), "00 04 00 00");
    ZELFilter received;
    EXPECT_EQ(received.SetStream(bytes.data(), static_cast<int>(bytes.size())), 0);
    received.Rewind();
    ZELFilterItem item;
    int terms = 0;
    while (received.GetFilterItem(item) == 0 && *item.AsShort() == static_cast<short>(terms)) {
        ++terms;
    }
    EXPECT_EQ(terms, 65536);
    EXPECT_EQ(received.SetStream(bytes.data(), static_cast<int>(bytes.size()) - 65536), -1) << "room for 54613 terms";
}

TEST(Filter, ReadsEveryTypeWithTheDictionary) {
    TestTables tables;
    RecordedReports reports;
    ZELFilter filter;
    filter.AddFilter(kSide, "=", short{-7});
    filter.AddFilter(kQty, ">=", 5000L);
    filter.AddFilter(kCount, "!=", -5);
    filter.AddFilter(kCode, "<", "AB", 2);
    filter.AddFilter(kSymbol, ">", "X\0Y", 3);
    filter.AddFilter(kRate, "<=", 2.5F);
    filter.AddFilter(kValue, "=", -0.5);
    filter.AddFilter(kStamp, "=", _datetime{1, 2, 3, 4, 5, 6, 7, 8});
    filter.AddFilter(kPrice, "=", _money{-1, 20});
    ZELFilterItem item;
    EXPECT_EQ(item.fieldId, -1);
    EXPECT_EQ(item.logicOperator.code, -1);
    EXPECT_STREQ(item.AsText(), "");
    const auto next = [&](int fieldId, const char* text) {
        EXPECT_EQ(filter.GetFilterItem(item), 0) << fieldId;
        EXPECT_EQ(item.fieldId, fieldId);
        EXPECT_STREQ(item.logicOperator.text, text);
        // Only the accessor of the type answers.
        const int answers = (item.AsShort() != nullptr) + (item.AsLong() != nullptr) + (item.AsInt() != nullptr) +
                            (item.AsChar() != nullptr) + (item.AsText() != nullptr) + (item.AsFloat() != nullptr) +
                            (item.AsDouble() != nullptr) + (item.AsDateTime() != nullptr) + (item.AsMoney() != nullptr);
        EXPECT_EQ(answers, 1) << fieldId;
        ZELFilterItem copy(item);
        EXPECT_EQ(copy.type, item.type);
        EXPECT_EQ(copy.fieldId, item.fieldId);
        EXPECT_STREQ(copy.logicOperator.text, text);
        return copy;
    };
    EXPECT_EQ(*next(kSide, "=").AsShort(), -7);
    EXPECT_EQ(*next(kQty, ">=").AsLong(), 5000);
    EXPECT_EQ(*next(kCount, "!=").AsInt(), -5);
    EXPECT_STREQ(next(kCode, "<").AsText(), "AB");
    EXPECT_STREQ(next(kSymbol, ">").AsText(), "X") << "ends at its first zero byte";
    EXPECT_EQ(*next(kRate, "<=").AsFloat(), 2.5F);
    EXPECT_EQ(*next(kValue, "=").AsDouble(), -0.5);
    EXPECT_EQ(next(kStamp, "=").AsDateTime()->kind, 8);
    EXPECT_EQ(next(kPrice, "=").AsMoney()->displayCode, 20);
    EXPECT_EQ(filter.GetFilterItem(item), -1);
    filter.Rewind();
    EXPECT_EQ(*next(kSide, "=").AsShort(), -7);
    EXPECT_EQ(reports.Take(), Lines{});
}

TEST(Filter, TermsThatCannotBeRead) {
    struct Row {
        const char* name;
        const char* stream;
        int fieldId;
        const char* comparison;
        long readAt;
        Lines reports;
    };
    const Row rows[] = {
        {"none", "00 04 00 00", -1, ">=", 4, {}},
        {"beyond the dictionary", "00 0A 00 01 02 31 00 01 00 00", 561, "=", 8, {}},
        {"negative id", "00 0A 00 01 FF FE 00 01 00 00", -2, "=", 8, {}},
        {"id 0", "00 0A 00 01 00 00 00 01 00 00", 0, "=", 8, {"1001 GetFldEntry() Failed"}},
        {"type 0", "00 0A 00 01 00 64 00 01 00 00", 100, "=", 8, {}},
        {"type 10", "00 0A 00 01 00 13 00 02 00 00", kKey, "!=", 8, {}},
        {"type 11", "00 0A 00 01 00 14 00 03 00 00", kBlob, ">", 8, {}},
        {"type 12", "00 0A 00 01 00 32 00 03 00 00", kOdd, ">", 8, {}},
        {"value cut", "00 0A 00 01 00 0B 00 04 00 00", kQty, "<", 8, {}},
        {"text cut", "00 0B 00 01 00 0E 00 04 00 02 41", kSymbol, "<", 10, {}},
    };
    TestTables tables;
    RecordedReports reports;
    for (const Row& row : rows) {
        OpenFilter filter;
        EXPECT_EQ(Load(filter, row.stream), "loaded") << row.name;
        ZELFilterItem item;
        item.SetInt(42);
        EXPECT_EQ(item.logicOperator.SetText(">="), 0);
        EXPECT_EQ(filter.GetFilterItem(item), -1) << row.name;
        EXPECT_EQ(item.fieldId, row.fieldId) << row.name;
        EXPECT_STREQ(item.logicOperator.text, row.comparison) << row.name;
        EXPECT_EQ(filter.ReadAt(), row.readAt) << row.name;
        EXPECT_EQ(reports.Take(), row.reports) << row.name;
        ASSERT_NE(item.AsInt(), nullptr) << row.name;
        EXPECT_EQ(*item.AsInt(), 42);
    }
    OpenFilter filter;
    EXPECT_EQ(Load(filter, "00 10 00 02 00 0A 00 07 00 01 00 0A 00 00 00 02"), "loaded");
    ZELFilterItem item;
    item.logicOperator.SetText("!=");
    EXPECT_EQ(filter.GetFilterItem(item), 0);
    EXPECT_EQ(item.logicOperator.code, 2) << "the code 7 leaves the comparison";
    SetDataDictionary(nullptr);
    EXPECT_EQ(filter.GetFilterItem(item), -1);
    EXPECT_EQ(reports.Take(), Lines{"1412 Data Dictionary not initialized in shared memory"});
}

TEST(Filter, LongTextsAreRefusedAndPassedOver) {
    TestTables tables;
    ZELFilter filter;
    const std::string longest(2047, 'L');
    const std::string tooLong(2048, 'T');
    filter.AddFilter(kSymbol, "=", longest.data(), 2047);
    filter.AddFilter(kCode, "<", tooLong.data(), 2048);
    filter.AddFilter(kSide, ">", short{3});
    ZELFilterItem item;
    EXPECT_EQ(filter.GetFilterItem(item), 0);
    EXPECT_EQ(item.AsText(), longest);
    EXPECT_EQ(ZELFilterItem(item).AsText(), longest);
    EXPECT_EQ(filter.GetFilterItem(item), -1);
    EXPECT_EQ(item.fieldId, kCode);
    EXPECT_EQ(item.AsText(), longest);
    EXPECT_EQ(filter.GetFilterItem(item), 0);
    EXPECT_EQ(*item.AsShort(), 3);
    EXPECT_EQ(item.SetString(tooLong.c_str()), -1);
    EXPECT_EQ(item.SetString(nullptr), -1);
    EXPECT_EQ(*item.AsShort(), 3);
    EXPECT_EQ(item.SetString(longest.c_str()), 2048);
    std::memset(item.value.text, 'U', sizeof item.value.text);
    EXPECT_EQ(FilterValue(item).AsText(), std::string(2047, 'U')) << "a terminator that was overwritten";
}

TEST(Filter, TextsOfEveryLengthArrive) {
    TestTables tables;
    ZELFilter filter;
    ZELFilterItem item;
    std::string text;
    for (int length = 0; length < 40; ++length) {
        const ExactCopy exact(text);
        EXPECT_EQ(filter.AddFilter(kSymbol, "=", exact.data.get(), length), 0);
        EXPECT_EQ(filter.GetFilterItem(item), 0);
        EXPECT_EQ(item.AsText(), text);
        text += static_cast<char>('A' + length % 26);
    }
    for (const std::size_t length : {3U, 6U, 12U, 30U}) {
        for (const std::size_t from : {1U, 2U, 5U}) {
            item.SetString(text.substr(0, length + from).c_str());
            EXPECT_EQ(item.SetString(item.AsText() + from), static_cast<int>(length) + 1);
            EXPECT_EQ(item.AsText(), text.substr(from, length)) << "set from a part of itself";
        }
    }
}

TEST(Filter, ItemsCopyWhatIsSet) {
    ZELFilterItem source;
    source.SetChar('C');
    source.fieldId = 12;
    ZELFilterItem target;
    target.logicOperator.SetText("<=");
    target = source;
    EXPECT_EQ(*target.AsChar(), 'C');
    EXPECT_EQ(target.fieldId, 12);
    EXPECT_STREQ(target.logicOperator.text, "<=") << "an unset comparison is not copied";
    source.type = 10;
    target = source;
    EXPECT_EQ(*target.AsChar(), 'C') << "nor is a value of no type";
    EXPECT_EQ(ZELFilterItem(source).type, 5);
    EXPECT_EQ(FilterValue(source).type, 10);
    const auto* at = reinterpret_cast<const char*>(&source);
    EXPECT_EQ(reinterpret_cast<const char*>(&source.logicOperator) - at, 2056);
    EXPECT_EQ(reinterpret_cast<const char*>(&source.fieldId) - at, 2064);
}

TEST(Filter, RefusesHeadersThatContradictTheLength) {
    TestTables tables;
    const std::string good = FromHex("00 10 00 02 00 0A 00 01 00 01 00 0A 00 01 00 02");
    ZELFilter filter;
    filter.AddFilter(kSide, "=", short{77});
    const std::string before = Bytes(filter);
    for (std::size_t size = 0; size < good.size(); ++size) {
        const ExactCopy cut({good.data(), size});
        EXPECT_EQ(filter.SetStream(cut.data.get(), static_cast<int>(size)), -1) << size;
    }
    EXPECT_EQ(filter.SetStream(nullptr, 4), -1);
    EXPECT_EQ(filter.SetStream(good.data(), -65520), -1) << "as 16 bits this is what the header says";
    EXPECT_EQ(Load(filter, "00 10 00 03 00 0A 00 01 00 01 00 0A 00 01 00 02"), "refused") << "three terms";
    EXPECT_EQ(Load(filter, "00 10 00 00 00 0A 00 01 00 01 00 0A 00 01 00 02"), "refused") << "no terms";
    EXPECT_EQ(Load(filter, "00 04 00 01"), "refused");
    EXPECT_EQ(Load(filter, "00 09 00 01 00 0A 00 01 00"), "refused");
    EXPECT_EQ(Bytes(filter), before);
    ZELFilterItem item;
    EXPECT_EQ(filter.GetFilterItem(item), 0);
    EXPECT_EQ(*item.AsShort(), 77);
    EXPECT_EQ(Load(filter, ToHex(good)), "loaded");
    EXPECT_EQ(filter.GetCount(), 2);
    EXPECT_EQ(filter.GetFilterItem(item), 0) << "the read position stayed, at what is the second term now";
    EXPECT_EQ(filter.AddFilter(kSide, "=", short{3}), 0) << "a loaded filter may be added to";
    EXPECT_EQ(ToHex(Bytes(filter).substr(0, 4)), "00 16 00 03");
    EXPECT_EQ(Load(filter, kNewStream), "loaded");
    EXPECT_EQ(filter.GetFilterItem(item), -1) << "the read position lies behind the data";
}

TEST(Filter, GrowthPutsTheReaderAtByte2) {
    TestTables tables;
    ZELFilter filter;
    for (int i = 0; i < 2048; ++i) {
        EXPECT_EQ(filter.AddFilter(kQty, "=", static_cast<long>(i)), 0);
    }
    ZELFilterItem item;
    EXPECT_EQ(filter.GetFilterItem(item), -1);
    EXPECT_EQ(item.fieldId, 0) << "the count, which was not written yet";
    const std::string bytes = Bytes(filter);
    OpenFilter received;
    EXPECT_EQ(received.SetStream(bytes.data(), static_cast<int>(bytes.size())), 0);
    EXPECT_EQ(received.ReadAt(), 2);
    received.Rewind();
    for (int i = 0; i < 2048; ++i) {
        ASSERT_EQ(received.GetFilterItem(item), 0);
        ASSERT_EQ(*item.AsLong(), i);
    }
    EXPECT_EQ(received.GetFilterItem(item), -1);
    OpenFilter atLimit;
    const std::string full = FromHex("40 00 00 01 00 0E 00 01 3F F6") + std::string(16374, 'F');
    EXPECT_EQ(atLimit.SetStream(full.data(), 16384), 0);
    EXPECT_EQ(atLimit.Room(), 16384);
    EXPECT_EQ(atLimit.ReadAt(), 4);
}

TEST(Filter, WithoutMemory) {
    const int blocks = LiveBlocks();
    {
        FailAllocationsFrom(1);
        ZELFilter none;
        ZELSortData noKeys;
        FailAllocationsFrom(0);
        ZELFilterItem item;
        EXPECT_EQ(none.AddFilter(1, "=", 1), -1);
        EXPECT_EQ(none.GetStream(), nullptr);
        EXPECT_EQ(none.GetLength(), 0);
        none.Rewind();
        EXPECT_EQ(none.GetFilterItem(item), -1);
        EXPECT_EQ(Load(none, kNewStream), "refused");
        EXPECT_EQ(noKeys.AddSortData(1, 1), -1);
        EXPECT_EQ(noKeys.GetStream(), nullptr);
        OpenFilter filter;
        filter.AddFilter(1, "=", 1);
        OpenFilter copy(filter);
        FailAllocationsFrom(1);
        copy = filter;
        FailAllocationsFrom(0);
        EXPECT_EQ(copy.buffer, nullptr);
        EXPECT_EQ(copy.blockSize, UINT32_MAX);
        EXPECT_EQ(copy.blockCount, 0U);
        EXPECT_EQ(copy.GetCount(), 0);
        const OpenFilter ofNone(copy);
        EXPECT_EQ(ofNone.buffer, nullptr);
        copy = filter;
        EXPECT_EQ(Bytes(copy), Bytes(filter));
    }
    EXPECT_EQ(LiveBlocks(), blocks);
}

}  // namespace
}  // namespace zel::test
