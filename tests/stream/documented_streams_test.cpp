// The examples in docs/streams.md are what the library writes.
#include <gtest/gtest.h>

#include <fstream>
#include <vector>

#include "tests/stream/open_stream.h"
#include "tests/support/bytes.h"

namespace zel::test {
namespace {

// The indented blocks: of each line the hex before the remark, which stands behind two blanks.
std::vector<std::string> DocumentedBytes() {
    std::ifstream file(ZEL_SOURCE_DIR "/docs/streams.md");
    std::vector<std::string> blocks;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        const bool indented = line.starts_with("    ");
        if (indented && !inside) {
            blocks.emplace_back();
        }
        if (indented) {
            blocks.back() += FromHex(line.substr(4, line.find("  ", 4) - 4));
        }
        inside = indented;
    }
    return blocks;
}

TEST(DocumentedStreams, AreWhatTheLibraryWrites) {
    ZELFilter first;
    first.AddFilter(101, ">=", 5000L);
    first.AddFilter(7, "=", "ABC", 3);
    ZELFilter second;
    second.AddFilter(3, "<", 2.5F);
    second.AddFilter(3, "<=", short{-2});
    ZELSortData sort;
    sort.AddSortData(101, 1);
    sort.AddSortData(7, 2);
    const std::vector<std::string> blocks = DocumentedBytes();
    ASSERT_EQ(blocks.size(), 3U);
    EXPECT_EQ(ToHex(blocks[0]), ToHex(Bytes(first)));
    EXPECT_EQ(ToHex(blocks[1]), ToHex(Bytes(second)));
    EXPECT_EQ(ToHex(blocks[2]), ToHex(Bytes(sort)));
}

}  // namespace
}  // namespace zel::test
