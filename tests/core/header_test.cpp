#include "core/header.h"

#include <gtest/gtest.h>

#include "core/frame.h"
#include "core/message_model.h"
#include "tests/support/bytes.h"
#include "tests/support/failing_heap.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

constexpr char kExample[] =
    "00 01 01 02 00 02 00 0A 00 03 00 03 00 01 00 02 00 04 00 07 01 01 00 05 00 02 00 06 00 00 00 00";

ZelMsgStruct ExampleHeader() {
    ZelMsgStruct header{};
    header.msgType = 10;
    header.subType = 3;
    header.serviceIdHigh = 1;
    header.serviceIdLow = 2;
    header.packFlags = 1;
    header.version = 2;
    header.msgIdSeq = 7;
    header.msgIdPart2 = 1;
    header.msgIdPart3 = 1;
    header.numFields = 2;
    return header;
}

std::string Build(const ZelMsgStruct& header) {
    char out[128];
    unsigned short length = 0;
    const char* end = BuildZELHeader(&header, out, &length);
    EXPECT_EQ(end, out + length);
    return ToHex({out, length});
}

TEST(Header, BuildsAndUnpacksTheExample) {
    TestTables tables;
    EXPECT_EQ(Build(ExampleHeader()), kExample);
    const ExactCopy bytes(FromHex(kExample));
    ZelMsgStruct header{};
    const Reader rest = UnpackZELHeader(bytes.data.get(), 32, &header);
    EXPECT_EQ(rest.next, bytes.data.get() + 32);
    EXPECT_EQ(Remaining(rest), 0U);
    EXPECT_EQ(header.varUserDataLen, 4);
    EXPECT_EQ(Build(header), kExample) << "a number received goes out as a number";
}

TEST(Header, WritesWhatTheMembersHold) {
    TestTables tables;
    char user[] = "abc";
    struct Row {
        const char* name;
        void (*change)(ZelMsgStruct&, char*);
        std::size_t offset;
        const char* bytes;
    };
    const Row rows[] = {
        {"a negative half borrows",
         [](ZelMsgStruct& h, char*) {
             h.msgType = 5;
             h.subType = -1;
         },
         4, "00 02 00 04 FF FF"},
        {"service id likewise",
         [](ZelMsgStruct& h, char*) {
             h.serviceIdHigh = -1;
             h.serviceIdLow = -1;
         },
         10, "00 03 FF FE FF FF"},
        {"nibbles",
         [](ZelMsgStruct& h, char*) {
             h.encryptFlag = 15;
             h.packFlags = 5;
             h.format = 2;
             h.version = 3;
         },
         0, "00 01 F5 23"},
        {"nibbles spill", [](ZelMsgStruct& h, char*) { h.version = 18; }, 0, "00 01 01 12"},
        {"message id",
         [](ZelMsgStruct& h, char*) {
             h.msgIdSeq = 0xFFFF;
             h.msgIdPart2 = 2;
             h.msgIdPart3 = 0x101;
         },
         16, "00 04 FF FF 03 01"},
        {"user data", [](ZelMsgStruct& h, char*) { h.userData = -2; }, 26, "00 06 FF FF FF FE"},
        {"variable, short",
         [](ZelMsgStruct& h, char* u) {
             h.varUserData = u;
             h.varUserDataLen = 3;
         },
         26, "00 07 00 03 61 62 63"},
        {"variable, empty", [](ZelMsgStruct& h, char* u) { h.varUserData = u; }, 26, "00 07 00 00"},
        {"variable, none", [](ZelMsgStruct& h, char*) { h.varUserDataLen = 5; }, 26, "00 07 00 00"},
    };
    for (const Row& row : rows) {
        ZelMsgStruct header = ExampleHeader();
        row.change(header, user);
        char out[64];
        unsigned short length = 0;
        ASSERT_NE(BuildZELHeader(&header, out, &length), nullptr) << row.name;
        const std::size_t size = FromHex(row.bytes).size();
        EXPECT_EQ(ToHex({out + row.offset, size}), row.bytes) << row.name;
        EXPECT_EQ(length, row.offset == 26 ? 26 + size : 32) << row.name;
        // What was written reads back, spilled bits where they lie; a borrow is not undone, so it borrows again.
        ZelMsgStruct back{};
        const ExactCopy bytes({out, length});
        ASSERT_NE(UnpackZELHeader(bytes.data.get(), length, &back).next, nullptr) << row.name;
        const bool borrows = row.offset == 4 || row.offset == 10;
        EXPECT_EQ(Build(back) == ToHex({out, length}), !borrows) << row.name;
        FreeVarUserData(back);
    }
}

TEST(Header, ReportsTheFieldThatFails) {
    struct Row {
        const char* name;
        const char* bytes;
        Lines reports;
    };
    const std::string cutId = "1001 UnpackZELFieldId() failed";
    const Row rows[] = {
        {"wrong first", "00 02 00 0A 00 03", {"1413 ZEL_HDR_FLAGS"}},
        {"order", "00 01 01 02 00 03 00 01 00 02", {"1413 ZEL_HDR_MSG_TYPE"}},
        {"field 5 missing",
         "00 01 01 02 00 02 00 0A 00 03 00 03 00 01 00 02 00 04 00 07 01 01 00 06 00 00 00 00",
         {"1413 ZEL_HDR_NUMFIELDS"}},
        {"neither 6 nor 7",
         "00 01 01 02 00 02 00 0A 00 03 00 03 00 01 00 02 00 04 00 07 01 01 00 05 00 02 00 08 00 00 00 00",
         {"1413 ZEL_HDR_USER_DATA"}},
        {"flags cut", "00 01 01", {"1427 ZEL_HDR_FLAGS"}},
        {"id cut", "00 01 01 02 00", {cutId, "1413 ZEL_HDR_MSG_TYPE"}},
        {"variable user data cut",
         "00 01 01 02 00 02 00 0A 00 03 00 03 00 01 00 02 00 04 00 07 01 01 00 05 00 02 00 07 00 03 61 62",
         {"1427 ZEL_HDR_VAR_USER_DATA"}},
    };
    TestTables tables;
    RecordedReports reports;
    for (const Row& row : rows) {
        const ExactCopy bytes(FromHex(row.bytes));
        ZelMsgStruct header{};
        EXPECT_EQ(UnpackZELHeader(bytes.data.get(), static_cast<long>(bytes.size), &header).next, nullptr) << row.name;
        EXPECT_EQ(reports.Take(), row.reports) << row.name;
    }
    for (std::size_t size = 1; size < 32; ++size) {
        const ExactCopy cut(FromHex(kExample).substr(0, size));
        ZelMsgStruct header{};
        EXPECT_EQ(UnpackZELHeader(cut.data.get(), static_cast<long>(size), &header).next, nullptr) << size;
    }
    reports.Take();
    ZelMsgStruct header{};
    const ExactCopy bytes(FromHex(kExample));
    EXPECT_EQ(UnpackZELHeader(nullptr, 32, &header).next, nullptr);
    EXPECT_EQ(UnpackZELHeader(bytes.data.get(), 0, &header).next, nullptr);
    EXPECT_EQ(UnpackZELHeader(bytes.data.get(), 0x10000, &header).next, nullptr) << "the low 16 bits are looked at";
    EXPECT_EQ(UnpackZELHeader(bytes.data.get(), 32, nullptr).next, nullptr);
    EXPECT_EQ(reports.Take(), Lines(4, "1001 UnpackZELHeader() failed"));
    EXPECT_EQ(UnpackZELHeader(bytes.data.get(), -1, &header).next, nullptr);
    EXPECT_EQ(reports.Take(), (Lines{cutId, "1413 ZEL_HDR_FLAGS"}));
    char out[64];
    unsigned short length = 0;
    EXPECT_EQ(BuildZELHeader(nullptr, out, &length), nullptr);
    EXPECT_EQ(BuildZELHeader(&header, nullptr, &length), nullptr);
    EXPECT_EQ(BuildZELHeader(&header, out, nullptr), nullptr);
    EXPECT_EQ(reports.Take(), Lines(3, "1001 BuildZELHeader() failed"));
    // A dictionary that gives a header field another width must not make the library read or write by it.
    tables.Field(4).type = kZELText;
    EXPECT_EQ(BuildZELHeader(&header, out, &length), nullptr);
    EXPECT_EQ(UnpackZELHeader(bytes.data.get(), 32, &header).next, nullptr);
    EXPECT_EQ(reports.Take(), (Lines{"1417 ZEL_HDR_MSGID", "1427 ZEL_HDR_MSGID"}));
}

TEST(Header, GivesUpWithoutMemoryForUserData) {
    TestTables tables;
    RecordedReports reports;
    ZelMsgStruct header = ExampleHeader();
    char user[] = "abcdef";
    header.varUserData = user;
    header.varUserDataLen = 6;
    const std::string bytes = FromHex(Build(header));
    ZelMsgStruct back{};
    FailAllocationsFrom(1);
    EXPECT_EQ(UnpackZELHeader(bytes.data(), static_cast<long>(bytes.size()), &back).next, nullptr);
    FailAllocationsFrom(0);
    EXPECT_EQ(reports.Take(), Lines{"12 Malloc for VarUserData failed"});
    EXPECT_EQ(back.varUserDataOwned, 0);
}

TEST(Frame, WritesAndReadsBothForms) {
    struct Row {
        long length;
        short format;
        int result;
        const char* bytes;
        long readBack;
    };
    const Row rows[] = {
        {41, 1, 0, "01 10 29 00", 41},       {0x01020304, 3, 0, "01 30 04 03 02 01", 0x01020304},
        {32767, 1, 0, "01 10 FF 7F", 32767}, {40000, 1, -1, "01 10 40 9C", -25536},
        {5, 0, 0, "01 00 05 00 00 00", 5},   {-1, 3, 0, "01 30 FF FF FF FF", -1},
    };
    RecordedReports reports;
    for (const Row& row : rows) {
        char out[6];
        EXPECT_EQ(WriteFrame(row.length, row.format, out), row.result);
        const std::size_t size = row.format == 1 ? 4 : 6;
        EXPECT_EQ(ToHex({out, size}), row.bytes);
        const ExactCopy bytes({out, size});
        long length = 0;
        short format = 99;
        EXPECT_EQ(ReadFrame(bytes.data.get(), &length, &format), 0);
        EXPECT_EQ(length, row.readBack);
        EXPECT_EQ(format, row.format);
    }
    long length = 7;
    short format = 8;
    EXPECT_EQ(ReadFrame("\x02\x30\0\0\0\0", &length, &format), -1);
    EXPECT_EQ(reports.Take(), Lines{"1005 SOH not in header"});
    EXPECT_TRUE(length == 7 && format == 8);
}

}  // namespace
}  // namespace zel::test
