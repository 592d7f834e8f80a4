// Tables of text, and the colours that a terminal gets.
#ifndef ZEL_TOOLS_TEXT_TEXT_TABLE_H
#define ZEL_TOOLS_TEXT_TEXT_TABLE_H

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace zel::tools {

// How output looks: plain and of any width unless a terminal shows it.
struct Style {
    bool color = false;
    std::size_t width = 0;  // columns; 0: as many as it takes
};

[[nodiscard]] Style OutputStyle();

enum class Highlight { kBold, kRed, kGreen, kYellow };

// The text, highlighted when the style has colours.
[[nodiscard]] std::string Highlighted(const Style& style, Highlight highlight, const std::string& text);

struct Table {
    std::vector<std::string> heads;
    std::vector<std::vector<std::string>> rows;  // each with as many cells as there are heads
};

// Columns of digits are right-aligned. On a terminal the last column is broken where the terminal ends.
void PrintTable(std::ostream& out, Table table, const Style& style);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_TEXT_TABLE_H
