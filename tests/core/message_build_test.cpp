// Building and unpacking against each other: what goes out, what comes in, and what is said about it.
#include "core/message_build.h"

#include <gtest/gtest.h>

#include "core/message_model.h"
#include "core/message_unpack.h"
#include "core/message_validate.h"
#include "include/zelmessage.h"
#include "tests/support/bytes.h"
#include "tests/support/fake_crush.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

class Building : public testing::Test {
protected:
    void TearDown() override { UseFakeCrush(nullptr); }

    // The object serves as an owner with setters; what is built is its message.
    CZELMessage& Create(SubType subType, short repeatCount = -1) {
        object_.msgType = 1;
        object_.subType = subType;
        object_.repeatCount = repeatCount;
        object_.createStruct();
        return object_;
    }
    void SetShort(short id, short value, short occurrence = -1) { object_.setFieldValue(id, &value, occurrence); }
    void SetText(short id, const char* value, short occurrence = -1) { object_.setFieldValue(id, value, occurrence); }

    int Build(unsigned short sequence = 1) {
        long length = 0;
        const int result = BuildZELMessage(object_.message, out_, &length, sequence);
        built_.assign(out_, static_cast<std::size_t>(length));
        return result;
    }
    std::string Payload() const { return ToHex(std::string_view(built_).substr(32)); }
    int FieldCount() const { return built_[25]; }

    // Unpacks header bytes for `format` and `numFields`, then `payload`, into a message created before.
    int Unpack(SubType subType, short repeatCount, int format, int numFields, const std::string& payload) {
        Create(subType, repeatCount);
        object_.message->format = static_cast<unsigned short>(format);
        object_.message->numFields = static_cast<short>(numFields);
        received_ = Header(format, numFields, subType) + payload;
        const ExactCopy bytes(received_);
        return UnpackZELMessage(bytes.data.get(), static_cast<long>(bytes.size), object_.message);
    }
    static std::string Header(int format, int numFields, SubType subType, int packFlags = 1, int encryptFlag = 0) {
        std::string header =
            FromHex("00 01 00 00 00 02 00 01 00 00 00 03 00 00 00 00 00 04 00 01 01 01 00 05 00 00 00 06 00 00 00 00");
        header[2] = static_cast<char>(encryptFlag << 4 | packFlags);
        header[3] = static_cast<char>(format << 4);
        header[9] = static_cast<char>(subType);
        header[24] = static_cast<char>(numFields >> 8);
        header[25] = static_cast<char>(numFields);
        return header;
    }
    int Validate(const std::string& message) {
        const ExactCopy bytes(message);
        short ignored = 0;
        return ValidateZELMsg(bytes.data.get(), static_cast<long>(bytes.size), &ignored, &ignored, &ignored, &ignored,
                              &ignored, &repeatCount_);
    }
    std::string TextOf(short id, short occurrence) {
        const _field_data* field = object_.getField(id, occurrence);
        return field->isSet != 0 ? static_cast<const char*>(field->value) : "-";
    }

    TestTables tables_;
    RecordedReports reports_;
    CZELMessage object_{0, 0};
    char out_[70000];
    std::string built_;
    std::string received_;
    short repeatCount_ = 99;
};

TEST_F(Building, SendsTheFieldsOfTheFormat) {
    struct Row {
        unsigned short format;
        int count;
        const char* payload;
    };
    const Row rows[] = {
        {0, 4, "00 0A 00 07 00 1E 00 02 00 1F 00 02 41 42 00 21 00 01 43"},
        {1, 6, "00 07 00 02 00 00 00 02 41 42 00 00 00 00 00 01 43"},
        {2, 4, "00 0A 00 02 00 07 00 1E 00 02 00 02 00 1F 00 02 41 42 00 21 00 01 43"},
    };
    for (const Row& row : rows) {
        Create(kMarkedGroup, 1);
        object_.message->format = row.format;
        SetShort(kSide, 7);
        SetShort(kLegs, 2);
        SetText(kLegSymbol, "AB");
        SetText(kNote, "C");
        ASSERT_EQ(Build(), 0);
        EXPECT_EQ(FieldCount(), row.count);
        EXPECT_EQ(Payload(), row.payload);
    }
}

TEST_F(Building, LeavesOutFieldsNewerThanTheMessage) {
    struct Row {
        const char* name;
        unsigned short version;
        unsigned short format;
        bool setNew2;
        bool setNew3;
        int result;
        int count;
        Lines reports;
    };
    const Row rows[] = {
        {"no filter", 0, 0, true, true, 0, 3, {}},
        {"newest", 3, 0, true, true, 0, 3, {}},
        {"a new field set", 2, 0, true, true, 0, 2, {}},
        {"both new fields set", 1, 0, true, true, 0, 1, {}},
        {"an optional new field not set", 1, 0, false, true, 0, 1, {}},
        {"a mandatory new field not set", 2, 0, true, false, -1, 0, {"1485 New FieldId[41] can't be mandatory"}},
        {"a mandatory field not set", 3, 2, true, false, -1, 0, {"1476 Manadatory field(41) not in the list."}},
        {"positional", 2, 1, false, false, 0, 2, {}},
        {"positional, no filter", 0, 1, false, false, 0, 3, {}},
    };
    for (const Row& row : rows) {
        Create(kVersions);
        object_.message->version = row.version;
        object_.message->format = row.format;
        SetShort(kSide, 1);
        if (row.setNew2) {
            SetText(kNew2, "x");
        }
        if (row.setNew3) {
            SetShort(kNew3, 3);
        }
        EXPECT_EQ(Build(), row.result) << row.name;
        EXPECT_EQ(reports_.Take(), row.reports) << row.name;
        if (row.result == 0) {
            EXPECT_EQ(FieldCount(), row.count) << row.name;
            EXPECT_EQ(object_.message->numFields, row.count) << row.name;
        }
    }
}

TEST_F(Building, RefusesWhatItCannotSend) {
    Create(kAllTypes);
    EXPECT_EQ(Build(), -1);
    EXPECT_EQ(reports_.Take(), Lines{"1476 Manadatory field(10) not in the list."});
    SetShort(kSide, 1);
    SetShort(kSide, 1);
    EXPECT_EQ(Build(), -1) << "the field was counted twice";
    EXPECT_EQ(reports_.Take(), Lines{});
    object_.message->format = 1;
    EXPECT_EQ(Build(), 0) << "in the format 1 only slots count";
    Create(kAllTypes);
    SetShort(kSide, 1);
    object_.message->format = 3;
    EXPECT_EQ(Build(), -1);
    EXPECT_EQ(reports_.Take(), (Lines{"1426 Invalid ZELFormat", "1417 FieldId[10]"}));
    Create(kOddFields);
    object_.setFieldValueBinary(kOdd, "abcd", 4, -1);
    EXPECT_EQ(Build(), -1);
    EXPECT_EQ(reports_.Take(), (Lines{"1027 Invalid Field[50], FieldType[12] received", "1417 FieldId[50]"}));
    Create(kOddFields);
    EXPECT_EQ(Build(), -1);
    EXPECT_EQ(reports_.Take(), Lines{"1486 Incorrect field version for field[561]."});
    Create(kVersions);
    SetShort(kSide, 1);
    SetShort(kNew3, 1);
    tables_.Field(3).type = kZELText;
    EXPECT_EQ(Build(), -1);
    EXPECT_EQ(reports_.Take(), (Lines{"1417 ZEL_HDR_SERVICEID", "1418 Can not build ZEL header"}));
    long length = 0;
    EXPECT_EQ(BuildZELMessage(nullptr, out_, &length, 0), -1);
    EXPECT_EQ(BuildZELMessage(object_.message, nullptr, &length, 0), -1);
    EXPECT_EQ(BuildZELMessage(object_.message, out_, nullptr, 0), -1);
    EXPECT_EQ(reports_.Take(), Lines(3, "1001 BuildZELMessage() failed"));
}

TEST_F(Building, FillsThePayloadToItsLastByte) {
    for (const int excess : {0, 1}) {
        Create(kVersions);
        SetShort(kSide, 1);
        SetShort(kNew3, 1);
        const std::string text(static_cast<std::size_t>(12288 - 4 - 4 - 4 + excess), 'x');
        SetText(kNew2, text.c_str());
        EXPECT_EQ(Build(), -excess);
        EXPECT_EQ(reports_.Take(), excess == 0 ? Lines{} : Lines{"1417 FieldId[41]"});
    }
    EXPECT_EQ(built_.size(), 0U);
}

TEST_F(Building, KeepsTheFirstMessageId) {
    Create(kAllTypes);
    SetShort(kSide, 1);
    for (const int sequence : {0, 0x1234, 7}) {
        ASSERT_EQ(Build(static_cast<unsigned short>(sequence)), 0);
        EXPECT_EQ(ToHex(built_.substr(18, 4)), sequence == 0 ? "00 00 01 01" : "12 34 01 01");
    }
}

TEST_F(Building, SendsPlainWhatWasNotCompressed) {
    FakeCrush crush;
    UseFakeCrush(&crush);
    for (const int encryptFlag : {0, 5}) {
        Create(kAllTypes);
        SetShort(kSide, 1);
        SetText(kSymbol, std::string(3000, 'x').c_str());
        object_.message->packFlags = 5;
        object_.message->encryptFlag = static_cast<unsigned short>(encryptFlag);
        ASSERT_EQ(Build(), 0);
        EXPECT_EQ(built_[2], encryptFlag << 4 | 5);
        EXPECT_LT(built_.size(), 200U);
        crush.compressResult = -14;
        ASSERT_EQ(Build(), 0);
        EXPECT_EQ(built_[2], encryptFlag << 4 | 1);
        EXPECT_EQ(built_.size(), 32U + 4 + 4 + 3000);
        EXPECT_EQ(object_.message->packFlags, 1);
        crush.compressResult.reset();
    }
    object_.message->packFlags = 9;
    ASSERT_EQ(Build(), 0);
    EXPECT_TRUE(built_[2] == 0x59 && built_.size() == 32U + 4 + 4 + 3000) << "marked, and plain";
    // A size that cannot be is not sent.
    for (const int size : {-9, 20000, 40000}) {
        object_.message->packFlags = 5;
        crush.compressResult = size;
        EXPECT_EQ(Build(), -1) << size;
        EXPECT_EQ(reports_.Take(), Lines{"1001 BuildZELMessage() failed"});
    }
}

TEST_F(Building, UnpacksFieldsIntoTheirRepetition) {
    const std::string leg = FromHex("00 8C 00 01 00 1F 00 01");
    const std::string payload =
        FromHex("00 0A 00 01 00 1E 00 03") + leg + "a" + leg + "b" + leg + "c" + FromHex("00 21 00 01") + "n";
    ASSERT_EQ(Unpack(kMarkedGroup, 3, 0, 9, payload), 0);
    EXPECT_EQ(TextOf(kLegSymbol, 1) + TextOf(kLegSymbol, 2) + TextOf(kLegSymbol, 3) + TextOf(kNote, 1), "abcn");
    EXPECT_EQ(reports_.Take(), Lines{});
    // Without markers the repetitions fill in order of arrival; a field too many is passed over.
    const std::string symbol = FromHex("00 1F 00 01");
    ASSERT_EQ(Unpack(kPlainGroup, 2, 0, 5, symbol + "a" + symbol + "b" + symbol + "c" + FromHex("00 21 00 01") + "n"),
              0);
    EXPECT_EQ(TextOf(kLegSymbol, 1) + TextOf(kLegSymbol, 2) + TextOf(kNote, 1), "abn");
    EXPECT_EQ(reports_.Take(), Lines{"1425 Field Received[31] is not in the list of fields"});
    // A leg's field in front of every marker, and one behind more markers than there are legs.
    ASSERT_EQ(Unpack(kMarkedGroup, 1, 0, 4, symbol + "a" + leg + "b" + leg + "c"), 0);
    EXPECT_EQ(TextOf(kLegSymbol, 1), "b");
    EXPECT_EQ(reports_.Take(), (Lines{"1425 Field Received[31] is not in the list of fields",
                                      "1425 Field Received[140] is not in the list of fields"}));
}

TEST_F(Building, UnpacksWhatItCanAndReportsTheRest) {
    struct Row {
        const char* name;
        SubType subType;
        int format;
        int numFields;
        const char* payload;
        int result;
        Lines reports;
    };
    const Row rows[] = {
        {"fewer fields than announced", kAllTypes, 0, 9, "00 0A 00 01", 0, {}},
        {"more fields than announced", kAllTypes, 0, 1, "00 0A 00 01 00 0B", 0, {}},
        {"none announced", kAllTypes, 3, 0, "", 0, {}},
        {"negative count", kAllTypes, 0, -1, "00 0A 00 01", 0, {}},
        {"twice",
         kAllTypes,
         0,
         2,
         "00 0A 00 01 00 0A 00 02",
         0,
         {"1425 Field Received[10] is not in the list of fields"}},
        {"not in the list",
         kAllTypes,
         0,
         2,
         "00 1F 00 01 41 00 0A 00 02",
         0,
         {"1425 Field Received[31] is not in the list of fields"}},
        {"not in the dictionary: the rest is lost",
         kAllTypes,
         0,
         2,
         "02 31 00 01 00 0A 00 02",
         0,
         {"1425 Field Received[561] is not in the list of fields", "1414 FieldId[561]"}},
        {"not in the dictionary, with its length",
         kAllTypes,
         2,
         2,
         "02 31 00 01 41 00 0A 00 02 00 02",
         0,
         {"1425 Field Received[561] is not in the list of fields"}},
        {"id 0",
         kAllTypes,
         0,
         1,
         "00 00 00 01",
         0,
         {"1425 Field Received[0] is not in the list of fields", "1001 GetFldEntry() Failed", "1414 FieldId[0]"}},
        {"id cut", kAllTypes, 0, 2, "00 0A 00 01 00", -1, {"1001 UnpackZELFieldId() failed", "1413 UnpackZELMessage"}},
        {"id FFFF", kAllTypes, 0, 1, "FF FF 00 01", -1, {"1413 UnpackZELMessage"}},
        {"value cut", kAllTypes, 0, 1, "00 0A 00", -1, {"1427 FieldId[10]"}},
        {"text cut", kAllTypes, 0, 1, "00 0E 00 03 41 42", -1, {"1427 FieldId[14]"}},
        {"passed over and cut",
         kAllTypes,
         0,
         1,
         "00 1F 00 03 41 42",
         -1,
         {"1425 Field Received[31] is not in the list of fields", "1427 FieldId[31]"}},
        {"format 2, cut", kAllTypes, 2, 1, "00 0A 00 02 01", -1, {"1427 FieldId[10]"}},
        {"format 2, too short for its type", kAllTypes, 2, 1, "00 0A 00 01 01", -1, {"1427 FieldId[10]"}},
        {"unknown type",
         kOddFields,
         0,
         1,
         "00 32 01 02 03 04",
         -1,
         {"1027 Invalid Field Type[12] received", "1427 FieldId[50]"}},
        {"unknown type, format 2", kOddFields, 2, 1, "00 32 00 03 01 02 03", 0, {}},
        {"no record", kOddFields, 0, 1, "02 31 01", -1, {"1027 Field[561]"}},
        {"no record, format 2", kOddFields, 2, 1, "02 31 00 01 01", 0, {}},
        {"unknown format", kAllTypes, 3, 1, "00 0A 00 01", -1, {"1426 UnpackZELMessage()"}},
        {"positional, more than slots",
         kVersions,
         1,
         4,
         "00 01 00 01 41 00 03 FF",
         0,
         {"1425 Field Received[0] is not in the list of fields"}},
        {"positional, cut", kVersions, 1, 3, "00 01 00 02 41", -1, {"1427 FieldId[40]"}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Unpack(row.subType, -1, row.format, row.numFields, FromHex(row.payload)), row.result) << row.name;
        EXPECT_EQ(reports_.Take(), row.reports) << row.name;
    }
    EXPECT_EQ(UnpackZELMessage(nullptr, 1, object_.message), -1);
    EXPECT_EQ(UnpackZELMessage("", 1, nullptr), -1);
    EXPECT_EQ(reports_.Take(), Lines(2, "1001 UnpackZELMessage() failed"));
}

TEST_F(Building, ValidatesAndFindsTheRepeatCount) {
    struct Row {
        const char* name;
        SubType subType;
        int format;
        int numFields;
        const char* payload;
        int result;
        int repeatCount;
        Lines reports;
    };
    const Row rows[] = {
        {"no group", kAllTypes, 0, 1, "00 0A 00 01", 0, -1, {}},
        {"behind other fields", kMarkedGroup, 0, 2, "00 0A 00 01 00 1E 00 05", 0, 5, {}},
        {"format 2", kMarkedGroup, 2, 2, "00 0A 00 02 00 01 00 1E 00 02 00 05", 0, 5, {}},
        {"format 1", kMarkedGroup, 1, 6, "00 01 00 05", 0, 5, {}},
        {"a long: its low half", kLongCount, 0, 1, "00 0B 00 01 00 02", 0, 2, {}},
        {"negative", kPlainGroup, 0, 1, "00 1E FF FF", 0, -1, {}},
        {"absent", kPlainGroup, 0, 3, "00 21 00 01 41", 0, 0, {}},
        {"beyond the announced fields", kMarkedGroup, 0, 1, "00 0A 00 01 00 1E 00 05", 0, 0, {}},
        {"cut", kPlainGroup, 0, 1, "00 1E 00", -1, 0, {"1427 FieldId[30]"}},
        {"cut in front", kPlainGroup, 0, 2, "00 21 00 05 41", -1, 0, {"1427 FieldId[33]"}},
        {"lost in front",
         kPlainGroup,
         0,
         2,
         "02 31 00 1E 00 01",
         -1,
         0,
         {"1414 FieldId[561]", "1001 UnpackZELFieldId() failed", "1413 UnpackZELMessage"}},
        {"id FFFF", kPlainGroup, 2, 1, "FF FF 00 01 00", -1, 0, {"1413 UnpackZELMessage"}},
        {"unknown format", kPlainGroup, 7, 1, "00 1E 00 05", -1, 0, {"1426 ValidateZELMsg()"}},
        {"unknown format, no group", kAllTypes, 7, 1, "00 1E 00 05", 0, -1, {}},
        {"unknown sub-type",
         static_cast<SubType>(99),
         0,
         0,
         "",
         -1,
         -1,
         {"1415 Message table not initialized in shared memory"}},
    };
    for (const Row& row : rows) {
        const std::string message = Header(row.format, row.numFields, row.subType) + FromHex(row.payload);
        EXPECT_EQ(Validate(message), row.result) << row.name;
        EXPECT_EQ(repeatCount_, row.repeatCount) << row.name;
        EXPECT_EQ(reports_.Take(), row.reports) << row.name;
    }
    tables_.Field(kLegs).type = kZELText;
    EXPECT_EQ(Validate(Header(0, 1, kPlainGroup) + FromHex("00 1E 00 09") + "123456789"), -1);
    EXPECT_EQ(reports_.Take(), Lines{"1427 FieldId[30]"}) << "a count of nine bytes";
}

TEST_F(Building, RefusesPayloadsThatDoNotOpen) {
    const std::string big(12289, 'x');
    EXPECT_EQ(Validate(Header(0, 1, kAllTypes, 5) + "short"), -1);
    EXPECT_EQ(Validate(Header(0, 1, kAllTypes, 5) + std::string(40000, 'x')), -1);
    EXPECT_EQ(Validate(Header(0, 1, kAllTypes, 1, 3) + big), -1);
    EXPECT_EQ(reports_.Take(), (Lines{"1422 ", "1422 ", "1420 "}));
    EXPECT_EQ(Validate(""), -1);
    EXPECT_EQ(reports_.Take(), (Lines{"1001 UnpackZELHeader() failed", "1423 Can not Unpack ZEL Header"}));
    EXPECT_EQ(Validate(Header(0, 1, kAllTypes, 9) + big), 0) << "marked is plain, and plain has no bound here";
}

}  // namespace
}  // namespace zel::test
