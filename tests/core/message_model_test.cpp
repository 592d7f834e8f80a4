#include "core/slots/message_model.h"

#include <gtest/gtest.h>

#include "core/tables/message_table.h"
#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
#include "tests/support/failing_heap.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

std::vector<int> SlotIds(const ZELDataBuf& buffer) {
    std::vector<int> ids;
    ids.reserve(static_cast<std::size_t>(buffer.count));
    for (int slot = 0; slot < buffer.count; ++slot) {
        ids.push_back(buffer.fields[slot].id);
    }
    return ids;
}

TEST(MessageModel, ExpandsTheGroup) {
    struct Row {
        SubType subType;
        short repeatCount;
        std::vector<int> ids;
    };
    const Row rows[] = {
        {kMarkedGroup, 1, {10, 30, 140, 31, 32, 33}},
        {kMarkedGroup, 3, {10, 30, 140, 31, 32, 140, 31, 32, 140, 31, 32, 33}},
        {kPlainGroup, 2, {30, 31, 32, 31, 32, 33}},
        // Without a repetition the group's fields take the slots after it: fieldCount - groupSize in all.
        {kPlainGroup, 0, {30, 31}},
        {kMarkedGroup, 0, {10, 30, 140}},
        {kVersions, -7, {10, 40, 41}},
        {kVersions, 5, {10, 40, 41}},
    };
    TestTables tables;
    for (const Row& row : rows) {
        ZelMsgStruct* message = CreateZelMsgStruct(1, row.subType, row.repeatCount);
        ASSERT_NE(message, nullptr);
        EXPECT_EQ(SlotIds(*message->dataBuf), row.ids);
        EXPECT_EQ(message->repeatCount, row.repeatCount);
        EXPECT_EQ(message->numFields, 0);
        FreeZelMsgStruct(message);
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
    struct Row {
        const char* name;
        short msgType;
        SubType subType;
        short repeatCount;
        Lines reports;
    };
    const Lines unknown{"1416 Type/SubType pair not found in the message table in shared memory"};
    const Row rows[] = {
        {"type", 2, kAllTypes, 0, unknown},
        {"sub-type", 1, static_cast<SubType>(99), 0, unknown},
        {"negative", 1, kPlainGroup, -1, {"1001 RepeatCount parameter must have a positive value"}},
        {"16 bits overflow", 1, kPlainGroup, 16384, {"1001 CreateZELDataBuf() failed"}},
        {"group beyond the list", 1, kBadTable, 2, {"1001 CreateZELDataBuf() failed"}},
    };
    TestTables tables;
    RecordedReports reports;
    const int live = LiveBlocks();
    EXPECT_EQ(FreeZELDataBuf(CreateZELDataBuf(1, kPlainGroup, 2)), 0);
    for (const Row& row : rows) {
        EXPECT_EQ(CreateZELDataBuf(row.msgType, row.subType, row.repeatCount), nullptr) << row.name;
        EXPECT_EQ(reports.Take(), row.reports) << row.name;
        EXPECT_EQ(CreateZelMsgStruct(row.msgType, row.subType, row.repeatCount), nullptr) << row.name;
        EXPECT_EQ(reports.Take(), row.reports) << row.name;
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
