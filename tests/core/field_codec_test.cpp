#include "core/field_codec.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "core/dictionary.h"
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
        const char* end = PackZELField(static_cast<unsigned short>(id), value.data.get(),
                                       static_cast<short>(value.size), out.data.get(), out.data.get() + room, format);
        return end != nullptr ? std::string(static_cast<const char*>(out.data.get()), end) : "none";
    }
    static int Unpack(int id, const std::string& wire, const ExactCopy& value, unsigned short& length, short format) {
        const ExactCopy in(wire);
        return UnpackZELField(static_cast<unsigned short>(id), {in.data.get(), in.data.get() + in.size},
                              value.data.get(), value.size, &length, format);
    }

    TestTables tables_;
    RecordedReports reports_;
};

TEST_F(FieldCodec, PacksAndUnpacksEveryType) {
    for (const Cells& row : ReadCases("tests/core/cases/fields.txt", 5)) {
        const int id = std::stoi(row[1]);
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
            EXPECT_TRUE(!isText || back.data[value.size] == '\0');
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
            return PackZELField(static_cast<unsigned short>(std::stoi(row[0])), nullptr, 0, out.data.get(),
                                out.data.get() + room, static_cast<short>(std::stoi(row[1])));
        };
        for (std::size_t room = 0; room < out.size; ++room) {
            EXPECT_EQ(pack(room), nullptr) << row[0] << " in format " << row[1];
        }
        std::fill_n(out.data.get(), out.size, '?');
        EXPECT_EQ(pack(out.size), out.data.get() + out.size) << row[0] << " in format " << row[1];
        EXPECT_EQ(ToHex({out.data.get(), out.size}), row[2]) << row[0] << " in format " << row[1];
    }
}

TEST_F(FieldCodec, Format2FollowsTheFieldsOwnLength) {
    for (const Cells& row : ReadCases("tests/core/cases/format2_fields.txt", 6)) {
        const ExactCopy value(std::string(16, '\0'));
        unsigned short length = 9;
        EXPECT_EQ(Unpack(std::stoi(row[1]), FromHex(row[2]), value, length, 2), std::stoi(row[3])) << row[0];
        EXPECT_EQ(length, std::stoi(row[4])) << row[0];
        EXPECT_EQ(ToHex({value.data.get(), FromHex(row[5]).size()}), row[5]) << row[0];
    }
}

TEST_F(FieldCodec, ReportsWhatItRefuses) {
    char out[16] = {};
    char* end = out + sizeof out;
    const short value = 1;
    EXPECT_EQ(PackZELField(0, &value, 2, out, end, 0), nullptr);
    EXPECT_EQ(PackZELField(kSide, &value, 2, nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(reports_.Take(), Lines(2, "1001 PackZELField() failed"));
    EXPECT_EQ(PackZELField(kSide, &value, 2, out, end, 3), nullptr);
    EXPECT_EQ(PackZELField(kSide, &value, 2, out, end, -1), nullptr);
    EXPECT_EQ(reports_.Take(), Lines(2, "1426 Invalid ZELFormat"));
    EXPECT_EQ(PackZELField(kOdd, &value, 2, out, end, 2), nullptr);
    EXPECT_EQ(PackZELField(kHighest + 1, &value, 2, out, end, 0), nullptr);
    EXPECT_EQ(PackZELField(kHighest + 1, nullptr, 0, out, end, 0), nullptr);
    EXPECT_EQ(reports_.TakeText(),
              "1027 Invalid Field[50], FieldType[12] received; 1027 Invalid Field[561], FieldType[65535] received; "
              "1027 Invalid Field[561], Type[-1]");
    unsigned short length = 0;
    const Reader in{out, end};
    EXPECT_EQ(UnpackZELField(0, in, out, 16, &length, 0), -1);
    EXPECT_EQ(UnpackZELField(kSide, {nullptr, nullptr}, out, 16, &length, 0), -1);
    EXPECT_EQ(UnpackZELField(kSide, in, nullptr, 16, &length, 0), -1);
    EXPECT_EQ(UnpackZELField(kSide, in, out, 16, nullptr, 0), -1);
    EXPECT_EQ(reports_.Take(), Lines(4, "1001 UnpackZELField() failed"));
    EXPECT_EQ(UnpackZELField(kSide, in, out, 16, &length, 3), -1);
    EXPECT_EQ(UnpackZELField(kOdd, in, out, 16, &length, 0), -1);
    EXPECT_EQ(reports_.TakeText(), "1426 Invalid ZEL Format; 1027 Invalid Field Type[12] received");
}

TEST_F(FieldCodec, StepsOverFields) {
    for (const Cells& row : ReadCases("tests/core/cases/field_steps.txt", 6)) {
        const ExactCopy bytes(FromHex(row[1]));
        Reader reader{bytes.data.get(), bytes.data.get() + bytes.size};
        const Step step = GetNextField(reader, static_cast<short>(std::stoi(row[2])));
        EXPECT_EQ(static_cast<int>(step), std::stoi(row[3])) << row[0];
        EXPECT_EQ(reader.next, step == Step::kLost ? nullptr : bytes.data.get() + std::stoi(row[4])) << row[0];
        EXPECT_EQ(reports_.TakeText(), row[5]) << row[0];
    }
    Reader null{nullptr, nullptr};
    EXPECT_EQ(GetNextField(null, 0), Step::kLost);
    EXPECT_EQ(reports_.TakeText(), "1001 UnpackZELFieldId() failed; 1413 GetNextField() failed");
}

}  // namespace
}  // namespace zel::test
