#include "convert/fraction.h"

#include <cfenv>
#include <climits>
#include <cmath>
#include <limits>
#include <random>

#include "convert/money_double.h"
#include "convert/text.h"
#include "tests/support/cases.h"
#include "tests/support/failing_heap.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

using Limits = std::numeric_limits<double>;

struct Conversion {
    double from;
    _money to;
};

bool Same(const _money& one, const _money& other) {
    return one.amount == other.amount && one.displayCode == other.displayCode;
}

TEST(FindGCF, Table) {
    for (const auto& [a, b, factor] : {std::tuple{12L, 8L, 4L},
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
                                       {INT_MAX, INT_MAX, INT_MAX}}) {
        EXPECT_EQ(FindGCF(a, b), factor) << a << ", " << b;
    }
}

TEST(ConvertDecimalToFraction, Cases) {
    RecordedReports reports;
    const int before = LiveBlocks();
    for (const Cells& row : ReadCases("tests/convert/cases/fractions.txt", 3)) {
        char* text = ConvertDecimalToFraction(row[0].c_str());
        EXPECT_EQ(text == nullptr ? "" : text, row[1]) << row[0];
        EXPECT_TRUE(text == nullptr || text[31] == '\0') << row[0];
        EXPECT_EQ(reports.Take(), row[2].empty() ? Lines{} : Lines{row[2]}) << row[0];
        ZELFree(text);
    }
    EXPECT_EQ(LiveBlocks(), before);
    EXPECT_EQ(ConvertDecimalToFraction(nullptr), nullptr);
}

TEST(DoubleToMoney, Table) {
    for (const auto& [from, to] : {Conversion{3.5, {35, 10}},
                                   {3.0, {3, 1}},
                                   {0.0, {0, 1}},
                                   {-0.0, {0, 1}},
                                   {100.0, {100, 1}},
                                   {-0.25, {-25, 20}},
                                   {-12.375, {-12375, 30}},
                                   {0.000001, {0, 50}},
                                   {0.0000001, {0, 1}},
                                   {12345678.123456, {123456781, 10}},
                                   {123456789.5, {123456789, 1}},
                                   {-12345678.5, {-12345678, 1}},
                                   {25000000.25, {250000002, 10}},
                                   {1e300, {1000000000, 1}},
                                   {Limits::max(), {1797693134, 1}},
                                   {Limits::lowest(), {-179769313, 1}},
                                   {Limits::denorm_min(), {0, 1}}}) {
        _money money{-9, -9};
        EXPECT_EQ(DoubleToMoney(from, &money), 0) << from;
        EXPECT_TRUE(Same(money, to)) << from << " gives " << money.amount << " code " << money.displayCode;
    }
    _money money{-9, -9};
    for (const double none : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
        EXPECT_EQ(DoubleToMoney(none, &money) + DoubleToBinaryMoney(none, &money), -2);
    }
    EXPECT_TRUE(Same(money, {-9, -9}));
    std::fesetround(FE_UPWARD);
    const int result = DoubleToMoney(0.3000001, &money);
    std::fesetround(FE_TONEAREST);
    EXPECT_TRUE(result == 0 && Same(money, {3, 10}));
}

TEST(DoubleToMoney, RandomNumbersAsTheCLibraryPrintsThem) {
    std::mt19937 random(3);
    for (int i = 0; i < 100000; ++i) {
        const double value = std::ldexp(static_cast<std::int32_t>(random()), static_cast<int>(random() % 32) - 31) / 3;
        const std::string printed = std::to_string(value);  // "%f"
        std::string text = printed.substr(0, printed.find_last_not_of('0') + 1).substr(0, 10);
        text.resize(text.back() == '.' ? text.size() - 1 : text.size());
        _money money{};
        _money expected{};
        ASSERT_EQ(DoubleToMoney(value, &money), ZELStrToMoney(text.c_str(), &expected)) << printed;
        ASSERT_TRUE(Same(money, expected)) << printed;
    }
}

TEST(BinaryMoney, ReducesInPlace) {
    for (const auto& [from, to] : {std::pair<_money, _money>{{3375, 30}, {27, 8}},
                                   {{-3375, 30}, {-27, 8}},
                                   {{-50, 20}, {-1, 2}},
                                   {{300, 20}, {3, 1}},
                                   {{7, 1}, {7, 1}},
                                   {{4, 8}, {1, 2}},
                                   {{25000000, 562}, {50000001, 2}},
                                   {{INT_MIN, 2}, {-1073741824, 1}}}) {
        _money money = from;
        EXPECT_EQ(MoneyToBinaryMoney(&money), 0) << from.amount;
        EXPECT_TRUE(Same(money, to)) << from.amount;
    }
    for (const _money& from : {_money{1, 10}, {25000000, 662}, {5, 3}}) {
        _money money = from;
        EXPECT_EQ(MoneyToBinaryMoney(&money), -1) << from.amount;
        EXPECT_TRUE(Same(money, from)) << from.amount;
    }
    _money money{};
    EXPECT_EQ(DoubleToBinaryMoney(3.375, &money), 0);
    EXPECT_TRUE(Same(money, {27, 8}));
    EXPECT_EQ(DoubleToBinaryMoney(0.1, &money) + DoubleToBinaryMoney(1.5, nullptr), -2);
}

TEST(MoneyToDecimalStr, AsTheCLibraryPrintsTheValue) {
    std::mt19937 random(8);
    for (int i = 0; i < 100000; ++i) {
        constexpr short kCodes[] = {1, 2, 8, 256, 10, 20, 30, 40, 50, 545, -1};
        const _money money{i == 0 ? INT_MIN : static_cast<std::int32_t>(random()), kCodes[random() % 11]};
        double value = 0;
        char text[kDecimalTextSize];
        char printed[kDecimalTextSize];
        ASSERT_EQ(MoneyToDouble(&money, &value) + MoneyToDecimalStr(&money, text), 0);
        ASSERT_LT(std::snprintf(printed, sizeof printed, "%.8f", value), kDecimalTextSize);
        ASSERT_STREQ(text, printed);
    }
    const _money negative{-150, 20};
    const _money invalid{1, 3};
    double value = 0;
    char text[kDecimalTextSize];
    EXPECT_EQ(MoneyToDouble(&negative, &value), 0);
    EXPECT_EQ(MoneyToDouble(&invalid, &value) + MoneyToDecimalStr(&invalid, text), -2);
    EXPECT_EQ(value, -1.5);
}

TEST(Text, TrimsAppendsAndReadsNumbers) {
    char text[32] = "old";
    TrimSpaces(nullptr, text);
    TrimSpaces(" x ", nullptr);
    EXPECT_STREQ(text, "old");
    TrimSpaces(" \ta b\t  ", text);
    AppendChar(text, '!');
    EXPECT_STREQ(text, "\ta b\t!");
    TrimSpaces("   ", text);
    EXPECT_STREQ(text, "");
    for (const auto& [number, expected] : {std::pair{"", 0},
                                           {" ", 0},
                                           {" -", 0},
                                           {"  -07", -7},
                                           {"2147483646", INT_MAX - 1},
                                           {"2147483648", INT_MAX},
                                           {"-2147483648", -INT_MAX},
                                           {"99999999999999999999999999", INT_MAX},
                                           {"00000000000000000009", 9}}) {
        std::int32_t value = 1;
        EXPECT_TRUE(IsSignedNumber(number) == 1 && ReadSignedNumber(number, value)) << number;
        EXPECT_EQ(value, expected) << number;
    }
    for (const char* other : {"+1", "--1", "1 ", "- 1", "1-", "\t1", "1x", "\xB2"}) {
        EXPECT_EQ(IsSignedNumber(other), 0) << other;
    }
    for (const int value : {0, 7, -32768, 32767}) {
        EXPECT_EQ(ShortToStr(static_cast<short>(value), text), 0);
        EXPECT_EQ(text, std::to_string(value));
    }
}

}  // namespace
}  // namespace zel::test
