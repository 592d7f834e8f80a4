// The buffer of filters and sort data, step by step, with small blocks.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>
#include <optional>

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
        std::optional<OpenStream> held(std::in_place);
        int number = 0;
        std::uint32_t count = 0;
        short small = 0;
        const auto shown = [](int result, const auto& read) {
            return result == 0 ? std::to_string(read) : result == -1 ? "refused" : "another result";
        };
        const auto read = [](const std::string& argument) {
            return static_cast<int>(std::stoll(argument, nullptr, 0));
        };
        using Operation = std::function<std::string(OpenStream&, const std::string&)>;
        const std::map<std::string, Operation> operations{
            {"init", [&](auto&, auto& argument) { return held.emplace().InitStream(read(argument)), ""; }},
            {"block size",
             [&](auto& on, auto& argument) { return on.blockSize = static_cast<unsigned>(read(argument)), ""; }},
            {"blocks",
             [&](auto& on, auto& argument) { return on.blockCount = static_cast<unsigned>(read(argument)), ""; }},
            {"heap fails", [&](auto&, auto& argument) { return FailAllocationsFrom(read(argument)), ""; }},
            {"unwrite", [&](auto& on, auto& argument) { return StreamBuffer::Unwrite(on, read(argument)), ""; }},
            {"short",
             [&](auto& on, auto& argument) {
                 return shown(StreamBuffer::Put(on, static_cast<short>(read(argument))), 0);
             }},
            {"int", [&](auto& on, auto& argument) { return shown(StreamBuffer::Put(on, read(argument)), 0); }},
            {"text",
             [&](auto& on, auto& argument) {
                 return shown(StreamBuffer::Put(on, argument.data(), static_cast<int>(argument.size())), 0);
             }},
            {"reserve count", [&](auto& on, auto&) { return StreamBuffer::ReserveCount(on), ""; }},
            {"grow", [&](auto& on, auto&) { return shown(StreamBuffer::Grow(on), 0); }},
            {"read short", [&](auto& on, auto&) { return shown(StreamBuffer::Get(on, small), small); }},
            {"read int", [&](auto& on, auto&) { return shown(StreamBuffer::Get(on, number), number); }},
            {"read text",
             [&](auto& on, auto&) {
                 const char* text = nullptr;
                 const int result = StreamBuffer::Get(on, text, number);
                 return result == 0 ? std::string(text, static_cast<std::size_t>(number))
                                    : shown(result, 0) + ", length " + std::to_string(number);
             }},
            {"load",
             [&](auto& on, auto& argument) {
                 const ExactCopy bytes(FromHex(argument));
                 const auto size = static_cast<int>(bytes.size);
                 return shown(StreamBuffer::SetStream(on, count, bytes.data.get(), size), count);
             }},
            {"finish", [&](auto& on, auto&) { return ToHex(Bytes(on)); }},
        };
        for (const Cells& row : ReadCases("tests/stream/cases/steps.txt", 4)) {
            ASSERT_TRUE(operations.contains(row[0])) << row[0];
            EXPECT_EQ(operations.at(row[0])(*held, row[1]), row[2]) << row[0] << " " << row[1] << " -> " << row[3];
            EXPECT_EQ(State(*held), row[3]) << row[0] << " " << row[1];
        }
        FailAllocationsFrom(0);
    }
    EXPECT_EQ(LiveBlocks(), blocks);
}

// Constructors from older headers call it on storage that was not cleared.
TEST(Stream, InitStreamIgnoresOldContents) {
    const int blocks = LiveBlocks();
    const std::string positions(4 * sizeof(char*), '\xAB');
    OpenSort sent;
    EXPECT_EQ(sent.AddSortData(101, 1), 0);
    for (const bool isOut : {false, true}) {
        alignas(OpenSort) char storage[sizeof(OpenSort)];
        std::memset(storage, 0xAB, sizeof storage);
        auto& sort = reinterpret_cast<OpenSort&>(storage);
        FailAllocationsFrom(isOut ? 1 : 0);
        sort.InitStream(16384);
        FailAllocationsFrom(0);
        EXPECT_EQ(sort.buffer == nullptr, isOut);
        EXPECT_EQ(std::string(storage + sizeof(char*), positions.size()) == positions, isOut);
        StreamBuffer::ReserveCount(sort);
        sort.Rewind();
        EXPECT_EQ(sort.SetStream(sent.GetStream(), sent.GetLength()), isOut ? -1 : 0);
        OpenSort copy(sort);
        EXPECT_EQ(Bytes(copy), isOut ? "" : Bytes(sent));
        sort = sent;
        EXPECT_EQ(Bytes(sort), Bytes(sent));
        sort.~OpenSort();
    }
    EXPECT_EQ(LiveBlocks(), blocks + 1);
}

}  // namespace
}  // namespace zel::test
