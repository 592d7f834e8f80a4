// The buffer under filters and sort data, step by step in small blocks.
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "tests/stream/open_stream.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/failing_heap.h"

namespace zel::test {
namespace {

std::string State(const OpenStream& stream) {
    EXPECT_EQ(stream.start, stream.buffer);
    std::string state;
    for (const std::int64_t number :
         std::initializer_list<std::int64_t>{stream.Used(), stream.ReadAt(), stream.Room(), stream.blockCount}) {
        state += state.empty() ? "" : " ";
        state += std::to_string(number);
    }
    return stream.buffer != nullptr ? state : stream.writePos == nullptr ? "none" : "a position without a block";
}

TEST(Stream, DoesEachStep) {
    const int blocks = LiveBlocks();
    {
        OpenStream stream;
        OpenStream other;
        int number = 0;
        short small = 0;
        char text[65535];
        const auto shown = [](int result, const auto& read) {
            return result == 0 ? std::to_string(read) : result == -1 ? "refused" : "another answer";
        };
        const auto read = [](const std::string& argument) {
            return static_cast<int>(std::stoll(argument, nullptr, 0));
        };
        using Operation = std::function<std::string(const std::string&)>;
        const std::map<std::string, Operation> operations{
            {"init", [&](auto& argument) { return stream.InitStream(read(argument)), ""; }},
            {"block size",
             [&](auto& argument) { return stream.blockSize = static_cast<unsigned>(read(argument)), ""; }},
            {"blocks", [&](auto& argument) { return stream.blockCount = static_cast<unsigned>(read(argument)), ""; }},
            {"heap fails", [&](auto& argument) { return FailAllocationsFrom(read(argument)), ""; }},
            {"unwrite", [&](auto& argument) { return stream.Unwrite(read(argument)), ""; }},
            {"short", [&](auto& argument) { return shown(stream.PutShort(static_cast<short>(read(argument))), 0); }},
            {"int", [&](auto& argument) { return shown(stream.PutInt(read(argument)), 0); }},
            {"text",
             [&](auto& argument) {
                 return shown(stream.PutString(argument.data(), static_cast<int>(argument.size())), 0);
             }},
            {"grow", [&](auto&) { return shown(stream.Grow(), 0); }},
            {"read short", [&](auto&) { return shown(stream.GetShort(small), small); }},
            {"read int", [&](auto&) { return shown(stream.GetInt(number), number); }},
            {"read text",
             [&](auto&) {
                 const int result = stream.GetString(text, number);
                 return result == 0 ? std::string(text, static_cast<std::size_t>(number))
                                    : shown(result, 0) + ", length " + std::to_string(number);
             }},
            {"load",
             [&](auto& argument) {
                 const ExactCopy bytes(FromHex(argument));
                 return shown(stream.SetStream(bytes.data.get(), static_cast<int>(bytes.size)), 0);
             }},
            {"copy and go on with that",
             [&](auto&) {
                 other = OpenStream(stream);
                 stream = other;
                 other = static_cast<const OpenStream&>(other);
                 EXPECT_EQ(Bytes(other), Bytes(stream));
                 return stream.buffer != nullptr ? ToHex({stream.buffer, 2}) : "none";
             }},
            {"finish", [&](auto&) { return ToHex(Bytes(stream)); }},
        };
        for (const Cells& row : ReadCases("tests/stream/cases/steps.txt", 4)) {
            ASSERT_TRUE(operations.contains(row[0])) << row[0];
            EXPECT_EQ(operations.at(row[0])(row[1]), row[2]) << row[0] << " " << row[1] << " -> " << row[3];
            EXPECT_EQ(State(stream), row[3]) << row[0] << " " << row[1];
        }
        FailAllocationsFrom(0);
        EXPECT_EQ(stream.SetStream(nullptr, 10), -1);
    }
    EXPECT_EQ(LiveBlocks(), blocks);
}

}  // namespace
}  // namespace zel::test
