// Money, doubles, fractions and short numbers into one another.
#include <cfenv>
#include <cstdlib>
#include <functional>
#include <map>

#include "convert/fraction.h"
#include "convert/money_double.h"
#include "convert/money_parse.h"
#include "convert/text.h"
#include "include/zelmessage.h"
#include "tests/support/cases.h"
#include "tests/support/failing_heap.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

constexpr _money kBefore{-9, -9};

// What an operation made of `money`; a refusal leaves it as it was.
std::string Shown(int result, const _money& money, const _money& before = kBefore) {
    std::string shown = std::to_string(money.amount) + ' ' + std::to_string(money.displayCode);
    if (result == 0) {
        return shown;
    }
    const bool isUntouched = money.amount == before.amount && money.displayCode == before.displayCode;
    return std::to_string(result) + (isUntouched ? "" : " and changed");
}

_money Money(const Cells& row) {
    return {row.Number<ZELLong>(1), row.Number<short>(2)};
}

std::string FromDouble(const Cells& row, int (*convert)(double, _money*) noexcept) {
    _money money = kBefore;
    // Not std::stod, which refuses the smallest numbers.
    return Shown(convert(std::strtod(row[1].c_str(), nullptr), &money), money);
}

std::string Text(const Cells& row) {
    std::string text(24, 'x');
    const _money money = Money(row);
    EXPECT_EQ(ZELMoneyToStr(&money, text.data(), static_cast<short>(row[0].back() - '0')), 0);
    const std::size_t end = text.find('\0');
    return end != std::string::npos ? text.substr(0, end) + '.' : text.substr(0, text.find('x') + 1);
}

TEST(Numbers, AreConverted) {
    const auto orNull = [](const std::string& text) { return text == "null" ? nullptr : text.c_str(); };
    const std::map<std::string, std::function<std::string(const Cells&)>> operations{
        {"gcf", [](const Cells& row) { return std::to_string(FindGCF(row.Number<long>(1), row.Number<long>(2))); }},
        {"double to money", [](const Cells& row) { return FromDouble(row, DoubleToMoney); }},
        {"double to binary money", [](const Cells& row) { return FromDouble(row, DoubleToBinaryMoney); }},
        {"binary money",
         [](const Cells& row) {
             _money money = Money(row);
             const int result = MoneyToBinaryMoney(&money);
             return Shown(result, money, Money(row));
         }},
        {"compare money",
         [&](const Cells& row) { return std::to_string(ZELCompareMoneyStr(orNull(row[1]), orNull(row[2]))); }},
        {"decimal text",
         [](const Cells& row) {
             const _money money = Money(row);
             double value = 0;
             char text[kDecimalTextSize] = "refused";
             const int result = MoneyToDecimalStr(&money, text);
             EXPECT_EQ(MoneyToDouble(&money, &value), result);
             EXPECT_EQ(value, result == 0 ? std::strtod(text, nullptr) : 0);
             return std::string(text);
         }},
        {"money text 0", Text},
        {"money text 1", Text},
        {"money text 2", Text},
        {"money text 3", Text},
        {"number",
         [](const Cells& row) {
             std::int32_t value = 1;
             const bool isRead = ReadSignedNumber(row[1], value);
             EXPECT_EQ(IsSignedNumber(row[1]), isRead ? 1 : 0) << row[1];
             return isRead ? std::to_string(value) : "none";
         }},
        {"short",
         [](const Cells& row) {
             char text[8] = "";
             EXPECT_EQ(ShortToStr(row.Number<short>(1), text), 0);
             return std::string(text);
         }},
    };
    for (const Cells& row : ReadCases("tests/convert/cases/numbers.txt", 4)) {
        EXPECT_EQ(operations.at(row[0])(row), row[3]) << row[0] << ": " << row[1] << ", " << row[2];
    }
    EXPECT_EQ(DoubleToBinaryMoney(1.5, nullptr), -1);
    _money money = kBefore;
    std::fesetround(FE_UPWARD);
    const int result = DoubleToMoney(0.3000001, &money);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(Shown(result, money), "3 10");
}

TEST(ConvertDecimalToFraction, Cases) {
    RecordedReports reports;
    const int before = LiveBlocks();
    for (const Cells& row : ReadCases("tests/convert/cases/fractions.txt", 3)) {
        char* text = ConvertDecimalToFraction(row[0].c_str());
        EXPECT_STREQ(text == nullptr ? "" : text, row[1].c_str()) << row[0];
        EXPECT_EQ(text == nullptr ? '\0' : text[31], '\0') << row[0];
        EXPECT_EQ(reports.TakeText(), row[2]) << row[0];
        ZELFree(text);
    }
    EXPECT_EQ(LiveBlocks(), before);
    EXPECT_EQ(ConvertDecimalToFraction(nullptr), nullptr);
}

TEST(Text, TrimsAndAppends) {
    char text[32] = "old";
    TrimSpaces(nullptr, text);
    TrimSpaces(" x ", nullptr);
    EXPECT_STREQ(text, "old");
    TrimSpaces(" \ta b\t  ", text);
    AppendChar(text, '!');
    EXPECT_STREQ(text, "\ta b\t!");
    TrimSpaces("   ", text);
    EXPECT_STREQ(text, "");
}

}  // namespace
}  // namespace zel::test
