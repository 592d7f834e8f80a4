// Tables of cases in text files: one row a line, its cells between "|" and taken as they stand. Lines that start with
// "#" are left out.
#ifndef ZEL_TESTS_SUPPORT_CASES_H
#define ZEL_TESTS_SUPPORT_CASES_H

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace zel::test {

using Cells = std::vector<std::string>;

inline Cells SplitCells(const std::string& line) {
    Cells cells{""};
    for (const char c : line) {
        if (c == '|') {
            cells.emplace_back();
        } else {
            cells.back() += c;
        }
    }
    return cells;
}

// The rows of a file below the sources, each with this number of cells.
inline std::vector<Cells> ReadCases(const std::string& path, std::size_t cellCount) {
    std::ifstream file(std::string(ZEL_SOURCE_DIR "/") + path);
    std::vector<Cells> rows;
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with('#')) {
            rows.push_back(SplitCells(line));
            EXPECT_EQ(rows.back().size(), cellCount) << path << ": " << line;
        }
    }
    EXPECT_FALSE(rows.empty()) << path;
    return rows;
}

// Mostly characters that tell a parser something, sometimes any byte but 0.
inline std::string RandomText(std::mt19937& random, std::size_t longest, std::string_view telling) {
    std::string text(random() % (longest + 1), '\0');
    for (char& c : text) {
        c = random() % 8 != 0 ? telling[random() % telling.size()] : static_cast<char>(random() % 255 + 1);
    }
    return text;
}

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_CASES_H
