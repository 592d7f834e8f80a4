#include <gtest/gtest.h>

#include <new>
#include <string>
#include <thread>
#include <tuple>

#include "include/zelmessage.h"
#include "runtime/allocator.h"
#include "runtime/bounded.h"
#include "runtime/reports.h"
#include "tests/support/bytes.h"
#include "tests/support/failing_heap.h"

namespace zel::test {
namespace {

int handlerCalls = 0;

TEST(Allocator, RetriesThroughTheNewHandler) {
    const int live = LiveBlocks();
    FailAllocationsFrom(1);
    EXPECT_EQ(Allocate(10), nullptr);
    EXPECT_EQ(AllocationCount(), 1) << "without a handler there is one try";
    handlerCalls = 0;
    std::set_new_handler([] {
        if (++handlerCalls == 3) {
            FailAllocationsFrom(0);
        }
    });
    void* block = AllocateZeroed(10);
    EXPECT_EQ(handlerCalls, 3);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(static_cast<char*>(block), 10), std::string(10, '\0'));
    ZELFree(block);
    ZELFree(nullptr);
    // A handler may throw to give up; the exception does not leave the library.
    FailAllocationsFrom(1);
    std::set_new_handler([] { throw std::bad_alloc(); });
    EXPECT_EQ(Allocate(10), nullptr);
    std::set_new_handler(nullptr);
    FailAllocationsFrom(0);
    void* nothing = Allocate(0);
    EXPECT_NE(nothing, nullptr);
    Release(nothing);
    EXPECT_EQ(LiveBlocks(), live);
}

TEST(Bounded, FailedCallsMoveNothing) {
    const std::string bytes = FromHex("12 34 56");
    Reader reader{bytes.data(), bytes.data() + 3};
    std::uint16_t value = 7;
    const char* taken = nullptr;
    EXPECT_FALSE(Take(reader, 4, taken));
    EXPECT_FALSE(Skip(reader, SIZE_MAX));
    EXPECT_TRUE(ReadU16Be(reader, value));
    EXPECT_EQ(value, 0x1234);
    EXPECT_FALSE(ReadU16Be(reader, value));
    EXPECT_EQ(std::tuple(value, Remaining(reader)), std::tuple(0x1234, 1));
    EXPECT_TRUE(Take(reader, 1, taken));
    EXPECT_EQ(taken, bytes.data() + 2);
    char out[7] = "??????";
    Writer writer{out, out + 6};
    EXPECT_FALSE(WriteZeros(writer, 7));
    EXPECT_TRUE(WriteZeros(writer, 3));
    EXPECT_TRUE(WriteU16Be(writer, 0x0506));
    char* room = nullptr;
    EXPECT_FALSE(WriteU16Be(writer, 7));
    EXPECT_FALSE(Reserve(writer, SIZE_MAX, room));
    EXPECT_TRUE(Reserve(writer, 1, room));
    EXPECT_EQ(room, out + 5);
    EXPECT_EQ(ToHex({out, 6}), "00 00 00 05 06 3F");
}

TEST(ErrorSink, ReturnsTheOneBefore) {
    int context = 0;
    const ZELErrorSink count = [](int code, const char* /*text*/, void* counter) {
        *static_cast<int*>(counter) += code;
    };
    EXPECT_EQ(ZELSetErrorSink(count, &context), nullptr);
    SetError(5, nullptr, "text");
    EXPECT_EQ(ZELSetErrorSink(nullptr, nullptr), count);
    SetError(7, nullptr, "no sink");
    EXPECT_EQ(context, 5);
}

TEST(Listeners, HearOneAnotherAndTheirOwnThread) {
    std::string heard[3];
    const auto hear = [](int code, int fieldId, const char* text, void* to) {
        *static_cast<std::string*>(to) += std::to_string(code) + ' ' + std::to_string(fieldId) + ' ' + text + ';';
    };
    ZELListener outer{hear, &heard[0], nullptr};
    ZELListener inner{hear, &heard[1], nullptr};
    ZELListener other{hear, &heard[2], nullptr};
    ZELListener once{[](int /*code*/, int /*fieldId*/, const char* /*text*/, void* self) {
                         ZELEndListening(static_cast<ZELListener*>(self));
                         static_cast<ZELListener*>(self)->outer = nullptr;
                     },
                     &once, nullptr};
    ZELBeginListening(&outer);
    ZELBeginListening(&inner);
    ZELBeginListening(&once);
    std::thread([&] {
        ZELBeginListening(&other);
        SendReport(reports::kNoSoh);
        ZELEndListening(&other);
    }).join();
    SendReportWith(reports::kFieldUnpackable, 7);
    ZELEndListening(&inner);
    SendReport(reports::kNoDictionary);
    ZELEndListening(&outer);
    SendReport(reports::kNoSoh);
    EXPECT_EQ(heard[0], "1417 7 FieldId[7];1412 0 Data Dictionary not initialized in shared memory;");
    EXPECT_EQ(heard[1], "1417 7 FieldId[7];");
    EXPECT_EQ(heard[2], "1005 0 SOH not in header;");
}

}  // namespace
}  // namespace zel::test
