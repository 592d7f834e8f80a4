// Random programs on filters and sort data, with memory failing at times, against a model that is a byte string and a
// few numbers.
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "tests/stream/open_stream.h"
#include "tests/support/bytes.h"
#include "tests/support/failing_heap.h"

namespace zel::test {
namespace {

constexpr std::size_t kBlock = 16384;

struct Model {
    bool held = true;
    std::string bytes = std::string(4, '\0');
    std::size_t room = kBlock;
    std::size_t blocks = 1;
    std::size_t readAt = 4;
    std::uint32_t count = 0;

    // As many growths as `size` bytes more need, of which `granted` succeed.
    bool Grow(std::size_t size, int granted) {
        while (bytes.size() + size > room) {
            ++blocks;
            if (granted-- <= 0) {
                return false;
            }
            room = blocks * kBlock;
            readAt = 2;
        }
        return true;
    }

    std::string Finished() {
        const auto low = [](std::size_t n) { return std::string{static_cast<char>(n >> 8), static_cast<char>(n)}; };
        return bytes.replace(0, 4, low(bytes.size()) + low(count));
    }
};

class Programs : public ::testing::TestWithParam<unsigned> {
public:
    int Upto(int n) { return std::uniform_int_distribution<int>(0, n)(random_); }

    // What each object and its model are made to do: add, finish, read, copy, assign, load, with memory failing at
    // times.
    template <typename Stream>
    void Run(int (Programs::*append)(Stream&, std::string&)) {
        const int blocks = LiveBlocks();
        {
            std::array<Stream, 3> objects;
            std::array<Model, 3> models;
            for (int step = 0; step < 3000; ++step) {
                const auto at = static_cast<std::size_t>(Upto(2));
                const auto other = static_cast<std::size_t>(Upto(2));
                Stream& object = objects[at];
                Model& model = models[at];
                // 0: all allocations succeed; n: the n-th fails.
                const int failing = Upto(9) == 0 ? 1 + Upto(1) : 0;
                const int granted = failing == 0 ? INT_MAX : failing - 1;
                const int action = Upto(49);
                if (action < 40) {
                    FailAllocationsFrom(failing);
                    std::string added;
                    const int result = (this->*append)(object, added);
                    const bool fits = model.held && model.Grow(added.size(), granted);
                    ASSERT_EQ(result, fits ? 0 : -1);
                    model.bytes += fits ? added : "";
                    model.count += fits ? 1 : 0;
                } else if (action < 42) {
                    FailAllocationsFrom(failing);
                    object = objects[other];
                    if (at != other) {
                        model = models[other];
                        model.held = model.held && granted > 0;
                        model.count = model.held ? model.count : 0;
                    }
                } else if (action < 44 && models[other].held) {
                    const std::string bytes = models[other].Finished();
                    FailAllocationsFrom(failing);
                    const int result = object.SetStream(bytes.data(), static_cast<int>(bytes.size()));
                    const bool fits = model.held && model.Grow(bytes.size() - 4, granted);
                    ASSERT_EQ(result, fits ? 0 : -1);
                    model.bytes = fits ? bytes : model.bytes;
                    model.count = fits ? models[other].count & 0xFFFF : model.count;
                } else if (action < 46) {
                    object.Rewind();
                    model.readAt = 4;
                } else if (action < 47) {
                    FailAllocationsFrom(failing);
                    object = Stream();
                    model = Model();
                    model.held = failing == 0;
                } else {
                    ASSERT_EQ(Bytes(object), model.held ? model.Finished() : "");
                    short number = 0;
                    const bool readable = model.held && model.readAt + 2 <= model.bytes.size();
                    ASSERT_EQ(object.GetShort(number), readable ? 0 : -1);
                    model.readAt += readable ? 2 : 0;
                }
                FailAllocationsFrom(0);
                if (model.held) {
                    ASSERT_EQ(object.start, object.buffer);
                    ASSERT_EQ(static_cast<std::size_t>(object.Room()), model.room);
                    ASSERT_EQ(static_cast<std::size_t>(object.ReadAt()), model.readAt);
                    ASSERT_EQ(std::string_view(object.buffer, model.bytes.size()).substr(4),
                              std::string_view(model.bytes).substr(4));
                    ASSERT_EQ(static_cast<std::size_t>(object.Used()), model.bytes.size());
                }
                ASSERT_EQ(object.buffer != nullptr, model.held);
                ASSERT_EQ(object.blockSize, model.held ? kBlock : UINT32_MAX);
                ASSERT_EQ(object.blockCount, model.held ? model.blocks : 0);
                ASSERT_EQ(object.GetCount(), static_cast<int>(model.count));
            }
        }
        EXPECT_EQ(LiveBlocks(), blocks);
    }

    int AppendTerm(OpenFilter& filter, std::string& added) {
        const std::string text(static_cast<std::size_t>(Upto(9) == 0 ? Upto(40000) : Upto(100)), 'x');
        const auto size = text.size();
        added = FromHex("01 02 00 06") + std::string{static_cast<char>(size >> 8), static_cast<char>(size)} + text;
        return filter.AddFilter(0x0102, "<=", text.data(), static_cast<int>(size));
    }

    int AppendKey(OpenSort& sort, std::string& added) {
        const int order = Upto(65535);
        added = FromHex("00 07") + std::string{static_cast<char>(order >> 8), static_cast<char>(order)};
        return sort.AddSortData(7, static_cast<short>(order));
    }

    std::mt19937 random_{GetParam()};
};

TEST_P(Programs, FiltersDoWhatTheModelDoes) {
    Run<OpenFilter>(&Programs::AppendTerm);
}

TEST_P(Programs, SortDataDoesWhatTheModelDoes) {
    Run<OpenSort>(&Programs::AppendKey);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Programs, ::testing::Values(1U, 2U, 3U, 4U));

}  // namespace
}  // namespace zel::test
