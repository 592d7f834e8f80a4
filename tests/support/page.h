// Pages of docs/ beside what is tested: bytes that they show, tables, and blocks of C++ that stand in a source.
#ifndef ZEL_TESTS_SUPPORT_PAGE_H
#define ZEL_TESTS_SUPPORT_PAGE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/bytes.h"
#include "tests/support/cases.h"

namespace zel::test {

using PageLines = std::vector<std::string>;

// The lines of a file of the sources without their indentation, those that are empty or include something left out.
inline PageLines LinesOf(const std::string& path) {
    std::ifstream file(ZEL_SOURCE_DIR "/" + path);
    PageLines lines;
    for (std::string line; std::getline(file, line);) {
        line.erase(0, line.find_first_not_of(' '));
        if (!line.empty() && !line.starts_with("#include")) {
            lines.push_back(line);
        }
    }
    return lines;
}

// The bytes in the page's indented blocks: the hex of each line, without the remark after two blanks.
inline std::string DocumentedBytes(const std::string& path) {
    std::ifstream file(ZEL_SOURCE_DIR "/" + path);
    std::string bytes;
    for (std::string line; std::getline(file, line);) {
        bytes += line.starts_with("    ") ? FromHex(line.substr(4, line.find("  ", 4) - 4)) : "";
    }
    return bytes;
}

// How many blocks of C++ the page has. Each must stand in one of the sources.
inline int CountBlocks(const std::string& path, const std::vector<std::string>& sources) {
    PageLines here;
    for (const std::string& source : sources) {
        const PageLines lines = LinesOf(source);
        here.insert(here.end(), lines.begin(), lines.end());
    }
    const PageLines page = LinesOf(path);
    int count = 0;
    for (auto start = page.begin(); (start = std::find(start, page.end(), "```cpp")) != page.end();) {
        const auto end = std::find(++start, page.end(), "```");
        EXPECT_NE(std::search(here.begin(), here.end(), start, end), here.end()) << path << ": " << *start;
        ++count;
    }
    return count;
}

// The rows of the table with this head, each as its cells, without the marks around code.
inline std::vector<Cells> TableOf(const std::string& path, const std::string& head) {
    const PageLines page = LinesOf(path);
    std::vector<Cells> rows;
    auto line = std::find(page.begin(), page.end(), head);
    EXPECT_NE(line, page.end()) << head;
    for (line += line == page.end() ? 0 : 2; line != page.end() && line->starts_with("| "); ++line) {
        Cells cells;
        for (std::size_t at = 2, end = 0; (end = line->find(" |", at)) != std::string::npos; at = end + 3) {
            const std::size_t mark = (*line)[at] == '`' ? 1 : 0;
            cells.push_back(line->substr(at + mark, end - at - 2 * mark));
        }
        EXPECT_EQ(cells.size() + 1, static_cast<std::size_t>(std::count(head.begin(), head.end(), '|'))) << *line;
        rows.push_back(cells);
    }
    EXPECT_GT(rows.size(), 1U) << head;
    return rows;
}

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_PAGE_H
