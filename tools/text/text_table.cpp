#include "tools/text/text_table.h"

#include <algorithm>

#include "runtime/digits.h"
#include "tools/io/terminal.h"
#include "tools/text/complaint.h"
#include "tools/text/wrapped_text.h"

namespace zel::tools {

namespace {

constexpr std::size_t kGap = 2;

// The last column is broken into lines of as many columns at least; on a terminal without room for them nothing is.
constexpr std::size_t kLeastWrapped = 16;

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

// A cell after the columns before it, whose line may go on below them.
std::string Wrapped(const std::string& cell, std::size_t start, std::size_t width) {
    if (width < start + kLeastWrapped || start + Columns(cell) <= width) {
        return cell;
    }
    std::string wrapped = Wrap(cell, width - start);
    for (std::size_t at = wrapped.find('\n'); at != std::string::npos; at = wrapped.find('\n', at + 1)) {
        wrapped.insert(at + 1, start, ' ');
    }
    return wrapped;
}

std::string Line(const std::vector<std::string>& cells, const std::vector<Column>& columns, const Style& style) {
    std::string line;
    std::size_t start = 0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string padding(columns[i].width - Columns(cells[i]), ' ');
        const bool isLast = i + 1 == cells.size();
        line += columns[i].isNumeric ? padding + cells[i]
                : isLast             ? Wrapped(cells[i], start, style.width)
                                     : cells[i] + padding;
        line += isLast ? "" : std::string(kGap, ' ');
        start += columns[i].width + kGap;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
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

void PrintTable(std::ostream& out, Table table, const Style& style) {
    for (std::vector<std::string>& row : table.rows) {
        std::transform(row.begin(), row.end(), row.begin(), Printable);
    }
    const std::vector<Column> columns = Measure(table);
    out << Highlighted(style, Highlight::kBold, Line(table.heads, columns, style)) << '\n';
    for (const std::vector<std::string>& row : table.rows) {
        out << Line(row, columns, style) << '\n';
    }
}

}  // namespace zel::tools
