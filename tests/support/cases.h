// Tables of cases in text files: one row on each line, its cells between "|" and with their spaces. Lines that start
// with "#" are comments.
#ifndef ZEL_TESTS_SUPPORT_CASES_H
#define ZEL_TESTS_SUPPORT_CASES_H

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace zel::test {

struct Cells : std::vector<std::string> {
    using vector::vector;

    template <typename T = int>
    T Number(std::size_t at) const {
        return static_cast<T>(std::stol((*this)[at]));
    }
};

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

// The rows of a file, by its path in the sources. Each must have this number of cells.
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

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_CASES_H
