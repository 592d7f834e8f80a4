#include "include/zelmessage.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

constexpr _datetime kBefore{7, 7, 7, 7, 7, 7, 7, 2};
constexpr char kUntouched[] = "07 07 07 07 07 07 07 02";
constexpr char kNotBuilt[] = "-1: 1001 ZELFormatDateTime failed";

std::string Bytes(const _datetime& value) {
    return ToHex({reinterpret_cast<const char*>(&value), sizeof value});
}

TEST(ZELStrToDate, Cases) {
    RecordedReports reports;
    for (const Cells& row : ReadCases("tests/convert/cases/dates.txt", 4)) {
        _datetime value = kBefore;
        const std::string result = reports.With(ZELStrToDate(row[1].c_str(), &value, row.Number<short>(0)));
        EXPECT_EQ(result, (row[2].empty() ? "-1" : "0") + (row[3].empty() ? "" : ": " + row[3]))
            << row[1] << " format " << row[0];
        EXPECT_EQ(Bytes(value), row[2].empty() ? kUntouched : row[2]) << row[1] << " format " << row[0];
    }
    _datetime value = kBefore;
    EXPECT_EQ(reports.With(ZELStrToDate(nullptr, &value, 12)), "-1");
    EXPECT_EQ(reports.With(ZELStrToDate("113099", nullptr, 0)), kNotBuilt);
    // A report cuts long texts.
    const std::string longText(5000, 'x');
    EXPECT_EQ(reports.With(ZELStrToDate(longText.c_str(), &value, 0)),
              "0: 1463 Invalid Date Format: " + longText.substr(0, 191 - 21));
}

TEST(ZELStrToTime, Cases) {
    RecordedReports reports;
    for (const Cells& row : ReadCases("tests/convert/cases/times.txt", 3)) {
        const std::string result = (row[1].empty() ? "-1" : "0") + (row[2].empty() ? "" : ": " + row[2]);
        _datetime value = kBefore;
        EXPECT_EQ(reports.With(ZELStrToTime(row[0].c_str(), &value)), result) << row[0];
        EXPECT_EQ(Bytes(value), row[1].empty() ? kUntouched : "00 00 00 " + row[1] + " 00 02") << row[0];
        value = kBefore;
        EXPECT_EQ(reports.With(ZELAddStrToTime(row[0].c_str(), &value)), result) << row[0];
        EXPECT_EQ(Bytes(value), row[1].empty() ? kUntouched : "07 07 07 " + row[1] + " 00 03") << row[0];
    }
    _datetime value = kBefore;
    EXPECT_EQ(reports.With(ZELStrToTime(nullptr, &value)), "-1");
    EXPECT_EQ(reports.With(ZELAddStrToTime(nullptr, &value)), "-1");
    EXPECT_EQ(reports.With(ZELStrToTime("0905", nullptr)), kNotBuilt);
}

}  // namespace
}  // namespace zel::test
