#include "core/wire/header.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

#include "core/wire/frame.h"
#include "core/wire/user_data.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

class Header : public testing::Test {
protected:
    static std::string Build(const ZelMsgStruct& header) {
        char out[128];
        unsigned short length = 0;
        const char* end = BuildZELHeader(HeaderRulesInUse(), &header, out, &length);
        EXPECT_EQ(end, out + length);
        return {out, length};
    }
    // The bytes after the header, or null.
    const char* Unpack(const std::string& bytes, long length) {
        const ExactCopy exact(bytes);
        header_ = {};
        const Reader rest = UnpackZELHeader(exact.data.get(), length, &header_);
        return rest.next != nullptr ? bytes.data() + (rest.next - exact.data.get()) : nullptr;
    }
    const char* Unpack(const std::string& bytes) { return Unpack(bytes, static_cast<long>(bytes.size())); }

    TestTables tables_;
    RecordedReports reports_;
    ZelMsgStruct header_{};
};

TEST_F(Header, WritesWhatTheMembersHoldAndReadsItBack) {
    for (const Cells& row : ReadCases("tests/core/cases/header_values.txt", 4)) {
        ZelMsgStruct h{};
        h.numFields = 2;
        std::istringstream(row[1]) >> h.encryptFlag >> h.packFlags >> h.format >> h.version >> h.msgType >> h.subType >>
            h.serviceIdHigh >> h.serviceIdLow >> h.msgIdSeq >> h.msgIdPart2 >> h.msgIdPart3 >> h.userData;
        const std::string written = Build(h);
        const auto offset = row.Number<std::size_t>(2);
        EXPECT_EQ(ToHex(written.substr(offset, FromHex(row[3]).size())), row[3]) << row[0];
        EXPECT_EQ(Unpack(written), written.data() + 32) << row[0];
        // Reading does not undo a borrow, so writing again borrows again.
        EXPECT_EQ(Build(header_) == written, offset != 4 && offset != 10) << row[0];
        EXPECT_EQ(header_.varUserDataLen, 4);
    }
}

TEST_F(Header, SendsVariableUserDataWhereThereIsABuffer) {
    char user[] = "abc";
    const std::tuple<char*, int, const char*> rows[] = {
        {user, 3, "00 07 00 03 61 62 63"}, {user, 0, "00 07 00 00"}, {nullptr, 5, "00 07 00 00"}};
    for (const auto& [data, length, bytes] : rows) {
        header_ = {};
        header_.varUserData = data;
        header_.varUserDataLen = static_cast<unsigned short>(length);
        const std::string written = Build(header_);
        EXPECT_EQ(ToHex(written.substr(26)), bytes);
        ASSERT_NE(Unpack(written), nullptr);
        EXPECT_EQ(Build(header_), written);
        FreeVarUserData(header_);
    }
}

TEST_F(Header, ReportsTheFieldThatFails) {
    for (const Cells& row : ReadCases("tests/core/cases/header_faults.txt", 3)) {
        EXPECT_EQ(Unpack(FromHex(row[1])), nullptr) << row[0];
        EXPECT_EQ(reports_.TakeText(), row[2]) << row[0];
    }
    // Any bit of any id. The lowest of the last one makes it variable user data, which is cut.
    header_ = {};
    header_.userData = 0x01000000;
    const std::string good = Build(header_);
    for (const std::size_t at : {0U, 4U, 10U, 16U, 22U, 26U}) {
        for (unsigned bit = 0; bit < 16; ++bit) {
            std::string bytes = good;
            bytes[at + bit / 8] = static_cast<char>(bytes[at + bit / 8] ^ 1 << bit % 8);
            EXPECT_EQ(Unpack(bytes), nullptr) << at << ", bit " << bit;
        }
    }
    for (std::size_t size = 1; size < good.size(); ++size) {
        EXPECT_EQ(Unpack(good.substr(0, size)), nullptr) << size;
    }
    reports_.Take();
    EXPECT_EQ(UnpackZELHeader(nullptr, 32, &header_).next, nullptr);
    EXPECT_EQ(UnpackZELHeader(good.data(), 32, nullptr).next, nullptr);
    EXPECT_EQ(Unpack(good, 0), nullptr);
    EXPECT_EQ(Unpack(good, 0x10000), nullptr) << "the low 16 bits are looked at";
    EXPECT_EQ(reports_.Take(), Lines(4, "1001 UnpackZELHeader() failed"));
    EXPECT_EQ(Unpack(good, -1), nullptr);
    EXPECT_EQ(reports_.TakeText(), "1001 UnpackZELFieldId() failed; 1413 ZEL_HDR_FLAGS");
    char out[64];
    unsigned short length = 0;
    EXPECT_EQ(BuildZELHeader(HeaderRulesInUse(), nullptr, out, &length), nullptr);
    EXPECT_EQ(BuildZELHeader(HeaderRulesInUse(), &header_, nullptr, &length), nullptr);
    EXPECT_EQ(BuildZELHeader(HeaderRulesInUse(), &header_, out, nullptr), nullptr);
    EXPECT_EQ(reports_.Take(), Lines(3, "1001 BuildZELHeader() failed"));
}

// A dictionary with other rules for a header field must not make the library read or write by them.
TEST_F(Header, IsRefusedWhenTheDictionaryContradictsIt) {
    char userData[] = "six...";
    header_.varUserData = userData;
    header_.varUserDataLen = 6;
    const std::string good = Build(header_);
    for (const Cells& row : ReadCases("tests/core/cases/header_rules.txt", 5)) {
        ZELDictionaryField& field = tables_.ChangeField(row.Number(0));
        const ZELDictionaryField before = field;
        field.type = row.Number<std::uint16_t>(1);
        field.length = row.Number<std::int16_t>(2);
        tables_.Install();
        ZelMsgStruct sent{};
        sent.varUserData = userData;
        sent.varUserDataLen = 6;
        char out[64];
        unsigned short length = 0;
        EXPECT_EQ(BuildZELHeader(HeaderRulesInUse(), &sent, out, &length) != nullptr, row[3].empty()) << row[0];
        EXPECT_EQ(reports_.TakeText(), row[3]) << row[0];
        EXPECT_EQ(Unpack(good) != nullptr, row[4].empty()) << row[0];
        EXPECT_EQ(reports_.TakeText(), row[4]) << row[0];
        FreeVarUserData(header_);
        field = before;
    }
}

TEST(Frame, WritesAndReadsBothForms) {
    RecordedReports reports;
    long length = 7;
    short format = 8;
    EXPECT_EQ(ReadFrame("\x02\x30\0\0\0\0", &length, &format), -1);
    EXPECT_EQ(reports.TakeText(), "1005 SOH not in header");
    EXPECT_EQ(length, 7);
    EXPECT_EQ(format, 8);
    for (const Cells& row : ReadCases("tests/core/cases/frames.txt", 5)) {
        const auto given = row.Number<short>(1);
        const ExactCopy out(std::string(given == 1 ? 4 : 6, '?'));
        EXPECT_EQ(WriteFrame(row.Number<long>(0), given, out.data.get()), row.Number(2)) << row[0];
        EXPECT_EQ(ToHex({out.data.get(), out.size}), row[3]);
        EXPECT_EQ(ReadFrame(out.data.get(), &length, &format), 0);
        EXPECT_EQ(length, row.Number<long>(4)) << row[3];
        EXPECT_EQ(format, given) << row[3];
    }
}

}  // namespace
}  // namespace zel::test
