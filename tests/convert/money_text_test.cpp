#include <cfenv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "include/zelmessage.h"
#include "tests/support/cases.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

constexpr std::size_t kBuffer = 24;

// The text in a buffer of zero bytes, because some texts have no terminator.
std::string Render(const _money& money, int format) {
    char text[kBuffer + 1] = {};
    EXPECT_EQ(ZELMoneyToStr(&money, text, static_cast<short>(format)), 0) << money.amount << " " << money.displayCode;
    EXPECT_LT(std::strlen(text), kBuffer);
    return text;
}

TEST(ZELMoneyToStr, Cases) {
    for (const Cells& row : ReadCases("tests/convert/cases/money_text.txt", 7)) {
        const _money money{row.Number<ZELLong>(0), row.Number<short>(1)};
        for (int format = 0; format < 5; ++format) {
            EXPECT_EQ(Render(money, format), row[2 + static_cast<std::size_t>(format)]) << "format " << format;
        }
        for (const int format : {5, 16, 32767, -1, -32768}) {
            EXPECT_EQ(Render(money, format), row[6]) << "format " << format;
        }
    }
}

TEST(ZELMoneyToStr, FailsWithAnEmptyText) {
    RecordedReports reports;
    const _money unknown{1, 3};
    const _money below{1, -5};
    for (const _money* money : {static_cast<const _money*>(nullptr), &unknown, &below}) {
        char text[kBuffer] = "old";
        EXPECT_EQ(ZELMoneyToStr(money, text, 0), -1);
        EXPECT_STREQ(text, "");
    }
    EXPECT_EQ(ZELMoneyToStr(&below, nullptr, 0), -1);
    EXPECT_EQ(reports.Take(), (Lines{"1001 ZELunformatMoney failed", "1462 Invalid DisplayCode[3] in MONEY Data"}));
}

TEST(ZELMoneyToStr, EveryNumeratorAsTheCLibraryPrintsIt) {
    for (short code = 2; code <= 256; code = static_cast<short>(code * 2)) {
        for (int n = 1 - code; n < code; ++n) {
            const std::string fraction = n == 0 ? "0" : std::to_string(n) + '/' + std::to_string(code);
            ASSERT_EQ(Render({n, code}, 0), fraction);
            ASSERT_EQ(Render({n, code}, 3), n == 0 ? "$0" : fraction);
        }
    }
    int denominator = 1;
    for (int places = 1; places <= 5; ++places) {
        denominator *= 10;
        for (int n = 1 - denominator; n < denominator; ++n) {
            const std::string sign = n < 0 ? "-" : "";
            char printed[kBuffer];
            (void)std::snprintf(printed, sizeof printed, "0.%0*d", places, std::abs(n));
            ASSERT_EQ(Render({n, static_cast<short>(10 * places)}, 0), sign + printed);
            // Cents that round up to a whole are shown as none.
            (void)std::snprintf(printed, sizeof printed, "%.2f", static_cast<double>(std::abs(n)) / denominator);
            ASSERT_EQ(Render({n, static_cast<short>(10 * places)}, 3), sign + "$0" + (printed + 1));
        }
    }
}

TEST(ZELMoneyToStr, EveryCode) {
    for (int code = -32768; code < 32768; ++code) {
        for (const int amount : {0, 1, -1, 123456789}) {
            const _money money{amount, static_cast<short>(code)};
            char text[kBuffer] = "old";
            if (code >= 512) {
                const std::string cents = std::to_string((code - 512) % 100 + 100).substr(1);
                ASSERT_EQ(Render(money, 0), std::to_string(amount) + '.' + cents) << code;
            } else if (GetDenominatorType(money.displayCode) == 0) {
                ASSERT_EQ(ZELMoneyToStr(&money, text, static_cast<short>(code % 5)), -1) << code;
                ASSERT_STREQ(text, "") << code;
            }
        }
    }
}

TEST(ZELMoneyToStr, NoRoundingModeChangesADigit) {
    std::fesetround(FE_UPWARD);
    const std::string up = Render({5125, 30}, 3) + Render({-5994, 30}, 3) + Render({111, 30}, 0);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(up, "$5.12-$5.990.111");
}

}  // namespace
}  // namespace zel::test
