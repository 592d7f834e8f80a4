// Two threads that use one binding, and hear reports each of its own.
#include <gtest/gtest.h>

#include <cstddef>
#include <thread>

#include "include/zelrecord.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

struct Line {
    std::int16_t side;
    ZELView symbol;
};

constexpr ZELMember kMembers[] = {
    {"SIDE", 0, ZEL_INT16, offsetof(Line, side), 2, 0, ZEL_NOWHERE},
    {"SYMBOL", 0, ZEL_VIEW, offsetof(Line, symbol), 0, offsetof(Line, symbol) + sizeof(void*), ZEL_NOWHERE},
};

// What is no message fails with another report in each thread: an id that is not there, and one that is another.
void Work(const ZELBinding* binding, std::int16_t side) {
    for (int round = 0; round < 2000; ++round) {
        const Line sent = {side, {"abcdef", static_cast<std::size_t>(round % 7)}};
        char frame[100];
        std::size_t length = 0;
        ASSERT_EQ(ZELPackRecord(binding, &sent, nullptr, frame, sizeof frame, &length, nullptr), 0);
        Line received{};
        ASSERT_EQ(ZELUnpackRecord(binding, frame, length, &received, nullptr, nullptr), 0);
        ASSERT_EQ(received.side, side);
        ASSERT_EQ(received.symbol.length, sent.symbol.length);
        const int result =
            ZELUnpackRecordNoFrame(binding, "\0\7", static_cast<std::size_t>(side), &received, nullptr, nullptr);
        ASSERT_EQ(result, side == 1 ? ZEL_BAD_CALL : ZEL_ID_UNREADABLE);
    }
}

TEST(SharedBinding, ServesTwoThreads) {
    const TestTables tables;
    const ZELLayout layout = {1, kAllTypes, sizeof(Line), kMembers, 2, nullptr};
    const ZELBinding* binding = nullptr;
    ASSERT_EQ(ZELBind(&layout, &binding, nullptr, 0), 0);
    std::thread one(Work, binding, std::int16_t{1});
    std::thread other(Work, binding, std::int16_t{2});
    one.join();
    other.join();
    ZELFreeBinding(binding);
}

}  // namespace
}  // namespace zel::test
