#include "convert/money.h"

#include <array>
#include <climits>
#include <map>

#include "tests/support/cases.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

using Parts = std::array<long, 3>;  // whole, numerator, denominator

struct Known {
    long denominator;
    short type;
};

TEST(DisplayCodes, All65536KeepTheirDenominatorAndType) {
    const std::map<int, Known> known{{1, {1, 1}},    {2, {2, 5}},     {4, {4, 5}},      {8, {8, 5}},      {16, {16, 5}},
                                     {32, {32, 5}},  {64, {64, 5}},   {128, {128, 5}},  {256, {256, 5}},  {10, {10, 3}},
                                     {20, {100, 3}}, {30, {1000, 3}}, {40, {10000, 3}}, {50, {100000, 3}}};
    RecordedReports reports;
    for (int code = 0; code <= 0xFFFF; ++code) {
        const auto entry = known.find(code);
        const bool large = code >= 512;
        // The denominator of large forms goes by the unsigned code, the type by the signed one.
        const Known expected =
            entry != known.end() ? entry->second : Known{0, static_cast<short>(large && code < 32768 ? 3 : 0)};
        const _money money{-1234567, static_cast<short>(code)};
        Parts parts{77, 77, 77};
        ASSERT_EQ(GetDenominatorType(money.displayCode), expected.type) << code;
        ASSERT_EQ(DisplayCodeToDenominator(money.displayCode), expected.denominator) << code;
        const int result = ZELUnformatMoney(&money, parts.data(), &parts[1], &parts[2]);
        const bool valid = large || expected.denominator != 0;
        const std::string report = "1462 Invalid DisplayCode[" + std::to_string(code) + "] in MONEY Data";
        ASSERT_EQ(reports.Take(), valid ? Lines{} : Lines{report});
        ASSERT_EQ(result, valid ? 0 : -1) << code;
        if (large) {
            ASSERT_EQ(parts, (Parts{-1234567, code - 512, 100})) << code;
        } else if (valid) {
            ASSERT_EQ(DenominatorToDisplayCode(parts[2]), code);
            ASSERT_EQ(parts, (Parts{-1234567 / parts[2], -1234567 % parts[2], parts[2]})) << code;
        } else {
            ASSERT_EQ(parts, (Parts{77, 77, 0})) << code;
        }
    }
}

TEST(DisplayCodes, OtherDenominatorsHaveNone) {
    int found = 0;
    std::vector<long> binary;
    for (long denominator = -1000; denominator <= 1000001; ++denominator) {
        found += DenominatorToDisplayCode(denominator) != 0 ? 1 : 0;
        if (IsBinaryDenominator(denominator) == 0) {
            binary.push_back(denominator);
        }
    }
    EXPECT_EQ(found, 14);
    EXPECT_EQ(binary, (std::vector<long>{1, 2, 4, 8, 16, 32, 64, 128, 256}));
    EXPECT_EQ(IsBinaryDenominator(INT_MIN), -1);
}

TEST(ZELFormatMoney, Cases) {
    RecordedReports reports;
    for (const Cells& row : ReadCases("tests/convert/cases/format_money.txt", 6)) {
        const bool valid = !row[4].empty();
        _money money{-9, -9};
        EXPECT_EQ(ZELFormatMoney(row.Number<long>(1), row.Number<long>(2), row.Number<long>(3), &money), valid ? 0 : -1)
            << row[0];
        EXPECT_EQ(money.amount, valid ? row.Number<long>(4) : -9) << row[0];
        EXPECT_EQ(money.displayCode, valid ? row.Number<long>(5) : -9) << row[0];
    }
    EXPECT_EQ(ZELFormatMoney(1, 0, 3, nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines{});
    EXPECT_EQ(ZELFormatMoney(1, 0, 1, nullptr), -1);
    EXPECT_EQ(ZELFormatMoney(25000000, 0, 100, nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines(2, "1001 ZELFormatMoney failed"));
}

TEST(ZELUnformatMoney, RefusesNull) {
    RecordedReports reports;
    const _money money{1, 1};
    long part = 0;
    EXPECT_EQ(ZELUnformatMoney(nullptr, &part, &part, &part), -1);
    EXPECT_EQ(ZELUnformatMoney(&money, nullptr, &part, &part), -1);
    EXPECT_EQ(ZELUnformatMoney(&money, &part, nullptr, &part), -1);
    EXPECT_EQ(ZELUnformatMoney(&money, &part, &part, nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines(4, "1001 ZELunformatMoney failed"));
}

}  // namespace
}  // namespace zel::test
