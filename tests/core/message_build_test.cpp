// Building and unpacking messages: bytes, values and reports.
#include "core/message_build.h"

#include <gtest/gtest.h>

#include <tuple>

#include "core/message_unpack.h"
#include "core/message_validate.h"
#include "include/zelmessage.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/failing_heap.h"
#include "tests/support/fake_crush.h"
#include "tests/support/made_message.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

class Building : public testing::Test {
protected:
    void TearDown() override { UseFakeCrush(nullptr); }

    // Creates the message in an object, for its setters.
    void Create(SubType subType, short repeatCount = -1) { test::Create(object_, subType, repeatCount); }
    void SetShort(short id, short value) { SetNumber(object_, id, value); }
    void SetText(short id, const char* value) { object_.setFieldValue(id, value, -1); }

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
    TestTables tables_;
    RecordedReports reports_;
    CZELMessage object_{0, 0};
    char out_[70000];
    std::string built_;
    std::string received_;
    short repeatCount_ = 99;
};

TEST_F(Building, SendsTheFieldsOfTheFormat) {
    for (const Cells& row : ReadCases("tests/core/cases/formats.txt", 3)) {
        Create(kMarkedGroup, 1);
        object_.message->format = row.Number<unsigned short>(0);
        SetShort(kSide, 7);
        SetShort(kLegs, 2);
        SetText(kLegSymbol, "AB");
        SetText(kNote, "C");
        ASSERT_EQ(Build(), 0);
        EXPECT_EQ(FieldCount(), row.Number(1));
        EXPECT_EQ(Payload(), row[2]);
    }
}

TEST_F(Building, LeavesOutFieldsNewerThanTheMessage) {
    for (const Cells& row : ReadCases("tests/core/cases/versions.txt", 9)) {
        tables_.ChangeField(kNew2).version = row.Number<std::int16_t>(8);
        Create(kVersions);
        object_.message->version = row.Number<unsigned short>(1);
        object_.message->format = row.Number<unsigned short>(2);
        SetShort(kSide, 1);
        if (row[3] == "1") {
            SetText(kNew2, "x");
        }
        if (row[4] == "1") {
            SetShort(kNew3, 3);
        }
        EXPECT_EQ(reports_.With(Build()), row[5] + (row[7].empty() ? "" : ": ") + row[7]) << row[0];
        const int sent = built_.empty() ? 0 : FieldCount();
        EXPECT_EQ(sent, row.Number(6)) << row[0];
        EXPECT_EQ(built_.empty() ? 0 : object_.message->numFields, sent) << row[0];
    }
}

TEST_F(Building, RefusesWhatItCannotSend) {
    Create(kAllTypes);
    EXPECT_EQ(reports_.With(Build()), "-1: 1476 Manadatory field(10) not in the list.");
    SetShort(kSide, 1);
    SetShort(kSide, 1);
    EXPECT_EQ(reports_.With(Build()), "-1") << "the field was counted twice";
    object_.message->format = 1;
    EXPECT_EQ(reports_.With(Build()), "0") << "in the format 1 only slots count";
    Create(kAllTypes);
    SetShort(kSide, 1);
    object_.message->format = 3;
    EXPECT_EQ(reports_.With(Build()), "-1: 1426 Invalid ZELFormat; 1417 FieldId[10]");
    Create(kOddFields);
    object_.setFieldValueBinary(kOdd, "abcd", 4, -1);
    EXPECT_EQ(reports_.With(Build()), "-1: 1027 Invalid Field[50], FieldType[12] received; 1417 FieldId[50]");
    Create(kOddFields);
    EXPECT_EQ(reports_.With(Build()), "-1: 1486 Incorrect field version for field[561].");
    tables_.ChangeField(3).type = kZELText;
    tables_.Install();
    Create(kVersions);
    SetShort(kSide, 1);
    SetShort(kNew3, 1);
    EXPECT_EQ(reports_.With(Build()), "-1: 1417 ZEL_HDR_SERVICEID; 1418 Can not build ZEL header");
    const std::string failed = "-1: 1001 BuildZELMessage() failed";
    long length = 0;
    EXPECT_EQ(reports_.With(BuildZELMessage(nullptr, out_, &length, 0)), failed);
    EXPECT_EQ(reports_.With(BuildZELMessage(object_.message, nullptr, &length, 0)), failed);
    EXPECT_EQ(reports_.With(BuildZELMessage(object_.message, out_, nullptr, 0)), failed);
}

TEST_F(Building, FillsThePayloadToItsLastByte) {
    for (const int round : {0, 1, 2, 3}) {
        const int excess = round % 2;
        Create(kVersions);
        object_.message->encryptFlag = static_cast<unsigned short>(round / 2);
        SetShort(kSide, 1);
        SetShort(kNew3, 1);
        const std::string text(static_cast<std::size_t>(12288 - 4 - 4 - 4 + excess), 'x');
        SetText(kNew2, text.c_str());
        EXPECT_EQ(reports_.With(Build()), excess == 0 ? "0" : "-1: 1417 FieldId[41]");
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
    EXPECT_EQ(std::tuple(built_[2], built_.size()), std::tuple(0x59, 32U + 4 + 4 + 3000)) << "marked, and plain";
    // Impossible sizes are not sent.
    for (const int size : {-9, 20000, 40000}) {
        object_.message->packFlags = 5;
        crush.compressResult = size;
        EXPECT_EQ(reports_.With(Build()), "-1: 1001 BuildZELMessage() failed") << size;
    }
}

TEST_F(Building, UnpacksWhatItCanAndReportsTheRest) {
    for (const Cells& row : ReadCases("tests/core/cases/unpack.txt", 7)) {
        const int result = Unpack(row.Number<SubType>(1), -1, row.Number(2), row.Number(3), FromHex(row[4]));
        EXPECT_EQ(reports_.With(result), row[5] + (row[6].empty() ? "" : ": ") + row[6]) << row[0];
    }
    // Ids of the header's fields, and invalid ids.
    static const ZELFieldListEntry kList[] = {{0, 1}, {65535, 1}, {kLegs, 1}, {kLegSymbol, 1}};
    tables_.ChangeMessage(kPlainGroup) = {kPlainGroup, kLegs, 1, 4, kList, nullptr};
    const std::string lookUp = "1001 GetFldEntry() Failed; ";
    Create(kPlainGroup, 1);
    EXPECT_EQ(reports_.TakeText() + "; ", lookUp) << "one slot has the id 0";
    const auto unpack = [&](int format, const char* bytes) {
        const int result = Unpack(kPlainGroup, 1, format, 1, FromHex(bytes));
        return reports_.With(result).erase(4, lookUp.size());
    };
    EXPECT_EQ(unpack(2, "00 00 00 01 00"), "-1: 1001 UnpackZELField() failed; 1427 FieldId[0]");
    EXPECT_EQ(unpack(0, "00 00 00 01 00"), "-1: " + lookUp + "1027 Field[0]");
    EXPECT_EQ(reports_.With(Validate(Header(1, 3, kPlainGroup) + FromHex("00 00 00 00"))),
              "-1: " + lookUp + "1414 FieldId[0]; 1001 UnpackZELFieldId() failed; 1413 UnpackZELMessage");
    tables_.ChangeMessage(kPlainGroup).fieldList = kList + 1;
    tables_.ChangeMessage(kPlainGroup).fieldCount = 3;
    EXPECT_EQ(reports_.With(Validate(Header(1, 2, kPlainGroup) + FromHex("00 00 00 00"))),
              "-1: 1414 FieldId[65535]; 1001 UnpackZELFieldId() failed; 1413 UnpackZELMessage")
        << "only on the wire the id is none";
    // Two fields in the expected order but not at the start, then one without room.
    Create(kAllTypes);
    const ExactCopy bytes(Header(0, 3, kAllTypes) + FromHex("00 0B 00 00 00 01 00 0C 00 00 00 02 00 0E 2E E0") +
                          std::string(12000, 'x'));
    FailAllocationsFrom(1);
    const int result = UnpackZELMessage(bytes.data.get(), static_cast<long>(bytes.size), object_.message);
    FailAllocationsFrom(0);
    EXPECT_EQ(reports_.With(result), "-1: 12 Malloc failed") << "once";
    const std::string failed = "-1: 1001 UnpackZELMessage() failed";
    EXPECT_EQ(reports_.With(UnpackZELMessage(nullptr, 1, object_.message)), failed);
    EXPECT_EQ(reports_.With(UnpackZELMessage("", 1, nullptr)), failed);
    EXPECT_EQ(reports_.With(UnpackZELMessage("\0", 1, object_.message)),
              "-1: 1001 UnpackZELFieldId() failed; 1413 ZEL_HDR_FLAGS; 1423 Can not Unpack ZEL Header");
}

TEST_F(Building, ValidatesAndFindsTheRepeatCount) {
    // First without memory for plans, then with it.
    for (int round = 0; round < 2; ++round) {
        FailAllocationsFrom(1 - round);
        for (const Cells& row : ReadCases("tests/core/cases/validate.txt", 8)) {
            const std::string header = Header(row.Number(2), row.Number(3), row.Number<SubType>(1));
            EXPECT_EQ(Validate(header + FromHex(row[4])), row.Number(5)) << row[0];
            EXPECT_EQ(repeatCount_, row.Number(6)) << row[0];
            EXPECT_EQ(reports_.TakeText(), row[7]) << row[0];
        }
    }
    tables_.ChangeMessage(kPlainGroup).repeatFieldId = kQty;
    EXPECT_EQ(Validate(Header(1, 5, kPlainGroup) + FromHex("00 01 00 00 00 00 00 00 00 00 FF FF")), 0);
    EXPECT_EQ(repeatCount_, 0) << "the list lacks the count";
    tables_.ChangeMessage(kPlainGroup).repeatFieldId = kLegs;
    tables_.ChangeField(kNote).length = 5;
    EXPECT_EQ(Validate(Header(0, 2, kPlainGroup) + FromHex("00 21 00 02 41 42 43 00 1E 00 05")), 0);
    EXPECT_EQ(repeatCount_, 5) << "after a text to which the dictionary gives a length";
    tables_.ChangeField(kLegs).type = kZELText;
    EXPECT_EQ(reports_.With(Validate(Header(0, 1, kPlainGroup) + FromHex("00 1E 00 09") + "123456789")),
              "-1: 1427 FieldId[30]")
        << "a count of nine bytes";
}

TEST_F(Building, RefusesPayloadsThatDoNotOpen) {
    const std::string big(12289, 'x');
    EXPECT_EQ(reports_.With(Validate(Header(0, 1, kAllTypes, 5) + "short")), "-1: 1422 ");
    EXPECT_EQ(reports_.With(Validate(Header(0, 1, kAllTypes, 5) + std::string(40000, 'x'))), "-1: 1422 ");
    EXPECT_EQ(reports_.With(Validate(Header(0, 1, kAllTypes, 1, 3) + big)), "-1: 1420 ");
    EXPECT_EQ(reports_.With(Validate("")), "-1: 1001 UnpackZELHeader() failed; 1423 Can not Unpack ZEL Header");
    EXPECT_EQ(Validate(Header(0, 1, kAllTypes, 9) + big), 0) << "marked is plain, and plain has no bound here";
}

}  // namespace
}  // namespace zel::test
