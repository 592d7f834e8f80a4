#include "core/dictionary.h"

#include <gtest/gtest.h>

#include <cstring>

#include "core/message_table.h"
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
    std::memset(tables.ChangeField(200).name, 'N', 64);
    std::memset(tables.ChangeField(201).name, 'N', 64);
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
    EXPECT_EQ(FindFldRecord(1), nullptr);
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

}  // namespace
}  // namespace zel::test
