// Checks the examples of docs/values.md.
#include "include/zelvalues.h"
#include "tests/support/cases.h"

namespace zel::test {
namespace {

// The rows of the table below a heading, without its head.
std::vector<Cells> Table(const std::string& heading, std::size_t cellCount) {
    std::ifstream page(ZEL_SOURCE_DIR "/docs/values.md");
    std::vector<Cells> rows;
    bool inSection = false;
    for (std::string line; std::getline(page, line);) {
        inSection = line.starts_with('#') ? line == "## " + heading : inSection;
        if (!inSection || !line.starts_with("| ") || line.find("-|-") != std::string::npos) {
            continue;
        }
        Cells cells = SplitCells(line.substr(1, line.size() - 2));
        for (std::string& cell : cells) {
            cell = cell.substr(1, cell.size() - 2);
            cell = cell.starts_with('`') ? cell.substr(1, cell.size() - 2) : cell;
        }
        EXPECT_EQ(cells.size(), cellCount) << line;
        rows.push_back(cells);
    }
    EXPECT_GT(rows.size(), 1U) << heading;
    rows.erase(rows.begin());
    return rows;
}

TEST(ValuesPage, Money) {
    for (const Cells& row : Table("Display codes", 10)) {
        const _money money{row.Number(4), row.Number<short>(0)};
        long part = 0;
        long denominator = 0;
        EXPECT_EQ(ZELUnformatMoney(&money, &part, &part, &denominator), 0);
        EXPECT_EQ(std::to_string(denominator), row[1]);
        EXPECT_EQ(std::to_string(GetDenominatorType(money.displayCode)), row[2]);
        for (std::size_t format = 0; format < 5; ++format) {
            char text[24] = {};
            EXPECT_EQ(ZELMoneyToStr(&money, text, static_cast<short>(format)), 0);
            EXPECT_EQ(text, row[5 + format]) << row[0];
        }
    }
    for (const Cells& row : Table("Reading money", 3)) {
        _money money{};
        EXPECT_EQ(ZELStrToMoney(row[0].c_str(), &money), 0) << row[0];
        EXPECT_EQ(std::to_string(money.amount), row[1]) << row[0];
        EXPECT_EQ(std::to_string(money.displayCode), row[2]) << row[0];
    }
}

TEST(ValuesPage, DatesAndTimes) {
    const _datetime value{30, 11, 99, 9, 5, 7, 0, 3};
    char text[18];
    for (const Cells& row : Table("Dates", 3)) {
        EXPECT_EQ(ZELDateToStr(&value, text, row.Number<short>(0)), 0);
        EXPECT_EQ(text, row[1]);
        if (row[2] != "none") {
            _datetime back{};
            EXPECT_EQ(ZELStrToDate(text, &back, row.Number<short>(2)), 0);
            EXPECT_EQ(back.day, row[2].ends_with("day 0") ? 0 : 30) << row[1];
            EXPECT_EQ(std::tuple(back.month, back.year), std::tuple(11, 99)) << row[1];
        }
    }
    for (const Cells& row : Table("Times", 2)) {
        EXPECT_EQ(ZELTimeToStr(&value, text, row.Number<short>(0)), 0);
        EXPECT_EQ(text, row[1]);
    }
}

TEST(ValuesPage, Fractions) {
    for (const Cells& row : Table("Decimals as fractions", 2)) {
        char* text = ConvertDecimalToFraction(row[0].c_str());
        EXPECT_EQ(text == nullptr ? "" : text, row[1]);
        ZELFree(text);
    }
}

}  // namespace
}  // namespace zel::test
