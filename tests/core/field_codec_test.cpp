#include "core/wire/field_codec.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/tables/dictionary.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

class FieldCodec : public testing::Test {
protected:
    // Packs into a heap block of exactly `room` bytes; "none" when it does not fit or is refused.
    static std::string Pack(int id, const ExactCopy& value, std::size_t room, short format) {
        const ExactCopy out(std::string(room, '?'));
        Writer writer{out.data.get(), out.data.get() + room};
        const PlainValue plain{value.data.get(), static_cast<std::uint16_t>(value.size), value.size};
        const bool isPacked = PackZELField(RuleOf(static_cast<unsigned short>(id)), plain, writer, format);
        return isPacked ? std::string(out.data.get(), writer.next) : "none";
    }
    static int Unpack(int id, const std::string& wire, const ExactCopy& value, unsigned short& length, short format) {
        const ExactCopy in(wire);
        return UnpackZELField(RuleOf(static_cast<unsigned short>(id)), {in.data.get(), in.data.get() + in.size},
                              value.data.get(), value.size, &length, format);
    }

    TestTables tables_;
    RecordedReports reports_;
};

TEST_F(FieldCodec, PacksAndUnpacksEveryType) {
    for (const Cells& row : ReadCases("tests/core/cases/fields.txt", 5)) {
        const int id = row.Number(1);
        const ExactCopy value(FromHex(row[2]));
        const bool isText = GetFldType(static_cast<short>(id)) == kZELText;
        for (short format = 0; format <= 2; ++format) {
            SCOPED_TRACE(row[0] + " in format " + std::to_string(format));
            std::string wire = FromHex(format == 2 ? row[4] : row[3]);
            wire.insert(0, format == 1 ? "" : std::string{'\0', static_cast<char>(id)});
            EXPECT_EQ(ToHex(Pack(id, value, wire.size(), format)), ToHex(wire));
            const ExactCopy back(std::string(value.size + (isText ? 1U : 0U), '?'));
            unsigned short length = 0;
            ASSERT_EQ(Unpack(id, wire, back, length, format), 0);
            EXPECT_EQ(length, value.size);
            EXPECT_EQ(ToHex({back.data.get(), value.size}), row[2]);
            EXPECT_EQ(isText ? back.data[value.size] : '\0', '\0');
            const ExactCopy small(std::string(back.size - (back.size != 0 ? 1 : 0), '?'));
            EXPECT_EQ(Unpack(id, wire, small, length, format), small.size == back.size ? 0 : -1);
            for (std::size_t size = 0; size < wire.size(); ++size) {
                EXPECT_EQ(Pack(id, value, size, format), "none");
                EXPECT_EQ(Unpack(id, wire.substr(0, size), back, length, format), -1);
            }
        }
    }
    EXPECT_EQ(reports_.TakeText(), "");
}

TEST_F(FieldCodec, PacksEmptyValues) {
    for (const Cells& row : ReadCases("tests/core/cases/empty_fields.txt", 3)) {
        const ExactCopy out(FromHex(row[2]));
        const auto pack = [&](std::size_t room) {
            Writer writer{out.data.get(), out.data.get() + room};
            const FieldRule rule = RuleOf(row.Number<unsigned short>(0));
            const bool isPacked = PackZELField(rule, {nullptr, 0, 0}, writer, row.Number<short>(1));
            return isPacked && writer.next == writer.end;
        };
        for (std::size_t room = 0; room < out.size; ++room) {
            EXPECT_FALSE(pack(room)) << row[0] << " in format " << row[1];
        }
        std::fill_n(out.data.get(), out.size, '?');
        EXPECT_TRUE(pack(out.size)) << row[0] << " in format " << row[1];
        EXPECT_EQ(ToHex({out.data.get(), out.size}), row[2]) << row[0] << " in format " << row[1];
    }
}

TEST_F(FieldCodec, Format2FollowsTheFieldsOwnLength) {
    for (const Cells& row : ReadCases("tests/core/cases/format2_fields.txt", 6)) {
        const ExactCopy value(std::string(16, '\0'));
        unsigned short length = 9;
        EXPECT_EQ(Unpack(row.Number(1), FromHex(row[2]), value, length, 2), row.Number(3)) << row[0];
        EXPECT_EQ(length, row.Number(4)) << row[0];
        EXPECT_EQ(ToHex({value.data.get(), FromHex(row[5]).size()}), row[5]) << row[0];
    }
}

TEST_F(FieldCodec, ReportsWhatItRefuses) {
    char out[16] = {};
    const short value = 1;
    Writer writer{out, out + sizeof out};
    Writer noRoom{nullptr, nullptr};
    const auto refuses = [&](int id, Writer& to, short format, const void* bytes) {
        EXPECT_FALSE(PackZELField(RuleOf(static_cast<unsigned short>(id)), {bytes, 2, 2}, to, format)) << id;
        to = to.next != nullptr ? Writer{out, out + sizeof out} : to;
    };
    refuses(0, writer, 0, &value);
    refuses(kSide, noRoom, 0, &value);
    EXPECT_EQ(reports_.Take(),
              (Lines{"1001 GetFldEntry() Failed", "1001 PackZELField() failed", "1001 PackZELField() failed"}));
    refuses(kSide, writer, 3, &value);
    refuses(kSide, writer, -1, &value);
    EXPECT_EQ(reports_.Take(), Lines(2, "1426 Invalid ZELFormat"));
    refuses(kOdd, writer, 2, &value);
    refuses(kHighest + 1, writer, 0, &value);
    refuses(kHighest + 1, writer, 0, nullptr);
    EXPECT_EQ(reports_.TakeText(),
              "1027 Invalid Field[50], FieldType[12] received; 1027 Invalid Field[561], FieldType[65535] received; "
              "1027 Invalid Field[561], Type[-1]");
    unsigned short length = 0;
    const Reader in{out, out + sizeof out};
    const FieldRule side = RuleOf(kSide);
    EXPECT_EQ(UnpackZELField({}, in, out, 16, &length, 0), -1);
    EXPECT_EQ(UnpackZELField(side, {nullptr, nullptr}, out, 16, &length, 0), -1);
    EXPECT_EQ(UnpackZELField(side, in, nullptr, 16, &length, 0), -1);
    EXPECT_EQ(UnpackZELField(side, in, out, 16, nullptr, 0), -1);
    EXPECT_EQ(reports_.Take(), Lines(4, "1001 UnpackZELField() failed"));
    EXPECT_EQ(UnpackZELField(side, in, out, 16, &length, 3), -1);
    EXPECT_EQ(UnpackZELField(RuleOf(kOdd), in, out, 16, &length, 0), -1);
    EXPECT_EQ(reports_.TakeText(), "1426 Invalid ZEL Format; 1027 Invalid Field Type[12] received");
    Reader none{nullptr, nullptr};
    EXPECT_EQ(GetNextField(none, 0), Step::kLost);
    EXPECT_EQ(reports_.TakeText(), "1001 UnpackZELFieldId() failed; 1413 GetNextField() failed");
    Reader cut{out, out + 1};
    EXPECT_EQ(GetNextField(cut, 0), Step::kPastEnd);
    EXPECT_EQ(reports_.TakeText(), "1001 UnpackZELFieldId() failed");
}

}  // namespace
}  // namespace zel::test
