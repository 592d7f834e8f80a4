#include "tools/text/text_table.h"

#include <algorithm>

#include "runtime/digits.h"
#include "tools/io/terminal.h"

namespace zel::tools {

namespace {

constexpr std::size_t kGap = 2;

bool StartsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

std::size_t Columns(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), StartsCharacter));
}

std::string CutTo(const std::string& text, std::size_t columns) {
    std::size_t shown = 0;
    std::size_t end = 0;
    while (end < text.size() && (shown < columns || !StartsCharacter(text[end]))) {
        shown += StartsCharacter(text[end]) ? 1U : 0U;
        ++end;
    }
    return text.substr(0, end);
}

struct Column {
    std::size_t width;
    bool isNumeric;
};

std::vector<Column> Measure(const Table& table) {
    std::vector<Column> columns;
    for (std::size_t i = 0; i < table.heads.size(); ++i) {
        Column column{Columns(table.heads[i]), !table.rows.empty()};
        for (const std::vector<std::string>& row : table.rows) {
            column.width = std::max(column.width, Columns(row[i]));
            column.isNumeric = column.isNumeric && HasDigitsOnly(row[i]);
        }
        columns.push_back(column);
    }
    return columns;
}

std::string Line(const std::vector<std::string>& cells, const std::vector<Column>& columns, const Style& style) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string padding(columns[i].width - Columns(cells[i]), ' ');
        line += i == 0 ? "" : std::string(kGap, ' ');
        line += columns[i].isNumeric ? padding + cells[i] : cells[i] + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return Printable(style.width == 0 ? line : CutTo(line, style.width));
}

const char* Escape(Highlight highlight) {
    switch (highlight) {
        case Highlight::kBold:
            return "\x1b[1m";
        case Highlight::kRed:
            return "\x1b[31m";
        case Highlight::kGreen:
            return "\x1b[32m";
        case Highlight::kYellow:
            break;
    }
    return "\x1b[33m";
}

}  // namespace

Style OutputStyle() {
    return {TakesColor(Stream::kOutput), static_cast<std::size_t>(TerminalWidth(Stream::kOutput))};
}

std::string Highlighted(const Style& style, Highlight highlight, const std::string& text) {
    return style.color ? Escape(highlight) + text + "\x1b[0m" : text;
}

std::string Printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }, '?');
    return text;
}

void PrintTable(std::ostream& out, const Table& table, const Style& style) {
    const std::vector<Column> columns = Measure(table);
    out << Highlighted(style, Highlight::kBold, Line(table.heads, columns, style)) << '\n';
    for (const std::vector<std::string>& row : table.rows) {
        out << Line(row, columns, style) << '\n';
    }
}

}  // namespace zel::tools
