#include "convert/money_parse.h"

#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

void ExpectMoney(const Cells& row, const std::string& report, int (*parse)(const char*, _money*) noexcept) {
    RecordedReports reports;
    // Where the stricter parser has its own report, it refuses the text.
    const bool valid = !row[1].empty() && report.empty();
    _money money{-9, -9};
    EXPECT_EQ(reports.With(parse(row[0].c_str(), &money)), (valid ? "0" : "-1") + (report.empty() ? "" : ": " + report))
        << row[0];
    EXPECT_EQ(money.amount, valid ? std::stol(row[1]) : -9) << row[0];
    EXPECT_EQ(money.displayCode, valid ? std::stol(row[2]) : -9) << row[0];
}

TEST(ZELStrToMoney, Cases) {
    std::vector<Cells> rows = ReadCases("tests/convert/cases/money.txt", 5);
    const std::string spaces(100, ' ');
    const std::string ones(5000, '1');
    rows.push_back({spaces + "12" + spaces, "12", "1", "", "="});
    rows.push_back({"\t\377\2627\n", "7", "1", "", "="});
    // A report cuts long texts.
    rows.push_back({ones, "", "", "1467 Invalid Money Format: " + ones.substr(0, 191 - 22), "="});
    for (const Cells& row : rows) {
        ExpectMoney(row, row[3], ZELStrToMoney);
        ExpectMoney(row, row[4] == "=" ? row[3] : row[4], ZELStrToMoneyStrict);
    }
    RecordedReports reports;
    EXPECT_EQ(reports.With(ZELStrToMoney(nullptr, nullptr)), "-1");
    EXPECT_EQ(reports.With(ZELStrToMoney("1", nullptr)), "-1: 1001 ZELFormatMoney failed");
}

TEST(ZELCompareMoneyStr, RoundsTheSecondToSinglePrecision) {
    struct Row {
        const char* first;
        const char* second;
        int result;
    };
    // 16777217 is not a float, and the float nearest to 0.1 is greater than 0.1.
    for (const Row& row : {Row{"1 1/2", "1.5", 0},
                           {"-1.5", "1.5", -1},
                           {"2", "1.5", 1},
                           {"-2", "-1.5", -1},
                           {"25000000.50", "25000000", 1},
                           {"16777216", "16777217", 0},
                           {"16777217", "16777217", 1},
                           {"0.1", "0.1", -1},
                           {"1/3", "1", -2},
                           {"1", "1/3", -2},
                           {nullptr, "1", -2},
                           {"1", nullptr, -2},
                           {"-25000000.50", "1", -2},
                           {"1", "-25000000.50", -2}}) {
        EXPECT_EQ(ZELCompareMoneyStr(row.first, row.second), row.result)
            << testing::PrintToString(row.first) << ", " << testing::PrintToString(row.second);
    }
}

}  // namespace
}  // namespace zel::test
