#include "core/tables/dictionary.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>

#include "core/tables/message_table.h"
#include "core/tables/tables_in_use.h"
#include "tests/support/failing_heap.h"
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
    UseTables(&empty, nullptr);
    EXPECT_EQ(GetFldByName("SIDE"), -1);
    EXPECT_EQ(GetFldEntry(1), nullptr);
    UseTables(nullptr, nullptr);
    EXPECT_EQ(reports.Take(), Lines{});
    EXPECT_EQ(GetFldByName("SIDE"), -1);
    EXPECT_EQ(GetFldEntry(1), nullptr);
    EXPECT_EQ(FindFldRecord(1), nullptr);
    EXPECT_EQ(GetFldEntry(0), nullptr) << "the id is looked at before the dictionary";
    EXPECT_EQ(reports.Take(),
              (Lines{"1412 Data Dictionary not initialized in shared memory",
                     "1412 Data Dictionary not initialized in shared memory", "1001 GetFldEntry() Failed"}));
}

// Types in order, and with gaps; also without memory for an index.
TEST(MessageTable, TakesTheFirstMatch) {
    constexpr int kSubTypes = 40;
    std::vector<ZELSubTypeNode> nodes(std::size_t{300} * kSubTypes);
    std::vector<ZELTypeNode> types(300);
    std::map<std::pair<int, int>, const ZELSubTypeNode*> expected;
    for (std::size_t type = 0; type < types.size(); ++type) {
        ZELSubTypeNode* first = &nodes[type * kSubTypes];
        // The last type has the number of the first, so it is never found.
        const int number = static_cast<int>(type) % 299 * 7 - 300;
        types[type] = {static_cast<std::int16_t>(number), first, type < 299 ? &types[type + 1] : nullptr};
        for (int at = 0; at < kSubTypes; ++at) {
            // So has the last sub-type of each type.
            first[at].subType = static_cast<std::int16_t>(at % (kSubTypes - 1) - 5);
            first[at].next = at + 1 < kSubTypes ? &first[at + 1] : nullptr;
            expected.try_emplace({number, first[at].subType}, &first[at]);
        }
    }
    for (const bool hasMemory : {false, true}) {
        UseTables(nullptr, types.data());
        FailAllocationsFrom(hasMemory ? 0 : 1);
        for (int type = -310; type < 2100; ++type) {
            for (int subType = -7; subType < kSubTypes; subType += hasMemory ? 1 : 11) {
                const auto found = expected.find({type, subType});
                ASSERT_EQ(FindSubType(static_cast<short>(type), static_cast<short>(subType)),
                          found != expected.end() ? found->second : nullptr)
                    << type << ' ' << subType;
            }
        }
    }
    FailAllocationsFrom(0);
    StopUsingTables();
    EXPECT_EQ(FindSubType(-300, -5), nullptr);
    EXPECT_EQ(zelGetMessageTable(), types.data()) << "stays, and is not looked at";
    UseTables(nullptr, nullptr);
    EXPECT_EQ(FindSubType(-300, -5), nullptr);
}

}  // namespace
}  // namespace zel::test
