#include "core/field_codec.h"

#include <gtest/gtest.h>

#include <cstring>

#include "core/dictionary.h"
#include "include/zelmessage.h"
#include "tests/support/bytes.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

template <typename T>
std::string Raw(const T& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::string Money(ZELLong amount, short displayCode) {
    _money money{};
    money.amount = amount;
    money.displayCode = displayCode;
    return Raw(money);
}

const _datetime kMoment{30, 11, 99, 9, 5, 7, 0, 3};

// A value in memory and its wire bytes behind the id in the formats 0, 1 and 2 (there behind the length).
struct Vector {
    unsigned short id;
    std::string value;
    const char* plain;
    const char* counted;
};

const Vector kVectors[] = {
    {kSide, Raw(short{0x1234}), "12 34", "00 02 12 34"},
    {kSide, Raw(short{-2}), "FF FE", "00 02 FF FE"},
    {kQty, Raw(ZELLong{0x01020304}), "01 02 03 04", "00 04 01 02 03 04"},
    {kCount, Raw(-1), "FF FF FF FF", "00 04 FF FF FF FF"},
    {kCode, "ABCDEFGH", "41 42 43 44 45 46 47 48", "00 08 41 42 43 44 45 46 47 48"},
    {kSymbol, "AB", "00 02 41 42", "00 02 41 42"},
    {kSymbol, "", "00 00", "00 00"},
    {kRate, Raw(1.0F), "3F 80 00 00", "00 04 3F 80 00 00"},
    {kValue, Raw(1.0), "3F F0 00 00 00 00 00 00", "00 08 3F F0 00 00 00 00 00 00"},
    {kValue, Raw(-1.0 / 3), "BF D5 55 55 55 55 55 55", "00 08 BF D5 55 55 55 55 55 55"},
    {kStamp, Raw(kMoment), "1E 0B 63 09 05 07 00 03", "00 08 1E 0B 63 09 05 07 00 03"},
    {kPrice, Money(1, 2), "00 00 00 01 00 02", "00 06 00 00 00 01 00 02"},
    {kPrice, Money(-150, 20), "FF FF FF 6A 00 14", "00 06 FF FF FF 6A 00 14"},
    {kKey, std::string("\0\x01", 2), "00 02 00 01", "00 02 00 01"},
    {kBlob, std::string("\xFF\0\xFF", 3), "00 03 FF 00 FF", "00 03 FF 00 FF"},
};

std::string Expected(const Vector& vector, short format) {
    const std::string id{static_cast<char>(vector.id >> 8), static_cast<char>(vector.id)};
    return (format == 1 ? "" : id) + FromHex(format == 2 ? vector.counted : vector.plain);
}

TEST(FieldCodec, PacksAndUnpacksEveryType) {
    TestTables tables;
    RecordedReports reports;
    for (const Vector& vector : kVectors) {
        for (short format = 0; format <= 2; ++format) {
            SCOPED_TRACE(GetFldName(static_cast<short>(vector.id)) + std::string(" in format ") +
                         std::to_string(format));
            const std::string wire = Expected(vector, format);
            const ExactCopy value(vector.value);
            const ExactCopy out(std::string(wire.size(), '?'));
            char* end = PackZELField(vector.id, value.data.get(), static_cast<short>(value.size), out.data.get(),
                                     out.data.get() + out.size, format);
            ASSERT_EQ(end, out.data.get() + out.size);
            EXPECT_EQ(ToHex({out.data.get(), out.size}), ToHex(wire));
            // One byte less does not fit, wherever the end falls.
            for (std::size_t room = 0; room < out.size; ++room) {
                EXPECT_EQ(PackZELField(vector.id, value.data.get(), static_cast<short>(value.size), out.data.get(),
                                       out.data.get() + room, format),
                          nullptr);
            }
            const bool isText = GetFldType(static_cast<short>(vector.id)) == kZELText;
            const ExactCopy back(std::string(vector.value.size() + (isText ? 1U : 0U), '?'));
            unsigned short length = 0;
            const Reader reader{out.data.get(), end};
            ASSERT_EQ(UnpackZELField(vector.id, reader, back.data.get(), back.size, &length, format), 0);
            EXPECT_EQ(length, vector.value.size());
            EXPECT_EQ(ToHex({back.data.get(), vector.value.size()}), ToHex(vector.value));
            EXPECT_TRUE(!isText || back.data[vector.value.size()] == '\0');
            // Nothing is stored where the value does not fit, nor read from a field that is cut anywhere.
            if (back.size != 0) {
                EXPECT_EQ(UnpackZELField(vector.id, reader, back.data.get(), back.size - 1, &length, format), -1);
            }
            for (std::size_t size = 0; size < wire.size(); ++size) {
                const ExactCopy cut(wire.substr(0, size));
                char value16[16];
                EXPECT_EQ(UnpackZELField(vector.id, {cut.data.get(), cut.data.get() + size}, value16, sizeof value16,
                                         &length, format),
                          -1)
                    << size;
            }
        }
    }
    EXPECT_EQ(reports.Take(), Lines{});
}

TEST(FieldCodec, PacksEmptyValues) {
    struct Row {
        unsigned short id;
        short format;
        const char* wire;
    };
    const Row rows[] = {
        {kSide, 0, "00 0A 00 00"},
        {kSide, 1, "00 00"},
        {kSide, 2, "00 0A 00 00 00 00"},
        {kCode, 0, "00 0D 00 00 00 00 00 00 00 00"},
        {kSymbol, 0, "00 0E 00 00"},
        {kPrice, 1, "00 00 00 00 00 00"},
        {kStamp, 1, "00 00 00 00 00 00 00 00"},
        {kKey, 0, "00 13"},
        {kKey, 1, ""},
        {kKey, 2, "00 13 00 00 00 00"},
        {kBlob, 0, "00 14 00 00"},
        {kOdd, 1, "00 00 00 00"},
    };
    TestTables tables;
    for (const Row& row : rows) {
        char out[16];
        const char* end = PackZELField(row.id, nullptr, 0, out, out + sizeof out, row.format);
        ASSERT_NE(end, nullptr) << row.id;
        EXPECT_EQ(ToHex({out, static_cast<std::size_t>(end - out)}), row.wire) << row.id << " in " << row.format;
    }
}

TEST(FieldCodec, ReportsWhatItRefuses) {
    TestTables tables;
    RecordedReports reports;
    char out[16] = {};
    char* end = out + sizeof out;
    const short value = 1;
    EXPECT_EQ(PackZELField(0, &value, 2, out, end, 0), nullptr);
    EXPECT_EQ(PackZELField(kSide, &value, 2, nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(PackZELField(kSide, &value, 2, out, end, 3), nullptr);
    EXPECT_EQ(PackZELField(kSide, &value, 2, out, end, -1), nullptr);
    EXPECT_EQ(PackZELField(kOdd, &value, 2, out, end, 2), nullptr);
    EXPECT_EQ(PackZELField(kHighest + 1, nullptr, 0, out, end, 0), nullptr);
    EXPECT_EQ(reports.Take(),
              (Lines{"1001 PackZELField() failed", "1001 PackZELField() failed", "1426 Invalid ZELFormat",
                     "1426 Invalid ZELFormat", "1027 Invalid Field[50], FieldType[12] received",
                     "1027 Invalid Field[561], Type[-1]"}));
    unsigned short length = 0;
    const Reader in{out, end};
    EXPECT_EQ(UnpackZELField(0, in, out, 16, &length, 0), -1);
    EXPECT_EQ(UnpackZELField(kSide, {nullptr, nullptr}, out, 16, &length, 0), -1);
    EXPECT_EQ(UnpackZELField(kSide, in, nullptr, 16, &length, 0), -1);
    EXPECT_EQ(UnpackZELField(kSide, in, out, 16, nullptr, 0), -1);
    EXPECT_EQ(UnpackZELField(kSide, in, out, 16, &length, 3), -1);
    EXPECT_EQ(UnpackZELField(kOdd, in, out, 16, &length, 0), -1);
    EXPECT_EQ(UnpackZELFieldId({nullptr, nullptr}), 0xFFFF);
    EXPECT_EQ(reports.Take(),
              (Lines{"1001 UnpackZELField() failed", "1001 UnpackZELField() failed", "1001 UnpackZELField() failed",
                     "1001 UnpackZELField() failed", "1426 Invalid ZEL Format", "1027 Invalid Field Type[12] received",
                     "1001 UnpackZELFieldId() failed"}));
}

TEST(FieldCodec, Format2FollowsTheFieldsOwnLength) {
    struct Row {
        const char* name;
        unsigned short id;
        const char* wire;
        int result;
        unsigned short length;
        const char* value;
    };
    const Row rows[] = {
        {"unknown type", kOdd, "00 32 00 03 01 02 03", 0, 3, "01 02 03"},
        {"no record", kHighest + 1, "02 31 00 01 07", 0, 1, "07"},
        {"short too short", kSide, "00 0A 00 01 12", -1, 9, ""},
        {"short too long", kSide, "00 0A 00 03 12 34 56", 0, 2, "34 12"},
        {"money too short", kPrice, "00 12 00 05 00 00 00 01 00", -1, 9, ""},
        {"date-time too long", kStamp, "00 11 00 09 1E 0B 63 09 05 07 00 03 FF", 0, 9, "1E 0B 63 09 05 07 00 03"},
        {"chars of another length", kCode, "00 0D 00 02 41 42", 0, 2, "41 42"},
    };
    TestTables tables;
    for (const Row& row : rows) {
        const ExactCopy wire(FromHex(row.wire));
        char value[16] = {};
        unsigned short length = 9;
        EXPECT_EQ(
            UnpackZELField(row.id, {wire.data.get(), wire.data.get() + wire.size}, value, sizeof value, &length, 2),
            row.result)
            << row.name;
        EXPECT_EQ(length, row.length) << row.name;
        const std::string expected = FromHex(row.value);
        EXPECT_EQ(ToHex({value, expected.size()}), row.value) << row.name;
    }
    // A money value as received has a length of 8; it still takes 6 bytes, and says so.
    char out[16];
    const std::string money = Money(1, 2);
    const char* end = PackZELField(kPrice, money.data(), 8, out, out + sizeof out, 2);
    EXPECT_EQ(ToHex({out, static_cast<std::size_t>(end - out)}), "00 12 00 06 00 00 00 01 00 02");
}

}  // namespace
}  // namespace zel::test
