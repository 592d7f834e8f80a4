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
    EXPECT_EQ(money.amount, valid ? row.Number<long>(1) : -9) << row[0];
    EXPECT_EQ(money.displayCode, valid ? row.Number<long>(2) : -9) << row[0];
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

}  // namespace
}  // namespace zel::test
