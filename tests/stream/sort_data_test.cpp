#include <gtest/gtest.h>

#include "tests/stream/open_stream.h"
#include "tests/support/bytes.h"

namespace zel::test {
namespace {

TEST(SortData, BuildsAndReadsKeys) {
    ZELSortData sort;
    EXPECT_EQ(ToHex(Bytes(sort)), "00 04 00 00");
    EXPECT_EQ(sort.AddSortData(101, 1), 0);
    EXPECT_EQ(sort.AddSortData(7, 2), 0);
    EXPECT_EQ(ToHex(Bytes(sort)), "00 0C 00 02 00 65 00 01 00 07 00 02");
    EXPECT_EQ(sort.AddSortData(-1, 0), 0);
    EXPECT_EQ(sort.AddSortData(-1, 0), 0);
    const ExactCopy bytes(Bytes(sort));
    EXPECT_EQ(ToHex({bytes.data.get() + 12, 8}), "FF FF 00 00 FF FF 00 00");
    ZELSortData received;
    EXPECT_EQ(received.SetStream(bytes.data.get(), static_cast<int>(bytes.size)), 0);
    EXPECT_EQ(received.GetCount(), 4);
    SortItem item;
    EXPECT_EQ(item.fieldId, -1);
    EXPECT_EQ(item.sortOrder, 1);
    std::string keys;
    while (received.GetSortItem(item) == 0) {
        keys += std::to_string(item.fieldId) + ":" + std::to_string(item.sortOrder) + " ";
    }
    EXPECT_EQ(keys, "101:1 7:2 -1:0 -1:0 ");
}

TEST(SortData, TakesWholeKeysOnly) {
    struct Row {
        const char* name;
        const char* bytes;
        int result;
    };
    const Row rows[] = {
        {"empty", "00 04 00 00", 0},
        {"one", "00 08 00 01 00 01 00 02", 0},
        {"none counted", "00 08 00 00 00 01 00 02", -1},
        {"two counted", "00 08 00 02 00 01 00 02", -1},
        {"half a key", "00 06 00 01 00 01", -1},
        {"length of less", "00 04 00 01 00 01 00 02", -1},
        {"length of more", "00 09 00 01 00 01 00 02", -1},
        {"no count", "00 02", -1},
        {"nothing", "", -1},
    };
    for (const Row& row : rows) {
        OpenSort sort;
        EXPECT_EQ(sort.AddSortData(9, 9), 0);
        const ExactCopy bytes(FromHex(row.bytes));
        EXPECT_EQ(sort.SetStream(bytes.data.get(), static_cast<int>(bytes.size)), row.result) << row.name;
        EXPECT_EQ(ToHex(Bytes(sort)), row.result == 0 ? row.bytes : "00 08 00 01 00 09 00 09") << row.name;
        EXPECT_EQ(sort.ReadAt(), 4);
    }
}

TEST(SortData, The4096thKeyGrows) {
    OpenSort sort;
    for (int i = 0; i < 4095; ++i) {
        EXPECT_EQ(sort.AddSortData(static_cast<short>(i), 1), 0);
    }
    EXPECT_EQ(sort.Room(), 16384);
    EXPECT_EQ(sort.ReadAt(), 4);
    EXPECT_EQ(sort.AddSortData(4095, 1), 0);
    EXPECT_EQ(sort.Room(), 32768);
    EXPECT_EQ(sort.ReadAt(), 2);
    for (int i = 4096; i < 70000; ++i) {
        EXPECT_EQ(sort.AddSortData(static_cast<short>(i), 1), 0);
    }
    const std::string bytes = Bytes(sort);
    EXPECT_EQ(ToHex(bytes.substr(0, 4)), "45 C4 11 70") << "280004 bytes, 70000 keys";
    ZELSortData received;
    EXPECT_EQ(received.SetStream(bytes.data(), static_cast<int>(bytes.size())), 0);
    received.Rewind();
    SortItem item;
    int keys = 0;
    while (received.GetSortItem(item) == 0 && item.fieldId == static_cast<short>(keys)) {
        ++keys;
    }
    EXPECT_EQ(keys, 70000);
    EXPECT_EQ(received.SetStream(bytes.data(), static_cast<int>(bytes.size()) - 65536), -1);
}

TEST(SortData, ReadsHalfAKey) {
    OpenSort sort;
    EXPECT_EQ(sort.PutShort(5), 0);
    SortItem item;
    EXPECT_EQ(sort.GetSortItem(item), -1);
    EXPECT_EQ(item.fieldId, 5);
    EXPECT_EQ(item.sortOrder, 1);
}

}  // namespace
}  // namespace zel::test
