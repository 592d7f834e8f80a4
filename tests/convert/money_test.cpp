#include "convert/money.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>

#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

TEST(DisplayCodes, All65536KeepTheirDenominatorAndType) {
    const std::map<int, std::pair<long, short>> known{
        {1, {1, 1}},    {2, {2, 5}},     {4, {4, 5}},      {8, {8, 5}},      {16, {16, 5}},
        {32, {32, 5}},  {64, {64, 5}},   {128, {128, 5}},  {256, {256, 5}},  {10, {10, 3}},
        {20, {100, 3}}, {30, {1000, 3}}, {40, {10000, 3}}, {50, {100000, 3}}};
    RecordedReports reports;
    for (int code = 0; code <= 0xFFFF; ++code) {
        const auto displayCode = static_cast<short>(code);
        const auto entry = known.find(code);
        const bool large = code >= 512;
        const _money money{-1234567, displayCode};
        long whole = 77;
        long numerator = 77;
        long denominator = 77;
        const int result = ZELUnformatMoney(&money, &whole, &numerator, &denominator);
        if (entry == known.end() && !large) {
            ASSERT_EQ(result, -1) << code;
            ASSERT_EQ(denominator, 0) << code;
            ASSERT_EQ(whole, 77) << code;
            ASSERT_EQ(reports.Take(), Lines{"1462 Invalid DisplayCode[" + std::to_string(code) + "] in MONEY Data"});
            ASSERT_EQ(GetDenominatorType(displayCode), 0) << code;
            ASSERT_EQ(DisplayCodeToDenominator(displayCode), 0) << code;
            continue;
        }
        ASSERT_EQ(result, 0) << code;
        ASSERT_EQ(reports.Take(), Lines{}) << code;
        if (large) {
            // Taken apart by the unsigned code, typed by the signed one.
            ASSERT_EQ(GetDenominatorType(displayCode), code < 32768 ? 3 : 0) << code;
            ASSERT_EQ(DisplayCodeToDenominator(displayCode), 0) << code;
            ASSERT_TRUE(whole == -1234567 && numerator == code - 512 && denominator == 100) << code;
            continue;
        }
        const long divisor = entry->second.first;
        ASSERT_EQ(GetDenominatorType(displayCode), entry->second.second) << code;
        ASSERT_EQ(DisplayCodeToDenominator(displayCode), divisor) << code;
        ASSERT_EQ(DenominatorToDisplayCode(divisor), code);
        ASSERT_TRUE(whole == -1234567 / divisor && numerator == -1234567 % divisor && denominator == divisor) << code;
    }
}

TEST(DisplayCodes, OtherDenominatorsHaveNone) {
    int found = 0;
    int binary = 0;
    for (long denominator = -1000; denominator <= 1000001; ++denominator) {
        found += DenominatorToDisplayCode(denominator) != 0 ? 1 : 0;
        binary += IsBinaryDenominator(denominator) == 0 ? 1 : 0;
    }
    EXPECT_EQ(found, 14);
    EXPECT_EQ(binary, 9);
    for (const long denominator : {1L, 2L, 4L, 8L, 16L, 32L, 64L, 128L, 256L}) {
        EXPECT_EQ(IsBinaryDenominator(denominator), 0);
    }
    EXPECT_EQ(IsBinaryDenominator(INT_MIN), -1);
    EXPECT_EQ(DenominatorToDisplayCode(INT_MIN), 0);
}

TEST(ZELFormatMoney, Table) {
    const struct {
        const char* name;
        long whole, numerator, denominator;
        int result;
        ZELLong amount;
        int code;
    } rows[] = {
        {"whole", 7, 0, 1, 0, 7, 1},
        {"numerator above", 1, 3, 2, -1, 0, 0},
        {"numerator below, negative", 1, -3, 2, -1, 0, 0},
        {"numerator equal", 1, 2, 2, 0, 4, 2},
        {"numerator equal, negative", 1, -2, 2, 0, 0, 2},
        {"unknown denominator", 1, 0, 3, -1, 0, 0},
        {"denominator 0", 1, 0, 0, -1, 0, 0},
        {"large", 25000000, 50, 100, 0, 25000000, 562},
        {"last that is not large", 20000000, 50, 100, 0, 2000000050, 20},
        {"first large", 20000001, 0, 100, 0, 20000001, 512},
        {"last below that is not large", -20000000, -50, 100, 0, -2000000050, 20},
        {"large, negative", -20000001, 0, 100, 0, -20000001, 512},
        {"large with a negative numerator", -25000000, -50, 100, 0, -25000000, 462},
        {"large takes any numerator", 20000001, 5000, 100, 0, 20000001, 5512},
        {"the code of the large form wraps", 20000001, 65536, 100, 0, 20000001, 512},
        {"large numerator that wraps", 20000001, INT_MAX, 100, 0, 20000001, 511},
        {"only hundredths are large", 25000000, 5, 10, 0, 250000005, 10},
        {"product wraps", INT_MAX, 1, 2, 0, -1, 2},
        {"sum wraps", INT_MAX, 1, 1, 0, INT_MIN, 1},
        {"most negative whole", INT_MIN, 0, 256, 0, 0, 256},
        {"the magnitude of the most negative numerator wraps", 0, INT_MIN, 2, 0, INT_MIN, 2},
    };
    RecordedReports reports;
    for (const auto& row : rows) {
        _money money{-9, -9};
        EXPECT_EQ(ZELFormatMoney(row.whole, row.numerator, row.denominator, &money), row.result) << row.name;
        EXPECT_EQ(money.amount, row.result == 0 ? row.amount : -9) << row.name;
        EXPECT_EQ(money.displayCode, row.result == 0 ? row.code : -9) << row.name;
    }
    EXPECT_EQ(reports.Take(), Lines{});
    EXPECT_EQ(ZELFormatMoney(1, 0, 1, nullptr), -1);
    EXPECT_EQ(ZELFormatMoney(25000000, 0, 100, nullptr), -1);
    EXPECT_EQ(reports.Take(), (Lines{"1001 ZELFormatMoney failed", "1001 ZELFormatMoney failed"}));
    EXPECT_EQ(ZELFormatMoney(1, 0, 3, nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines{});
}

TEST(ZELUnformatMoney, DividesTowardsZeroAndRefusesNull) {
    RecordedReports reports;
    long whole = 0;
    long numerator = 0;
    long denominator = 0;
    for (const auto& [amount, first, second] : {std::tuple{-150, -1, -50}, {-50, 0, -50}, {INT_MIN, -21474836, -48}}) {
        const _money money{amount, 20};
        ASSERT_EQ(ZELUnformatMoney(&money, &whole, &numerator, &denominator), 0);
        EXPECT_TRUE(whole == first && numerator == second && denominator == 100) << amount;
    }
    const _money money{1, 1};
    EXPECT_EQ(ZELUnformatMoney(nullptr, &whole, &numerator, &denominator), -1);
    EXPECT_EQ(ZELUnformatMoney(&money, nullptr, &numerator, &denominator), -1);
    EXPECT_EQ(ZELUnformatMoney(&money, &whole, nullptr, &denominator), -1);
    EXPECT_EQ(ZELUnformatMoney(&money, &whole, &numerator, nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines(4, "1001 ZELunformatMoney failed"));
}

}  // namespace
}  // namespace zel::test
