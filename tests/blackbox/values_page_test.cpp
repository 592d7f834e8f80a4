// Checks the examples of docs/values.md.
#include "include/zelvalues.h"
#include "tests/support/page.h"

namespace zel::test {
namespace {

constexpr char kPage[] = "docs/values.md";

TEST(ValuesPage, Money) {
    constexpr char kCodes[] =
        "| Code | Denominator | Type | Shown as | Amount | Format 0 | Format 1 | Format 2 | Format 3 | Other formats |";
    for (const Cells& row : TableOf(kPage, kCodes)) {
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
    for (const Cells& row : TableOf(kPage, "| Text | Amount | Code |")) {
        _money money{};
        EXPECT_EQ(ZELStrToMoney(row[0].c_str(), &money), 0) << row[0];
        EXPECT_EQ(std::to_string(money.amount), row[1]) << row[0];
        EXPECT_EQ(std::to_string(money.displayCode), row[2]) << row[0];
    }
}

TEST(ValuesPage, DatesAndTimes) {
    const _datetime value{30, 11, 99, 9, 5, 7, 0, 3};
    char text[18];
    for (const Cells& row : TableOf(kPage, "| Format | Text | Read with format |")) {
        EXPECT_EQ(ZELDateToStr(&value, text, row.Number<short>(0)), 0);
        EXPECT_EQ(text, row[1]);
        if (row[2] != "none") {
            _datetime back{};
            EXPECT_EQ(ZELStrToDate(text, &back, row.Number<short>(2)), 0);
            EXPECT_EQ(back.day, row[2].ends_with("day 0") ? 0 : 30) << row[1];
            EXPECT_EQ(std::tuple(back.month, back.year), std::tuple(11, 99)) << row[1];
        }
    }
    for (const Cells& row : TableOf(kPage, "| Format | Text |")) {
        EXPECT_EQ(ZELTimeToStr(&value, text, row.Number<short>(0)), 0);
        EXPECT_EQ(text, row[1]);
    }
}

TEST(ValuesPage, Fractions) {
    for (const Cells& row : TableOf(kPage, "| Text | Fraction |")) {
        char* text = ConvertDecimalToFraction(row[0].c_str());
        EXPECT_EQ(text == nullptr ? "" : text, row[1]);
        ZELFree(text);
    }
}

}  // namespace
}  // namespace zel::test
