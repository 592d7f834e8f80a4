#include <cfenv>
#include <climits>
#include <cstring>

#include "include/zelmessage.h"
#include "tests/support/cases.h"
#include "tests/support/printed_values.h"
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
        const _money money{static_cast<ZELLong>(std::stol(row[0])), static_cast<short>(std::stoi(row[1]))};
        for (int format = 0; format < 5; ++format) {
            EXPECT_EQ(Render(money, format), row[2 + static_cast<std::size_t>(format)]) << "format " << format;
        }
        for (const int format : {5, 16, 32767, -1, -32768}) {
            EXPECT_EQ(Render(money, format), row[6]) << "format " << format;
        }
    }
}

// Where nothing follows the whole part, the text goes on with what was in the buffer.
TEST(ZELMoneyToStr, LeavesSomeTextsWithoutTerminator) {
    struct Row {
        _money money;
        short format;
        const char* start;
        bool terminated;
    };
    for (const Row& row : {Row{{1234, 1}, 0, "1234", true},
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
                           {{7, 8}, 1, "7/8", true}}) {
        std::string text(kBuffer, 'x');
        ASSERT_EQ(ZELMoneyToStr(&row.money, text.data(), row.format), 0);
        const std::string expected = std::string(row.start) + (row.terminated ? '\0' : 'x');
        EXPECT_EQ(text.substr(0, expected.size()), expected) << row.start << " format " << row.format;
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

void ExpectAsPrinted(const _money& money, short format) {
    char text[kBuffer] = {};
    char printed[kBuffer] = {};
    const bool valid = PrintMoney(money, printed, format);
    ASSERT_EQ(ZELMoneyToStr(&money, text, format), valid ? 0 : -1);
    ASSERT_STREQ(text, printed) << money.amount << " code " << money.displayCode << " format " << format;
}

TEST(ZELMoneyToStr, EveryNumeratorAsTheCLibraryPrintsIt) {
    for (const int code : {2, 4, 8, 16, 32, 64, 128, 256, 10, 20, 30, 40, 50}) {
        const _money none{0, static_cast<short>(code)};
        long part = 0;
        long denominator = 0;
        ASSERT_EQ(ZELUnformatMoney(&none, &part, &part, &denominator), 0);
        for (ZELLong n = static_cast<ZELLong>(1 - denominator); n < denominator; ++n) {
            ExpectAsPrinted({n, none.displayCode}, 3);
            ExpectAsPrinted({n, none.displayCode}, 0);
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

}  // namespace
}  // namespace zel::test
