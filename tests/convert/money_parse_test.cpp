#include "convert/money_parse.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/bytes.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

constexpr int kSame = 100;  // the stricter parser agrees

struct Row {
    const char* text;
    int result;
    ZELLong amount;
    int code;
    const char* report;
    int strictResult;
    const char* strictReport;
};

constexpr Row Ok(const char* text, ZELLong amount, int code) {
    return {text, 0, amount, code, "", kSame, ""};
}
constexpr Row Fails(const char* text, const char* report = "") {
    return {text, -1, 0, 0, report, kSame, ""};
}

TEST(ZELStrToMoney, Table) {
    const std::string tooLong(32, '7');
    const std::string manyDigits(31, '7');
    const std::string veryLong(5000, '1');
    const std::string padded = std::string(100, ' ') + "12" + std::string(100, ' ');
    const std::string veryLongReport = "1467 Invalid Money Format: " + veryLong.substr(0, 191 - 22);
    const std::string tooLongReport = "1467 Invalid Money Format: " + tooLong;
    const Row rows[] = {
        Ok("", 0, 1),
        Ok("   ", 0, 1),
        Ok("1234", 1234, 1),
        Ok("-1234", -1234, 1),
        Ok("1234-", -1234, 1),
        Ok("1-2-3", -123, 1),
        Ok("12.50", 1250, 20),
        Ok("-12.50", -1250, 20),
        Ok("$1,234.56", 123456, 20),
        Ok("1234.56-", -123456, 20),
        Ok("12.5", 125, 10),
        Ok("+12.500", 12500, 30),
        Ok("12.123456", 1212345, 50),
        Ok(".25", 25, 20),
        Ok(".25-", -25, 20),
        Ok("-.25", -25, 20),
        Ok(".1234567", 12345, 50),
        Ok("0.00", 0, 20),
        Ok("3/4", 3, 4),
        Ok("-3/4", -3, 4),
        Ok("7/10", 7, 10),
        Ok("1 1/2", 3, 2),
        Ok("-1 1/2", -3, 2),
        Ok("  1 1/2  ", 3, 2),
        Ok("1 2/2", 4, 2),
        Ok("1.1/2", 3, 2),
        Ok(".5/2", 52, 10),
        Ok("101'16", 3248, 32),
        Ok("101\"16", 101 * 64 + 16, 64),
        Ok("101!16", 101 * 128 + 16, 128),
        Ok("101!!16", 25872, 256),
        Ok("-101'16", -3248, 32),
        Ok("'16", 16, 32),
        Ok("!16", 16, 128),
        Ok("!!16", 16, 256),
        Ok("1!!!2", 258, 256),
        Ok("abc", 0, 1),
        Ok("/", 0, 1),
        Ok("25000000.50", 25000000, 562),
        Ok("20000000.50", 2000000050, 20),
        Ok("-25000000.50", -25000000, 462),
        Ok("25000000 5000/100", 25000000, 5512),
        Ok("2147483647", 2147483647, 1),
        Ok("2147483648", 2147483647, 1),
        Ok("-2147483648", -2147483647, 1),
        Ok(manyDigits.c_str(), 2147483647, 1),
        Ok("99999999999.5", -5, 10),
        Ok("\xB2\xFF\x31", 1, 1),
        Ok("\t7\n", 7, 1),
        Ok(padded.c_str(), 12, 1),
        Fails("12."),
        Fails("7."),
        Fails("."),
        Fails("1 2.5"),
        Fails("1 2.5/3"),
        Fails("1/3"),
        Fails("1/0"),
        Fails("1 2/5"),
        Fails("1 3/2"),
        Fails("-1 3/2"),
        Fails("1.2.3"),
        Fails("101'16!", "1467 Invalid Money Format: 101'16!"),
        Fails("1 2'3", "1467 Invalid Money Format: 1 2'3"),
        Fails(tooLong.c_str(), tooLongReport.c_str()),
        Fails(veryLong.c_str(), veryLongReport.c_str()),
        {"1/2/3/4", -1, 0, 0, "1467 Invalid Money Format: 1/2/3/4", -1,
         "1467 Invalid Money Format - too many components : 1/2/3/4"},
        {"  1/2/3/ ", -1, 0, 0, "1467 Invalid Money Format: 1/2/3/", -1,
         "1467 Invalid Money Format - too many components : 1/2/3/"},
        {"3 4", 0, 3, 4, "", -1, "1467 Invalid Money Format - 2 components space sep : 3 4"},
        {"3 5", -1, 0, 0, "", -1, "1467 Invalid Money Format - 2 components space sep : 3 5"},
    };
    RecordedReports reports;
    for (const Row& row : rows) {
        for (const bool strict : {false, true}) {
            const bool own = strict && row.strictResult != kSame;
            const int result = own ? row.strictResult : row.result;
            const std::string report = own ? row.strictReport : row.report;
            _money money{-9, -9};
            EXPECT_EQ(strict ? ZELStrToMoneyStrict(row.text, &money) : ZELStrToMoney(row.text, &money), result)
                << row.text << " strict " << strict;
            EXPECT_EQ(money.amount, result == 0 ? row.amount : -9) << row.text;
            EXPECT_EQ(money.displayCode, result == 0 ? row.code : -9) << row.text;
            EXPECT_EQ(reports.Take(), report.empty() ? Lines{} : Lines{report}) << row.text << " strict " << strict;
        }
    }
    EXPECT_EQ(ZELStrToMoney(nullptr, nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines{});
    EXPECT_EQ(ZELStrToMoney("1", nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines{"1001 ZELFormatMoney failed"});
}

TEST(ZELCompareMoneyStr, Table) {
    const struct {
        const char* first;
        const char* second;
        int result;
    } rows[] = {
        {"1 1/2", "1.5", 0},
        {"-1.5", "1.5", -1},
        {"2", "1.5", 1},
        {"-2", "-1.5", -1},
        {"25000000.50", "25000000", 1},
        // Single precision: 16777217 has no float of its own, 0.1 has one above it.
        {"16777216", "16777217", 0},
        {"16777217", "16777217", 1},
        {"0.1", "0.1", -1},
        {"1/3", "1", -2},
        {"1", "1/3", -2},
        {nullptr, "1", -2},
        {"1", nullptr, -2},
        {"-25000000.50", "1", -2},
        {"1", "-25000000.50", -2},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ZELCompareMoneyStr(row.first, row.second), row.result)
            << (row.first == nullptr ? "null" : row.first) << " : " << (row.second == nullptr ? "null" : row.second);
    }
}

TEST(ZELStrToMoney, AnyBytesAreSafe) {
    std::mt19937 random(4711);
    constexpr std::string_view kTelling = "0123456789 /.'\"!-";
    for (int i = 0; i < 200000; ++i) {
        std::string text(random() % 40, '\0');
        for (char& c : text) {
            c = random() % 8 != 0 ? kTelling[random() % kTelling.size()] : static_cast<char>(random() % 255 + 1);
        }
        const ExactCopy copy({text.c_str(), text.size() + 1});
        _money money{-9, -9};
        _money strict{-9, -9};
        const int result = ZELStrToMoney(copy.data.get(), &money);
        const int strictResult = ZELStrToMoneyStrict(copy.data.get(), &strict);
        ASSERT_TRUE(result == 0 || (result == -1 && money.displayCode == -9)) << text;
        // What the stricter parser takes, the other reads alike.
        ASSERT_TRUE(strictResult == -1 || (strict.amount == money.amount && strict.displayCode == money.displayCode));
        if (result == 0) {
            char rendered[24] = {};
            const short type = GetDenominatorType(money.displayCode);
            ASSERT_EQ(ZELMoneyToStr(&money, rendered, static_cast<short>(random() % 5)), type == 0 ? -1 : 0) << text;
        }
    }
}

}  // namespace
}  // namespace zel::test
