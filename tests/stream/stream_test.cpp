#include <gtest/gtest.h>

#include "tests/stream/open_stream.h"
#include "tests/support/bytes.h"
#include "tests/support/failing_heap.h"

namespace zel::test {
namespace {

TEST(Stream, WritesEveryValueAndReadsItBack) {
    OpenStream stream(16384);
    EXPECT_EQ(ToHex(Bytes(stream)), "00 02");
    EXPECT_EQ(stream.PutShort(-2), 0);
    EXPECT_EQ(stream.PutLong(0x12345678), 0);
    EXPECT_EQ(stream.PutLong(static_cast<long>(0xFFFFFFFF80000001)), 0);
    EXPECT_EQ(stream.PutInt(1), 0);
    EXPECT_EQ(stream.PutFloat(1.0F), 0);
    EXPECT_EQ(stream.PutDouble(-2.5), 0);
    EXPECT_EQ(stream.PutDateTime({30, 11, 99, 9, 5, 7, 0, 3}), 0);
    EXPECT_EQ(stream.PutMoney({-123456, 562}), 0);
    EXPECT_EQ(stream.PutString("", 0), 0);
    EXPECT_EQ(stream.PutString("A\0B", 3), 0);
    EXPECT_EQ(stream.PutString("A", -1), -1);
    EXPECT_EQ(stream.PutString(nullptr, 1), -1);
    EXPECT_EQ(ToHex(Bytes(stream)),
              "00 31 FF FE 12 34 56 78 80 00 00 01 00 00 00 01 00 00 80 3F 00 00 00 00 00 00 04 C0 "
              "1E 0B 63 09 05 07 00 03 FF FE 1D C0 02 32 00 00 00 03 41 00 42");
    short shortValue = 0;
    long longValue = 0;
    int intValue = 0;
    float floatValue = 0;
    double doubleValue = 0;
    _datetime dateTime{};
    _money money{};
    char text[65535];
    EXPECT_EQ(stream.GetShort(shortValue), 0);
    EXPECT_EQ(shortValue, -2);
    EXPECT_EQ(stream.GetLong(longValue), 0);
    EXPECT_EQ(longValue, 0x12345678);
    EXPECT_EQ(stream.GetLong(longValue), 0);
    EXPECT_EQ(longValue, -0x7FFFFFFF);
    EXPECT_EQ(stream.GetInt(intValue), 0);
    EXPECT_EQ(intValue, 1);
    EXPECT_EQ(stream.GetFloat(floatValue), 0);
    EXPECT_EQ(floatValue, 1.0F);
    EXPECT_EQ(stream.GetDouble(doubleValue), 0);
    EXPECT_EQ(doubleValue, -2.5);
    EXPECT_EQ(stream.GetDateTime(dateTime), 0);
    EXPECT_EQ(dateTime.day, 30);
    EXPECT_EQ(dateTime.kind, 3);
    EXPECT_EQ(stream.GetMoney(money), 0);
    EXPECT_EQ(money.amount, -123456);
    EXPECT_EQ(money.displayCode, 562);
    EXPECT_EQ(stream.GetString(text, intValue), 0);
    EXPECT_EQ(intValue, 0);
    EXPECT_EQ(stream.GetString(text, intValue), 0);
    EXPECT_EQ(std::string(text, 3), std::string("A\0B", 3));
    EXPECT_EQ(stream.GetShort(shortValue), -1);
    EXPECT_EQ(stream.ReadAt(), stream.Used());
}

TEST(Stream, GrowsByWholeBlocksWhenItMust) {
    OpenStream stream(8);
    EXPECT_EQ(stream.PutShort(7), 0);
    EXPECT_EQ(stream.PutInt(8), 0);
    EXPECT_EQ(stream.Room(), 8) << "what just fits does not grow";
    short number = 0;
    EXPECT_EQ(stream.GetShort(number), 0);
    EXPECT_EQ(stream.PutShort(9), 0);
    EXPECT_EQ(stream.Room(), 16);
    EXPECT_EQ(stream.ReadAt(), 2);
    EXPECT_EQ(stream.PutString("0123456789012345678", 19), 0) << "as many blocks as it takes";
    EXPECT_EQ(stream.Room(), 32);
    EXPECT_EQ(stream.blockCount, 4U);
    EXPECT_EQ(Bytes(stream), FromHex("00 1F 00 07 00 00 00 08 00 09 00 13") + "0123456789012345678");
}

TEST(Stream, FailedGrowthKeepsTheBlock) {
    const int blocks = LiveBlocks();
    {
        OpenStream stream(8);
        EXPECT_EQ(stream.PutInt(1), 0);
        int number = 0;
        EXPECT_EQ(stream.GetInt(number), 0);
        FailAllocationsFrom(1);
        EXPECT_EQ(stream.PutInt(2), -1);
        EXPECT_EQ(stream.PutString("0123456789", 10), -1);
        FailAllocationsFrom(0);
        EXPECT_EQ(stream.blockCount, 3U);
        EXPECT_EQ(stream.Room(), 8);
        EXPECT_EQ(stream.ReadAt(), 6);
        EXPECT_EQ(ToHex(Bytes(stream)), "00 06 00 00 00 01");
        const OpenStream copy(stream);
        EXPECT_EQ(copy.Room(), 24);
        EXPECT_EQ(stream.PutInt(3), 0);
        EXPECT_EQ(stream.Room(), 32) << "one block more than was asked for last";
        EXPECT_EQ(ToHex(Bytes(stream)), "00 0A 00 00 00 01 00 00 00 03");
    }
    EXPECT_EQ(LiveBlocks(), blocks);
}

TEST(Stream, SizesThatOverflowFail) {
    OpenStream stream(8);
    EXPECT_EQ(stream.PutInt(1), 0);
    stream.blockSize = 0x40000000;
    EXPECT_EQ(stream.Grow(), -1) << "2 to the power of 31 bytes";
    stream.blockSize = 0x10000;
    stream.blockCount = 0xFFFF;
    EXPECT_EQ(stream.Grow(), -1) << "wraps to 0 in 32 bits";
    stream.blockCount = UINT32_MAX;
    EXPECT_EQ(stream.Grow(), -1);
    EXPECT_EQ(stream.blockCount, UINT32_MAX);
    EXPECT_EQ(ToHex(Bytes(stream)), "00 06 00 00 00 01");
    EXPECT_EQ(OpenStream(stream).buffer, nullptr);
    for (const int size : {-1, 0, 1, INT_MIN}) {
        OpenStream none(size);
        EXPECT_EQ(none.buffer, nullptr) << size;
        EXPECT_EQ(none.PutShort(1), -1);
    }
    OpenStream least(2);
    EXPECT_EQ(least.PutShort(1), 0);
    EXPECT_EQ(ToHex(Bytes(least)), "00 04 00 01");
}

TEST(Stream, UnwriteKeepsTheLengthWordAndOneByte) {
    OpenStream stream(64);
    EXPECT_EQ(stream.PutInt(1), 0);
    for (const int refused : {4, 5, 1000, INT_MAX, -1, INT_MIN}) {
        stream.Unwrite(refused);
        EXPECT_EQ(stream.Used(), 6) << refused;
    }
    stream.Unwrite(3);
    EXPECT_EQ(stream.Used(), 3);
}

TEST(Stream, ReadsNothingBehindTheData) {
    OpenStream stream(64);
    EXPECT_EQ(stream.PutString("ABC", 3), 0);
    stream.Unwrite(1);
    char out[65535];
    int length = 0;
    EXPECT_EQ(stream.GetString(out, length), -1);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(stream.ReadAt(), 4) << "past the length";
    int number = 5;
    EXPECT_EQ(stream.GetInt(number), -1);
    EXPECT_EQ(number, 5);
    EXPECT_EQ(stream.ReadAt(), 4);
}

TEST(Stream, LoadsAndCopies) {
    OpenStream stream(8);
    const ExactCopy bytes(FromHex("00 0A 01 02 03 04 05 06 07 08"));
    EXPECT_EQ(stream.SetStream(bytes.data.get(), 9), -1) << "not what the header says";
    EXPECT_EQ(stream.SetStream(bytes.data.get(), 1), -1);
    EXPECT_EQ(stream.SetStream(nullptr, 10), -1);
    EXPECT_EQ(stream.Used(), 2);
    EXPECT_EQ(stream.SetStream(bytes.data.get(), 10), 0);
    EXPECT_EQ(stream.Room(), 16);
    EXPECT_EQ(stream.PutShort(9), 0);
    OpenStream copy(stream);
    EXPECT_EQ(ToHex({copy.buffer, 12}), "00 0C 01 02 03 04 05 06 07 08 00 09") << "the source was finished";
    EXPECT_EQ(ToHex({stream.buffer, 2}), "00 0C");
    EXPECT_EQ(copy.start, copy.buffer);
    EXPECT_EQ(copy.ReadAt(), 2);
    FailAllocationsFrom(1);
    copy = stream;
    FailAllocationsFrom(0);
    EXPECT_EQ(copy.buffer, nullptr);
    EXPECT_EQ(copy.writePos, nullptr);
    EXPECT_EQ(copy.GetStream(), nullptr);
    EXPECT_EQ(copy.SetStream(bytes.data.get(), 10), -1);
    EXPECT_EQ(copy.Grow(), -1);
    stream = copy;
    EXPECT_EQ(stream.buffer, nullptr);
}

}  // namespace
}  // namespace zel::test
