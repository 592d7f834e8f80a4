#include <gtest/gtest.h>

#include <cfenv>
#include <climits>
#include <cstring>
#include <random>
#include <string>

#include "include/zelmessage.h"
#include "tests/support/printed_values.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

constexpr std::size_t kBuffer = 24;

// The text in a buffer of zero bytes, which makes up for missing terminators.
std::string Render(const _money& money, short format) {
    char text[kBuffer] = {};
    EXPECT_EQ(ZELMoneyToStr(&money, text, format), 0) << money.amount << " code " << money.displayCode;
    return {text, ::strnlen(text, sizeof text)};
}

struct Row {
    _money money;
    const char* texts[5];  // in the formats 0 to 4
};

TEST(ZELMoneyToStr, Table) {
    const Row rows[] = {
        {{123456, 20}, {"1234.56", "$1,234.56", "$1,234.56", "$1,234.56", "1234.56"}},
        {{-123456, 20}, {"-1234.56", "$1,234.56-", "-$1,234.56", "-$1,234.56", "-1234.56-"}},
        {{5, 1}, {"5", "$5", "$5", "$5.00", "5"}},
        {{-5, 1}, {"-5", "$5-", "-$5", "-$5.00", "-5-"}},
        {{0, 1}, {"0", "$0", "$0", "$0.00", "0"}},
        {{999999, 1}, {"999999", "$999,999", "$999,999", "$999,999.00", "999999"}},
        {{1234567, 1}, {"1234567", "$1,234,567", "1234567", "$1,234,567.00", "1234567"}},
        {{-1234567, 1}, {"-1234567", "$1,234,567-", "-1234567", "-$1,234,567.00", "-1234567-"}},
        {{1234567890, 1}, {"1234567890", "$1,234,567,890", "1234567890", "$1,234,567,890.00", "1234567890"}},
        {{INT_MIN, 1}, {"--2147483648", "$-2,147,483,648-", "--2147483648", "-$-2,147,483,648.00", "--2147483648-"}},
        {{INT_MIN, 562}, {"--2147483648.50", "$-2,147,483,648.50-", "-.50", "-$-2,147,483,648.50", "--2147483648.50-"}},
        {{INT_MIN, 2}, {"-1073741824", "$1,073,741,824-", "-1073741824", "-$1,073,741,824", "-1073741824-"}},
        {{INT_MIN + 1, 256},
         {"-8388607 255/256", "$8,388,607 255/256-", "- 255/256", "-$8,388,607 255/256", "-8388607 255/256-"}},
        {{1234567, 20}, {"12345.67", "$12,345.67", "$12,345.67", "$12,345.67", "12345.67"}},
        {{123456767, 20}, {"1234567.67", "$1,234,567.67", ".67", "$1,234,567.67", "1234567.67"}},
        {{-123456767, 20}, {"-1234567.67", "$1,234,567.67-", "-.67", "-$1,234,567.67", "-1234567.67-"}},
        {{2469135, 2}, {"1234567 1/2", "$1,234,567 1/2", " 1/2", "$1,234,567 1/2", "1234567 1/2"}},
        {{2469134, 2}, {"1234567", "$1,234,567", "1234567", "$1,234,567", "1234567"}},
        {{7, 8}, {"7/8", "7/8", "7/8", "7/8", "7/8"}},
        {{-7, 8}, {"-7/8", "$7/8-", "-7/8", "-7/8", "-7/8-"}},
        {{15, 8}, {"1 7/8", "$1 7/8", "$1 7/8", "$1 7/8", "1 7/8"}},
        {{-15, 8}, {"-1 7/8", "$1 7/8-", "-$1 7/8", "-$1 7/8", "-1 7/8-"}},
        {{8, 8}, {"1", "$1", "$1", "$1", "1"}},
        {{-8, 8}, {"-1", "$1-", "-$1", "-$1", "-1-"}},
        {{0, 256}, {"0", "$0", "$0", "$0", "0"}},
        {{7, 2}, {"3 1/2", "$3 1/2", "$3 1/2", "$3 1/2", "3 1/2"}},
        {{123, 10}, {"12.3", "$12.3", "$12.3", "$12.30", "12.3"}},
        {{12345, 50}, {"0.12345", "$0.12345", "$0.12345", "$0.12", "0.12345"}},
        {{-50, 20}, {"-0.50", "$0.50-", "-$0.50", "-$0.50", "-0.50-"}},
        {{5999, 30}, {"5.999", "$5.999", "$5.999", "$5.00", "5.999"}},
        {{125, 30}, {"0.125", "$0.125", "$0.125", "$0.12", "0.125"}},
        {{5, 30}, {"0.005", "$0.005", "$0.005", "$0.01", "0.005"}},
        {{15, 30}, {"0.015", "$0.015", "$0.015", "$0.01", "0.015"}},
        {{25000000, 562}, {"25000000.50", "$25,000,000.50", ".50", "$25,000,000.50", "25000000.50"}},
        {{12, 32767}, {"12.55", "$12.55", "$12.55", "$12.55", "12.55"}},
    };
    for (const Row& row : rows) {
        for (short format = 0; format < 5; ++format) {
            EXPECT_EQ(Render(row.money, format), row.texts[format]) << "format " << format;
        }
        // All other formats print as format 4 does.
        for (const int format : {5, 16, 32767, -1, -32768}) {
            EXPECT_EQ(Render(row.money, static_cast<short>(format)), row.texts[4]) << "format " << format;
        }
    }
}

// Where nothing follows the whole part, whatever was in the buffer goes on behind it.
TEST(ZELMoneyToStr, LeavesSomeTextsWithoutTerminator) {
    const struct {
        _money money;
        short format;
        const char* start;
        bool terminated;
    } rows[] = {
        {{1234, 1}, 0, "1234", true},
        {{1234, 1}, 1, "$1,234", false},
        {{1234, 1}, 2, "$1,234", false},
        {{1234, 1}, 3, "$1,234.00", true},
        {{-5, 1}, 1, "$5-", true},
        {{-5, 1}, 2, "-$5", false},
        {{8, 8}, 0, "1", true},
        {{8, 8}, 1, "$1", false},
        {{8, 8}, 2, "$1", false},
        {{8, 8}, 3, "$1", false},
        {{1234567, 1}, 2, "1234567", true},
        {{7, 8}, 1, "7/8", true},
    };
    for (const auto& row : rows) {
        char text[kBuffer];
        std::memset(text, 'x', sizeof text);
        ASSERT_EQ(ZELMoneyToStr(&row.money, text, row.format), 0);
        const std::string expected = std::string(row.start) + (row.terminated ? '\0' : 'x');
        EXPECT_EQ(std::string(text, expected.size()), expected) << row.start << " format " << row.format;
    }
}

TEST(ZELMoneyToStr, Failures) {
    RecordedReports reports;
    char text[kBuffer] = "old";
    EXPECT_EQ(ZELMoneyToStr(nullptr, text, 0), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(reports.Take(), Lines{"1001 ZELunformatMoney failed"});
    const _money unknown{1, 3};
    EXPECT_EQ(ZELMoneyToStr(&unknown, text, 0), -1);
    EXPECT_EQ(reports.Take(), Lines{"1462 Invalid DisplayCode[3] in MONEY Data"});
    const _money below{1, -5};
    std::strcpy(text, "old");
    EXPECT_EQ(ZELMoneyToStr(&below, text, 0), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(ZELMoneyToStr(&below, nullptr, 0), -1);
    EXPECT_EQ(reports.Take(), Lines{});
}

void ExpectAsPrinted(const _money& money, short format) {
    char text[kBuffer + 8] = {};
    char printed[32] = {};
    const bool valid = PrintMoney(money, printed, format);
    ASSERT_EQ(ZELMoneyToStr(&money, text, format), valid ? 0 : -1);
    ASSERT_STREQ(text, printed) << money.amount << " code " << money.displayCode << " format " << format;
    ASSERT_LT(std::strlen(text), kBuffer);
}

TEST(ZELMoneyToStr, EveryNumeratorAsTheCLibraryPrintsIt) {
    for (const int code : {2, 4, 8, 16, 32, 64, 128, 256, 10, 20, 30, 40, 50}) {
        long whole = 0;
        long numerator = 0;
        long denominator = 0;
        const _money none{0, static_cast<short>(code)};
        ASSERT_EQ(ZELUnformatMoney(&none, &whole, &numerator, &denominator), 0);
        for (long n = 1 - denominator; n < denominator; ++n) {
            ExpectAsPrinted({static_cast<ZELLong>(n), static_cast<short>(code)}, 3);
            ExpectAsPrinted({static_cast<ZELLong>(n), static_cast<short>(code)}, 0);
        }
    }
}

TEST(ZELMoneyToStr, EveryCodeAsTheCLibraryPrintsIt) {
    for (int code = 0; code <= 0xFFFF; ++code) {
        for (const int amount : {0, 1, -1, 123456789, INT_MAX, INT_MIN}) {
            ExpectAsPrinted({amount, static_cast<short>(code)}, static_cast<short>(code % 5));
            ExpectAsPrinted({amount, static_cast<short>(code)}, 3);
        }
    }
}

TEST(ZELMoneyToStr, NoRoundingModeChangesADigit) {
    std::fesetround(FE_UPWARD);
    const std::string up = Render({5125, 30}, 3) + Render({-5994, 30}, 3) + Render({111, 30}, 0);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(up, "$5.12-$5.990.111");
}

TEST(ZELMoneyToStr, RandomAmountsReadBack) {
    std::mt19937 random(20);
    for (const int code : {1, 2, 4, 8, 16, 32, 64, 128, 256, 10, 20, 30, 40, 50}) {
        for (int i = 0; i < 5000; ++i) {
            // Amounts of every length. Below INT_MIN's magnitude, and for hundredths below the large form.
            auto amount = static_cast<std::int32_t>(random()) >> (random() % 31);
            amount = code == 20 ? amount % 2000000000 : std::max(amount, -INT_MAX);
            const _money money{amount, static_cast<short>(code)};
            _money expected = money;
            if (code <= 256 && GetDenominatorType(money.displayCode) == 5 && amount % code == 0) {
                // No fraction is shown, so that whole units are read.
                expected = {amount / code, 1};
            }
            for (const int format : {0, 1, 4}) {
                _money back{};
                const std::string text = Render(money, static_cast<short>(format));
                ASSERT_EQ(ZELStrToMoney(text.c_str(), &back), 0) << text;
                ASSERT_EQ(back.amount, expected.amount) << text << " code " << code;
                ASSERT_EQ(back.displayCode, expected.displayCode) << text;
            }
        }
    }
    for (int code = 512; code < 612; ++code) {
        const _money money{20000001 + static_cast<std::int32_t>(random() % 2000000000), static_cast<short>(code)};
        _money back{};
        ASSERT_EQ(ZELStrToMoney(Render(money, 3).c_str(), &back), 0);
        ASSERT_TRUE(back.amount == money.amount && back.displayCode == money.displayCode) << Render(money, 3);
    }
}

}  // namespace
}  // namespace zel::test
