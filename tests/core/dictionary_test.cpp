#include "core/dictionary.h"

#include <gtest/gtest.h>

#include <cstring>

#include "core/field_codec.h"
#include "core/message_table.h"
#include "tests/support/bytes.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

TEST(Dictionary, FindsFieldsByIdUpToTheCount) {
    TestTables tables;
    RecordedReports reports;
    EXPECT_STREQ(GetFldName(kSymbol), "SYMBOL");
    EXPECT_STREQ(GetFldText(kSymbol), "text of SYMBOL");
    EXPECT_EQ(GetFldType(kPrice), kZELMoney);
    EXPECT_EQ(GetFldLength(kPrice), 6);
    EXPECT_EQ(GetFldVersion(kNew3), 3);
    EXPECT_EQ(GetFldEntry(kHighest), &tables.Field(kHighest));
    for (const short none : {short{kHighest + 1}, short{32767}, short{-1}, short{-32768}}) {
        EXPECT_EQ(GetFldEntry(none), nullptr);
        EXPECT_EQ(GetFldName(none), nullptr);
        EXPECT_EQ(GetFldText(none), nullptr);
        EXPECT_EQ(GetFldType(none), 0xFFFF);
        EXPECT_EQ(GetFldLength(none), -1);
        EXPECT_EQ(GetFldVersion(none), -1);
    }
    EXPECT_EQ(reports.Take(), Lines{});
    EXPECT_EQ(GetFldEntry(0), nullptr);
    EXPECT_EQ(reports.Take(), Lines{"1001 GetFldEntry() Failed"});
}

TEST(Dictionary, ComparesNamesOn64Characters) {
    TestTables tables;
    RecordedReports reports;
    std::memset(tables.Field(200).name, 'N', 64);
    std::memset(tables.Field(201).name, 'N', 64);
    EXPECT_EQ(GetFldByName((std::string(64, 'N') + "beyond").c_str()), 200);
    EXPECT_EQ(GetFldByName(std::string(63, 'N').c_str()), -1);
    EXPECT_EQ(GetFldByName("HDR"), 1) << "of equal names the lowest id";
    EXPECT_EQ(GetFldByName("side"), -1);
    EXPECT_EQ(reports.Take(), Lines{});
    EXPECT_EQ(GetFldByName(nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines{"1001 GetFldByName() Failed"});
    ZELDictionaryHeader empty{};
    SetDataDictionary(&empty);
    EXPECT_EQ(GetFldByName("SIDE"), -1);
    EXPECT_EQ(GetFldEntry(1), nullptr);
    SetDataDictionary(nullptr);
    EXPECT_EQ(reports.Take(), Lines{});
    EXPECT_EQ(GetFldByName("SIDE"), -1);
    EXPECT_EQ(GetFldEntry(1), nullptr);
    EXPECT_EQ(GetFldEntry(0), nullptr) << "the id is looked at before the dictionary";
    EXPECT_EQ(reports.Take(),
              (Lines{"1412 Data Dictionary not initialized in shared memory",
                     "1412 Data Dictionary not initialized in shared memory", "1001 GetFldEntry() Failed"}));
}

TEST(MessageTable, TakesTheFirstMatch) {
    TestTables tables;
    EXPECT_EQ(FindSubType(1, kPlainGroup), &tables.Message(kPlainGroup));
    EXPECT_EQ(FindSubType(1, 99), nullptr);
    EXPECT_EQ(FindSubType(2, kPlainGroup), nullptr);
    SetMessageTable(nullptr);
    EXPECT_EQ(FindSubType(1, kPlainGroup), nullptr);
}

TEST(FieldSteps, FollowTheDictionaryOrTheField) {
    struct Row {
        const char* name;
        const char* bytes;
        short format;
        Step step;
        std::size_t advanced;
        Lines reports;
    };
    const Row rows[] = {
        {"fixed", "00 0B 01 02 03 04 FF", 0, Step::kNext, 6, {}},
        {"fixed, at the end", "00 0B 01 02 03 04", 0, Step::kNext, 6, {}},
        {"fixed, cut", "00 0B 01 02 03", 0, Step::kPastEnd, 0, {}},
        {"counted", "00 0E 00 05 41 42 43 44 45 FF", 0, Step::kNext, 9, {}},
        {"counted, cut in the length", "00 0E 00", 0, Step::kPastEnd, 0, {}},
        {"counted, cut in the value", "00 0E 00 05 41 42 43 44", 0, Step::kPastEnd, 0, {}},
        {"own length", "02 00 00 03 01 02 03 FF", 2, Step::kNext, 7, {}},
        {"own length, cut", "02 00 00 03 01 02", 2, Step::kPastEnd, 0, {}},
        {"id cut", "02", 2, Step::kPastEnd, 0, {"1001 UnpackZELFieldId() failed"}},
        {"no record", "02 31 00 03 01 02", 0, Step::kLost, 0, {"1414 FieldId[561]"}},
        {"no record, id above 32767", "80 00 00 03", 0, Step::kLost, 0, {"1414 FieldId[32768]"}},
    };
    TestTables tables;
    RecordedReports reports;
    for (const Row& row : rows) {
        const ExactCopy bytes(FromHex(row.bytes));
        Reader reader{bytes.data.get(), bytes.data.get() + bytes.size};
        EXPECT_EQ(GetNextField(reader, row.format), row.step) << row.name;
        EXPECT_EQ(reports.Take(), row.reports) << row.name;
        const bool lost = row.step == Step::kLost;
        EXPECT_EQ(reader.next, lost ? nullptr : bytes.data.get() + row.advanced) << row.name;
    }
    Reader null{nullptr, nullptr};
    EXPECT_EQ(GetNextField(null, 0), Step::kLost);
    EXPECT_EQ(reports.Take(), (Lines{"1001 UnpackZELFieldId() failed", "1413 GetNextField() failed"}));
}

}  // namespace
}  // namespace zel::test
