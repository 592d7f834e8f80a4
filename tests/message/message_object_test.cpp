#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <set>
#include <tuple>
#include <utility>

#include "core/slots/message_block.h"
#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
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
    EXPECT_EQ(std::tuple(object_.msgType, object_.subType, object_.serviceIdHigh), std::tuple(0, 0, 0));
    EXPECT_EQ(std::tuple(object_.serviceIdLow, object_.repeatCount, object_.compressMode), std::tuple(0, -1, 0));
    EXPECT_EQ(std::tuple(object_.shortFrame, object_.message, object_.sequence), std::tuple(0, nullptr, 0));
    const CZELMessage other(3, 1);
    EXPECT_EQ(std::tuple(other.version, other.useFormat2), std::tuple(3, 1));
    // Without a message getters find nothing and setters do nothing.
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
    tables_.ChangeList(
        kVersions, {{kFlag, 1}, {kCode, 1}, {kSymbol, 1}, {kQty, 1}, {kRate, 1}, {kPrice, 1}, {kKey, 1}, {kBlob, 1}});
    for (const Cells& row : ReadCases("tests/message/cases/setters.txt", 6)) {
        Create(object_, kVersions);
        const auto id = static_cast<short>(object_.message->dataBuf->fields[row.Number(1)].id);
        const ExactCopy given(row[3].starts_with('"') ? row[3].substr(1) + '\0' : FromHex(row[3]));
        const char* value = row[3] == "null" ? nullptr : given.data.get();
        if (row[2].empty()) {
            object_.setFieldValue(id, value, -1);
        } else {
            object_.setFieldValueBinary(id, value, row.Number<short>(2), -1);
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
    object_.setFieldValue(kBlob, "xyzzy", -1);
    EXPECT_EQ(Value(kBlob), "xyz") << "as many bytes as before";
    object_.setFieldValue(kSymbol, std::string(70000, 'x').c_str(), -1);
    EXPECT_EQ(object_.getField(kSymbol, -1)->length, 65535) << "not cut down to a few characters by 16 bits";
    // A dictionary length above that of the type must not make the copy exceed the slot.
    object_.setFieldValue(kValue, std::string(200, 'v').data(), -1);
    EXPECT_EQ(object_.getField(kValue, -1)->ownsValue, 0);
}

// Whatever length a program or a peer gives a slot: no more is read than the value has, and nothing beyond the
// library's buffers is sent.
TEST_F(MessageObject, TrustsNoLengthAboveThatOfTheBuffer) {
    char own[] = "own bytes";
    char buffer[kZELMaxFrame];
    long length = 0;
    for (const Cells& row : ReadCases("tests/message/cases/lengths.txt", 6)) {
        const auto id = row.Number<short>(2);
        Create(object_, kAllTypes);
        object_.setFieldValueBinary(id, "AB", 2, -1);
        SetNumber(object_, kSide, 1);
        object_.message->format = row.Number<unsigned short>(1);
        _field_data& slot = *object_.getField(id, -1);
        if (row[3] != "the library's") {
            ZELFree(std::exchange(slot.value, nullptr));
            slot.ownsValue = 0;
            slot.value = row[3] == "in place" ? std::memset(slot.inlineValue, 'i', 8) : row[3] == "own" ? own : nullptr;
        }
        slot.length = row.Number<unsigned short>(4);
        ASSERT_EQ(object_.packMessage(buffer, &length), 0) << row[0];
        const long first = 38 + (row[1] == "2" ? 6 : 4);
        EXPECT_EQ(ToHex({buffer + first, static_cast<std::size_t>(length - first)}), row[5]) << row[0];
    }
    // Setters stay within both buffers, too.
    for (const short id : {kBlob, kSide, kStamp, kPrice}) {
        Create(object_, kAllTypes).setFieldValueBinary(id, "AB", 2, -1);
        object_.getField(id, -1)->length = 5000;
        const ExactCopy value(std::string(id == kBlob ? 5000 : id == kSide ? 2 : 8, 'v'));
        object_.setFieldValue(id, value.data.get(), -1);
    }
    char user[] = "user data";
    SetNumber(Create(object_, kAllTypes), kSide, 1);
    object_.message->varUserData = user;
    object_.message->varUserDataLen = 4;
    ASSERT_EQ(Unpack(object_, Pack(object_)), 0);
    object_.message->varUserDataLen = 9;
    EXPECT_EQ(ToHex(std::string_view(Pack(object_)).substr(32, 13)), "00 07 00 09 75 73 65 72 00 00 00 00 00");
    // The inline value cannot be owned.
    for (const short id : {kSide, kQty, kStamp, kPrice}) {
        Create(object_, kAllTypes).getField(id, -1)->ownsValue = 1;
        object_.setFieldValueBinary(id, "AB", 2, -1);
        object_.getField(kSymbol, -1)->ownsValue = 1;
        object_.createStruct();
        object_.getField(id, -1)->ownsValue = 1;
    }
    // A date-time keeps the length that a peer gave it, but only 8 bytes of the program's value are read.
    for (const std::size_t wireLength : {std::size_t{8}, std::size_t{100}, std::size_t{12000}}) {
        CZELMessage sent(0, 1);
        SetNumber(Create(sent, kAllTypes), kSide, 1);
        sent.packMessage(buffer, &length);
        buffer[31] = 2;
        const std::string field =
            std::string{0, kStamp, static_cast<char>(wireLength >> 8), static_cast<char>(wireLength)};
        const ExactCopy frame(std::string(buffer + 6, static_cast<std::size_t>(length - 6)) + field +
                              std::string(wireLength, 'd'));
        ASSERT_EQ(object_.unpackMessageNoFrame(frame.data.get(), static_cast<long>(frame.size)), 0);
        EXPECT_EQ(static_cast<std::size_t>(object_.getFieldLen(kStamp, -1)), wireLength);
        EXPECT_EQ(Value(kStamp), "dddddddd" + std::string(wireLength - 8, '\0'));
        const ExactCopy stamp("12345678");
        object_.setFieldValue(kStamp, stamp.data.get(), -1);
        --object_.message->numFields;
        ASSERT_EQ(object_.packMessage(buffer, &length), 0);
        EXPECT_EQ(std::string(buffer + length - 12, 12), std::string("\0\x11\0\b", 4) + "12345678");
    }
    EXPECT_EQ(reports_.Take(), Lines{});
}

TEST_F(MessageObject, CountsItsSlotsItself) {
    for (const short count : {short{-1}, short{0}, short{32767}}) {
        ZELDataBuf& buffer = *Create(object_, kPlainGroup, 3).message->dataBuf;
        object_.setFieldValue(kLegSymbol, "RYE", 3);
        buffer.count = count;
        buffer.fields = nullptr;
        object_.message->dataBuf = nullptr;
        SetNumber(object_, kLegs, 3);
        EXPECT_EQ(Value(kLegSymbol, 3), "RYE");
        char frame[kZELMaxFrame];
        long length = 0;
        EXPECT_EQ(object_.packMessage(frame, &length), 0);
        if (count == 0) {
            ASSERT_EQ(object_.unpackMessage(frame), 0);
        } else {
            object_.createStruct();
        }
        EXPECT_EQ(std::tuple(object_.message->dataBuf->count, object_.message->dataBuf->fields[7].id),
                  std::tuple(8, kNote));
    }
}

TEST_F(MessageObject, KeepsTheTablesThatItWasCreatedFrom) {
    char before[kZELMaxFrame];
    char after[kZELMaxFrame];
    long lengths[2] = {};
    SetNumber(Create(object_, kAllTypes), kSide, 1);
    object_.setFieldValue(kSymbol, "RYE", -1);
    object_.message->msgIdSeq = 1;
    ASSERT_EQ(object_.packMessage(before, &lengths[0]), 0);
    // With this length packing would send bytes after the text.
    tables_.ChangeField(kSymbol).type = kZELChars;
    tables_.ChangeField(kSymbol).length = 3000;
    tables_.ChangeField(kQty).type = kZELText;
    tables_.ChangeField(4).type = kZELText;
    tables_.Install();
    FailAllocationsFrom(1);
    ASSERT_EQ(object_.packMessage(after, &lengths[1]), 0);
    FailAllocationsFrom(0);
    EXPECT_EQ(std::string(after, static_cast<std::size_t>(lengths[1])),
              std::string(before, static_cast<std::size_t>(lengths[0])));
    const ExactCopy number(FromHex("01 02 03 04"));
    object_.setFieldValue(kQty, number.data.get(), -1);
    EXPECT_EQ(ToHex(Value(kQty)), "01 02 03 04");
    EXPECT_EQ(object_.getFieldType(kQty), kZELText) << "by the tables in use";
    StopUsingTables();
    object_.setFieldValue(kSymbol, "OAT", -1);
    EXPECT_EQ(Value(kSymbol), "OAT");
    EXPECT_EQ(reports_.Take(), Lines{});
    EXPECT_EQ(object_.packMessage(after, &lengths[1]), -1);
    reports_.Take();
    // Equal tables find the earlier plans again.
    tables_.ChangeField(4).type = kZELInt;
    int live = 0;
    for (int start = 0; start < 1000; ++start) {
        tables_.Install();
        Create(object_, kAllTypes);
        ASSERT_EQ(object_.getField(kSymbol, -1)->length, 3000) << "new messages use new tables";
        StopUsingTables();
        live = start == 0 ? LiveBlocks() : live;
    }
    EXPECT_EQ(LiveBlocks(), live);
}

// Tables that differ from earlier ones in one word get plans of their own.
TEST_F(MessageObject, TakesNoPlanOfOtherTables) {
    static const ZELFieldListEntry kList[] = {{kLegs, 1}, {kLegSymbol, 1}, {kLegQty, 1}, {kNote, 2}, {kSide, 1}};
    ZELSubTypeNode& node = tables_.ChangeMessage(kPlainGroup);
    const std::function<void()> changes[] = {
        [] {},
        [&] { node.fieldList = kList; },
        [&] { node.fieldCount = 5; },
        [&] { node.groupSize = 1; },
        [&] { node.repeatFieldId = 0; },
        [&] { tables_.ChangeField(kNote).type = kZELShort; },
        [&] { tables_.ChangeField(kNote).length = 2; },
        [&] { tables_.ChangeField(kNote).version = 3; },
        [&] { tables_.ChangeField(2).type = kZELText; },
        [&] { reinterpret_cast<ZELDictionaryHeader&>(tables_.ChangeField(0)).count = kLegQty; },
    };
    std::set<const MessagePlan*> plans;
    for (const auto& change : changes) {
        change();
        for (int time = 0; time < 2; ++time) {
            tables_.Install();
            const std::size_t before = plans.size();
            plans.insert(BlockOf(*Create(object_, kPlainGroup, 2).message).plan);
            EXPECT_EQ(plans.size() - before, time == 0 ? 1U : 0U) << &change - changes;
        }
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
    // Whatever was set before.
    for (short before = 1; before <= 3; ++before) {
        for (short occurrence = 1; occurrence <= 3; ++occurrence) {
            const std::string text = std::to_string(before * 10 + occurrence);
            SetNumber(object_, kLegQty, 0, before);
            object_.setFieldValue(kLegSymbol, text.c_str(), occurrence);
            EXPECT_EQ(Value(kLegSymbol, occurrence), text);
        }
    }
}

TEST_F(MessageObject, KeepsReplacedValuesUntilTheMessageEnds) {
    // Those of earlier tests.
    StopUsingTables();
    ReleasePlans();
    tables_.Install();
    const int live = LiveBlocks();
    Create(object_, kAllTypes);
    const int empty = LiveBlocks();
    object_.setFieldValue(kSymbol, "first", -1);
    const char* first = static_cast<const char*>(object_.getFieldValue(kSymbol, -1));
    object_.setFieldValue(kSymbol, std::string(60000, 's').c_str(), -1);
    object_.setFieldValueBinary(kSide, "\1\2", 2, -1);
    object_.setFieldValueBinary(kSide, "\3\4", 2, -1);
    EXPECT_EQ(std::string(first, 5), "first");
    EXPECT_GT(LiveBlocks(), empty) << "the long text found no room after the slots";
    EXPECT_EQ(object_.message->numFields, 4) << "every call counts";
    object_.createStruct();
    EXPECT_EQ(LiveBlocks(), empty);
    object_.destroyStruct();
    StopUsingTables();
    ReleasePlans();
    EXPECT_EQ(LiveBlocks(), live);
}

}  // namespace
}  // namespace zel::test
