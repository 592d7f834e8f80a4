#include "convert/fraction.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "convert/money_double.h"
#include "convert/text.h"
#include "tests/support/failing_heap.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

TEST(FindGCF, Table) {
    const struct {
        long a, b, factor;
    } rows[] = {
        {12, 8, 4},
        {8, 12, 4},
        {7, 0, 7},
        {0, 10, 10},
        {-5, 10, 10},
        {10, -3, 10},
        {-7, -1, -7},
        {INT_MIN, -1, INT_MIN},
        {INT_MIN, 1, 1},
        {INT_MIN, INT_MAX, INT_MAX},
        {5, INT_MIN, 5},
        {0, 0, 0},
        {17, 13, 1},
        {375, 1000, 125},
        {INT_MAX, INT_MAX, INT_MAX},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(FindGCF(row.a, row.b), row.factor) << row.a << ", " << row.b;
    }
}

TEST(ConvertDecimalToFraction, Table) {
    const struct {
        const char* text;
        const char* fraction;
        const char* report;
    } rows[] = {
        {"0.375", "3/8", ""},
        {".5", "1/2", ""},
        {"2.50", "2 1/2", ""},
        {"5.5", "5 1/2", ""},
        {"12.125", "12 1/8", ""},
        {"1.0", "1", ""},
        {"5.0", "5", ""},
        {"0.0", "0/1", ""},
        {"0.3", "3/10", ""},
        {"0.12345", nullptr, ""},
        {"0.00001", "1/100000", ""},
        {"21474.00001", "21474 1/100000", ""},
        {"0.2", nullptr, ""},
        {"0.04", nullptr, ""},
        {"3 5/10", "3 1/2", ""},
        {"25000000.50", "25000000 1/2", ""},
        {"25000000 5000/100", nullptr, ""},
        {"-5.5", "-5", ""},
        {"-0.5", "0/1", ""},
        {"-5.0", "-5", ""},
        {"3", nullptr, ""},
        {"1 1/2", nullptr, ""},
        {"abc", nullptr, ""},
        {nullptr, nullptr, ""},
        {"1 2.5", nullptr, ""},
        {"-25000000.50", nullptr, "1462 Invalid DisplayCode[462] in MONEY Data"},
        {"1/2/3/4", nullptr, "1467 Invalid Money Format: 1/2/3/4"},
    };
    RecordedReports reports;
    const int before = LiveBlocks();
    for (const auto& row : rows) {
        const char* name = row.text == nullptr ? "null" : row.text;
        char* text = ConvertDecimalToFraction(row.text);
        if (row.fraction == nullptr) {
            EXPECT_EQ(text, nullptr) << name;
        } else {
            ASSERT_NE(text, nullptr) << name;
            EXPECT_STREQ(text, row.fraction) << name;
            EXPECT_EQ(text[31], '\0') << name;
        }
        ZELFree(text);
        EXPECT_EQ(reports.Take(), *row.report == '\0' ? Lines{} : Lines{row.report}) << name;
    }
    EXPECT_EQ(LiveBlocks(), before);
    FailAllocationsFrom(1);
    EXPECT_EQ(ConvertDecimalToFraction("0.5"), nullptr);
    FailAllocationsFrom(0);
}

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(DoubleToMoney, Table) {
    const struct {
        double value;
        int result;
        ZELLong amount;
        int code;
    } rows[] = {
        {3.5, 0, 35, 10},
        {3.0, 0, 3, 1},
        {0.0, 0, 0, 1},
        {-0.0, 0, 0, 1},
        {100.0, 0, 100, 1},
        {0.1, 0, 1, 10},
        {-0.25, 0, -25, 20},
        {-12.375, 0, -12375, 30},
        {0.000001, 0, 0, 50},
        {0.0000001, 0, 0, 1},
        {12345678.123456, 0, 123456781, 10},
        {123456789.5, 0, 123456789, 1},
        {-12345678.5, 0, -12345678, 1},
        {25000000.25, 0, 250000002, 10},
        {1e300, 0, 1000000000, 1},
        {std::numeric_limits<double>::max(), 0, 1797693134, 1},
        {std::numeric_limits<double>::lowest(), 0, -179769313, 1},
        {std::numeric_limits<double>::denorm_min(), 0, 0, 1},
        {kInfinity, -1, -9, -9},
        {-kInfinity, -1, -9, -9},
        {std::numeric_limits<double>::quiet_NaN(), -1, -9, -9},
    };
    for (const auto& row : rows) {
        _money money{-9, -9};
        EXPECT_EQ(DoubleToMoney(row.value, &money), row.result) << row.value;
        EXPECT_EQ(money.amount, row.amount) << row.value;
        EXPECT_EQ(money.displayCode, row.code) << row.value;
    }
    std::fesetround(FE_UPWARD);
    _money money{};
    EXPECT_EQ(DoubleToMoney(0.3000001, &money), 0);
    std::fesetround(FE_TONEAREST);
    EXPECT_TRUE(money.amount == 3 && money.displayCode == 10);
}

TEST(DoubleToMoney, RandomNumbersAsTheCLibraryPrintsThem) {
    std::mt19937_64 random(3);
    for (int i = 0; i < 100000; ++i) {
        const double value =
            std::ldexp(static_cast<double>(static_cast<std::int64_t>(random())), -32 - static_cast<int>(random() % 32));
        char printed[64];
        std::snprintf(printed, sizeof printed, "%.6f", value);
        std::string text = printed;
        text.resize(std::min<std::size_t>(text.find_last_not_of('0') + 1, 10));
        text.resize(text.back() == '.' ? text.size() - 1 : text.size());
        _money money{};
        _money expected{};
        ASSERT_EQ(DoubleToMoney(value, &money), ZELStrToMoney(text.c_str(), &expected)) << printed;
        ASSERT_TRUE(money.amount == expected.amount && money.displayCode == expected.displayCode) << printed;
    }
}

TEST(BinaryMoney, Table) {
    const struct {
        _money from;
        int result;
        _money to;
    } rows[] = {
        {{3375, 30}, 0, {27, 8}},
        {{-3375, 30}, 0, {-27, 8}},
        {{-50, 20}, 0, {-1, 2}},
        {{300, 20}, 0, {3, 1}},
        {{7, 1}, 0, {7, 1}},
        {{4, 8}, 0, {1, 2}},
        {{25000000, 562}, 0, {50000001, 2}},
        {{1, 10}, -1, {1, 10}},
        {{25000000, 662}, -1, {25000000, 662}},
        {{5, 3}, -1, {5, 3}},
        {{INT_MIN, 2}, 0, {-1073741824, 1}},
    };
    for (const auto& row : rows) {
        _money money = row.from;
        EXPECT_EQ(MoneyToBinaryMoney(&money), row.result) << row.from.amount;
        EXPECT_TRUE(money.amount == row.to.amount && money.displayCode == row.to.displayCode) << row.from.amount;
    }
    EXPECT_EQ(MoneyToBinaryMoney(nullptr), -1);
    _money money{};
    EXPECT_EQ(DoubleToBinaryMoney(3.375, &money), 0);
    EXPECT_TRUE(money.amount == 27 && money.displayCode == 8);
    EXPECT_EQ(DoubleToBinaryMoney(-0.5, &money), 0);
    EXPECT_TRUE(money.amount == -1 && money.displayCode == 2);
    EXPECT_EQ(DoubleToBinaryMoney(0.1, &money), -1);
    EXPECT_EQ(DoubleToBinaryMoney(kInfinity, &money), -1);
    EXPECT_EQ(DoubleToBinaryMoney(1.5, nullptr), -1);
}

TEST(MoneyToDecimalStr, AsTheCLibraryPrintsTheValue) {
    std::mt19937 random(8);
    for (int i = 0; i < 100000; ++i) {
        constexpr short kCodes[] = {1, 2, 8, 256, 10, 20, 30, 40, 50, 545, -1, 3};
        const _money money{static_cast<ZELLong>(i == 0 ? INT_MIN : static_cast<int>(random())), kCodes[random() % 12]};
        double value = -9;
        char text[kDecimalTextSize];
        char printed[64];
        ASSERT_EQ(MoneyToDouble(&money, &value), money.displayCode == 3 ? -1 : 0);
        ASSERT_EQ(MoneyToDecimalStr(&money, text), money.displayCode == 3 ? -1 : 0);
        std::snprintf(printed, sizeof printed, "%.8f", value);
        if (money.displayCode != 3) {
            ASSERT_STREQ(text, printed);
        } else {
            ASSERT_EQ(value, -9);
        }
    }
    double value = 0;
    const _money money{-150, 20};
    ASSERT_EQ(MoneyToDouble(&money, &value), 0);
    EXPECT_EQ(value, -1.5);
}

TEST(Text, TrimsAppendsAndReadsNumbers) {
    char text[32] = "old";
    TrimSpaces(nullptr, text);
    EXPECT_STREQ(text, "old");
    TrimSpaces(" x ", nullptr);
    TrimSpaces("   ", text);
    EXPECT_STREQ(text, "");
    TrimSpaces("  a b\t  ", text);
    EXPECT_STREQ(text, "a b\t");
    AppendChar(text, '!');
    EXPECT_STREQ(text, "a b\t!");
    for (const char* number : {"", "-", "  ", " -", "12", "  -12", "00000000000000000009"}) {
        EXPECT_EQ(IsSignedNumber(number), 1) << number;
    }
    for (const char* other : {"+1", "--1", "1 ", "- 1", "1-", "\t1", "1x", "\xB2"}) {
        EXPECT_EQ(IsSignedNumber(other), 0) << other;
    }
    const std::pair<const char*, std::int32_t> numbers[] = {{"", 0},
                                                            {" -", 0},
                                                            {" -07", -7},
                                                            {"2147483646", INT_MAX - 1},
                                                            {"2147483648", INT_MAX},
                                                            {"-2147483648", -INT_MAX},
                                                            {"99999999999999999999999999", INT_MAX}};
    for (const auto& [number, expected] : numbers) {
        std::int32_t value = 1;
        EXPECT_TRUE(ReadSignedNumber(number, value));
        EXPECT_EQ(value, expected) << number;
    }
    for (const int value : {0, 7, -32768, 32767}) {
        EXPECT_EQ(ShortToStr(static_cast<short>(value), text), 0);
        EXPECT_EQ(text, std::to_string(value));
    }
}

}  // namespace
}  // namespace zel::test
