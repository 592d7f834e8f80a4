#include <gtest/gtest.h>

#include <cstring>

#include "core/plan_table.h"
#include "include/zelmessage.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/failing_heap.h"
#include "tests/support/made_message.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

class MessageObject : public testing::Test {
protected:
    std::string Value(short id, short occurrence = -1) {
        return {static_cast<const char*>(object_.getFieldValue(id, occurrence)),
                static_cast<std::size_t>(object_.getFieldLen(id, occurrence))};
    }

    TestTables tables_;
    RecordedReports reports_;
    CZELMessage object_{0, 0};
};

TEST_F(MessageObject, StartsEmpty) {
    EXPECT_TRUE(object_.msgType == 0 && object_.subType == 0 && object_.serviceIdHigh == 0);
    EXPECT_TRUE(object_.serviceIdLow == 0 && object_.repeatCount == -1 && object_.compressMode == 0);
    EXPECT_TRUE(object_.shortFrame == 0 && object_.message == nullptr && object_.sequence == 0);
    const CZELMessage other(3, 1);
    EXPECT_TRUE(other.version == 3 && other.useFormat2 == 1);
    // Without a message nothing is found, and setting does nothing.
    EXPECT_EQ(object_.getField(kSide, -1), nullptr);
    EXPECT_EQ(object_.getFieldValue(kSide, -1), nullptr);
    EXPECT_EQ(object_.getFieldLen(kSide, -1), 0);
    const short value = 1;
    object_.setFieldValue(kSide, &value, -1);
    object_.setFieldValueBinary(kSide, &value, 2, -1);
    object_.destroyStruct();
    Create(object_, static_cast<SubType>(99));
    EXPECT_EQ(object_.message, nullptr);
}

TEST_F(MessageObject, SetsValuesByTheirType) {
    static const ZELFieldListEntry kList[] = {{kFlag, 1}, {kCode, 1},  {kSymbol, 1}, {kQty, 1},
                                              {kRate, 1}, {kPrice, 1}, {kKey, 1},    {kBlob, 1}};
    ZELSubTypeNode& node = tables_.ChangeMessage(kVersions);
    node.fieldList = kList;
    node.fieldCount = std::size(kList);
    for (const Cells& row : ReadCases("tests/message/cases/setters.txt", 6)) {
        Create(object_, kVersions);
        const auto id = static_cast<short>(object_.message->dataBuf->fields[std::stoi(row[1])].id);
        const ExactCopy given(row[3].starts_with('"') ? row[3].substr(1) + '\0' : FromHex(row[3]));
        const char* value = row[3] == "null" ? nullptr : given.data.get();
        if (row[2].empty()) {
            object_.setFieldValue(id, value, -1);
        } else {
            object_.setFieldValueBinary(id, value, static_cast<short>(std::stoi(row[2])), -1);
        }
        const _field_data* field = object_.getField(id, -1);
        EXPECT_EQ(object_.message->numFields, field->isSet) << row[0];
        EXPECT_EQ(field->isSet != 0 ? ToHex(Value(id)) : "not set", row[4]) << row[0];
        const char* apart = field->ownsValue != 0 ? "apart" : "";
        EXPECT_EQ(field->value == field->inlineValue ? "in place" : apart, row[5]) << row[0];
    }
    tables_.ChangeField(kValue).length = 200;
    Create(object_, kAllTypes);
    object_.setFieldValueBinary(kBlob, "a\0b", 3, -1);
    object_.setFieldValue(kBlob, "xyz", -1);
    EXPECT_EQ(Value(kBlob), "xyz") << "as many bytes as before";
    object_.setFieldValue(kSymbol, std::string(70000, 'x').c_str(), -1);
    EXPECT_EQ(object_.getField(kSymbol, -1)->length, 65535) << "not cut down to a few characters by 16 bits";
    // A dictionary whose length exceeds the type must not make the copy run out of the slot.
    object_.setFieldValue(kValue, std::string(200, 'v').data(), -1);
    EXPECT_EQ(object_.getField(kValue, -1)->ownsValue, 0);
}

TEST_F(MessageObject, FillsUpWithZerosWhatTheCodecMayRead) {
    tables_.ChangeField(kCode).length = 40;
    for (const bool asBytes : {true, false}) {
        Create(object_, kAllTypes);
        for (int used = 0; used < 20; ++used) {
            object_.setFieldValueBinary(kBlob, std::string(23, 'x').data(), 23, -1);
        }
        Create(object_, kAllTypes);
        object_.setFieldValue(kSymbol, std::string(63, 's').c_str(), -1);
        asBytes ? object_.setFieldValueBinary(kCode, "abc", 3, -1) : object_.setFieldValue(kCode, "abc", -1);
        EXPECT_EQ(ToHex({static_cast<const char*>(object_.getFieldValue(kCode, -1)), 40}),
                  ToHex("abc" + std::string(37, '\0')));
        EXPECT_EQ(Value(kSymbol), std::string(63, 's')) << "the value before it";
    }
}

TEST_F(MessageObject, FindsOccurrences) {
    Create(object_, kPlainGroup, 3);
    for (short occurrence = 1; occurrence <= 3; ++occurrence) {
        object_.setFieldValue(kLegSymbol, std::to_string(occurrence).c_str(), occurrence);
    }
    EXPECT_EQ(Value(kLegSymbol) + Value(kLegSymbol, 1) + Value(kLegSymbol, 2) + Value(kLegSymbol, 3), "1123");
    for (const int none : {0, -2, 4, 32767, -32768}) {
        void* untouched = &object_;
        EXPECT_EQ(object_.getFieldValue(&untouched, kLegSymbol, static_cast<short>(none)), 0);
        EXPECT_EQ(untouched, &object_);
        EXPECT_EQ(object_.getFieldValue(kLegSymbol, static_cast<short>(none)), nullptr);
    }
    void* value = nullptr;
    EXPECT_EQ(object_.getFieldValue(&value, kLegSymbol, 2), 1);
    EXPECT_EQ(value, object_.getField(kLegSymbol, 2)->value);
    object_.setFieldValue(kQty, "none", -1);
    EXPECT_EQ(object_.message->numFields, 3) << "a field of another message";
    EXPECT_EQ(reports_.Take(), Lines{});
    EXPECT_EQ(object_.getFieldType(kPrice), kZELMoney);
    EXPECT_EQ(object_.getFieldType(kHighest + 1), -1);
    EXPECT_EQ(object_.getFieldType(0), -1);
    object_.setFieldValueBinary(0, "x", 1, -1);
    object_.setFieldValue(0, "x", -1);
    EXPECT_EQ(reports_.Take(), Lines(3, "1001 GetFldEntry() Failed"));
}

TEST_F(MessageObject, KeepsReplacedValuesUntilTheMessageGoes) {
    const int live = LiveBlocks();
    Create(object_, kAllTypes);
    const int empty = LiveBlocks();
    object_.setFieldValue(kSymbol, "first", -1);
    const char* first = static_cast<const char*>(object_.getFieldValue(kSymbol, -1));
    object_.setFieldValue(kSymbol, std::string(60000, 's').c_str(), -1);
    object_.setFieldValueBinary(kSide, "\1\2", 2, -1);
    object_.setFieldValueBinary(kSide, "\3\4", 2, -1);
    EXPECT_EQ(std::string(first, 5), "first");
    EXPECT_GT(LiveBlocks(), empty) << "the long text has found no room beside the slots";
    EXPECT_EQ(object_.message->numFields, 4) << "every call counts";
    object_.createStruct();
    EXPECT_EQ(LiveBlocks(), empty);
    object_.destroyStruct();
    ReleasePlans();
    EXPECT_EQ(LiveBlocks(), live);
}

}  // namespace
}  // namespace zel::test
