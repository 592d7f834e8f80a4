#include "core/slots/message_model.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

#include "core/tables/message_table.h"
#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
#include "tests/support/cases.h"
#include "tests/support/failing_heap.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

TEST(MessageModel, ExpandsTheGroup) {
    TestTables tables;
    for (const Cells& row : ReadCases("tests/core/cases/layouts.txt", 5)) {
        std::istringstream ids(row[0]);
        std::vector<ZELFieldListEntry> list;
        for (std::uint16_t id = 0; ids >> id;) {
            list.push_back({id, 1});
        }
        tables.ChangeList(kVersions, std::move(list), row.Number(1), row.Number(2));
        ZelMsgStruct* message = CreateZelMsgStruct(1, kVersions, row.Number<short>(3));
        std::string slots = message != nullptr ? "" : "none";
        for (int slot = 0; message != nullptr && slot < message->dataBuf->count; ++slot) {
            slots += slot == 0 ? "" : " ";
            slots += std::to_string(message->dataBuf->fields[slot].id);
        }
        EXPECT_EQ(slots, row[4]) << row[0] << ", " << row[1] << ' ' << row[2] << ' ' << row[3];
        if (message != nullptr) {
            EXPECT_EQ(message->repeatCount, row.Number(3));
            EXPECT_EQ(message->numFields, 0);
            FreeZelMsgStruct(message);
        }
    }
}

TEST(MessageModel, InitialisesSlotsFromTheDictionary) {
    TestTables tables;
    ZelMsgStruct* message = CreateZelMsgStruct(1, kAllTypes, 0);
    for (int i = 0; i < message->dataBuf->count; ++i) {
        const _field_data& slot = message->dataBuf->fields[i];
        const ZELDictionaryField& record = tables.Field(slot.id);
        const bool isInline = record.type != kZELChars && record.type != kZELText && record.type < kZELBytes10;
        EXPECT_EQ(slot.value, isInline ? slot.inlineValue : nullptr) << slot.id;
        EXPECT_EQ(slot.length, record.length) << slot.id;
        EXPECT_EQ(slot.isSet, 0);
        EXPECT_EQ(slot.presence, i == 0 ? 2 : i == 2 ? 0 : 1);
    }
    FreeZelMsgStruct(message);
    message = CreateZelMsgStruct(1, kOddFields, 0);
    EXPECT_EQ(FindZELField(message, kOdd)->value, nullptr) << "a type that the core does not know";
    EXPECT_EQ(FindZELField(message, kHighest + 1)->value, nullptr) << "no record";
    FreeZelMsgStruct(message);
}

TEST(MessageModel, RefusesWhatTheTablesCannotGive) {
    ReleasePlans();  // those of earlier tests
    TestTables tables;
    RecordedReports reports;
    const int live = LiveBlocks();
    EXPECT_EQ(FreeZELDataBuf(CreateZELDataBuf(1, kPlainGroup, 2)), 0);
    for (const Cells& row : ReadCases("tests/core/cases/no_model.txt", 5)) {
        const auto [type, subType, count] = std::tuple(row.Number(1), row.Number(2), row.Number(3));
        EXPECT_EQ(CreateZELDataBuf(static_cast<short>(type), static_cast<short>(subType), static_cast<short>(count)),
                  nullptr);
        EXPECT_EQ(reports.TakeText(), row[4]) << row[0];
        EXPECT_EQ(CreateZelMsgStruct(static_cast<short>(type), static_cast<short>(subType), static_cast<short>(count)),
                  nullptr);
        EXPECT_EQ(reports.TakeText(), row[4]) << row[0];
    }
    UseTables(nullptr, nullptr);
    EXPECT_EQ(CreateZelMsgStruct(1, kAllTypes, 0), nullptr);
    EXPECT_EQ(reports.Take(), Lines{"1415 Message table not initialized in shared memory"});
    tables.Install();
    UseTables(nullptr, zelGetMessageTable());
    ZelMsgStruct* message = CreateZelMsgStruct(1, kVersions, 0);
    EXPECT_EQ(reports.Take(), Lines(3, "1412 Data Dictionary not initialized in shared memory")) << "one a slot";
    EXPECT_EQ(FreeZelMsgStruct(message), 0);
    EXPECT_EQ(FindZELField(nullptr, kNote), nullptr);
    EXPECT_EQ(FreeZELDataBuf(nullptr), -1);
    EXPECT_EQ(FreeZelMsgStruct(nullptr), -1);
    EXPECT_EQ(reports.Take(), (Lines{"1001 FreeZELDataBuf() failed", "1001 FreeZelMsgStruct() failed"}));
    StopUsingTables();
    ReleasePlans();
    EXPECT_EQ(LiveBlocks(), live);
}

}  // namespace
}  // namespace zel::test
