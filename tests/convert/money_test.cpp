#include "convert/money.h"

#include <array>
#include <cfenv>
#include <climits>
#include <cstring>
#include <map>

#include "bench/printed_values.h"
#include "convert/money_parse.h"
#include "tests/support/cases.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

using Parts = std::array<long, 3>;  // whole, numerator, denominator

struct Known {
    long denominator;
    short type;
};

constexpr std::size_t kBuffer = 24;

// The text in a buffer of zero bytes, because some texts have no terminator.
std::string Render(const _money& money, int format) {
    char text[kBuffer + 1] = {};
    EXPECT_EQ(ZELMoneyToStr(&money, text, static_cast<short>(format)), 0) << money.amount << " " << money.displayCode;
    EXPECT_LT(std::strlen(text), kBuffer);
    return text;
}

TEST(DisplayCodes, All65536KeepTheirDenominatorAndType) {
    const std::map<int, Known> known{{1, {1, 1}},    {2, {2, 5}},     {4, {4, 5}},      {8, {8, 5}},      {16, {16, 5}},
                                     {32, {32, 5}},  {64, {64, 5}},   {128, {128, 5}},  {256, {256, 5}},  {10, {10, 3}},
                                     {20, {100, 3}}, {30, {1000, 3}}, {40, {10000, 3}}, {50, {100000, 3}}};
    RecordedReports reports;
    for (int code = 0; code <= 0xFFFF; ++code) {
        const auto entry = known.find(code);
        const bool isLarge = code >= 512;
        // The denominator of large forms goes by the unsigned code, the type by the signed one.
        const Known expected =
            entry != known.end() ? entry->second : Known{0, static_cast<short>(isLarge && code < 32768 ? 3 : 0)};
        const _money money{-1234567, static_cast<short>(code)};
        ASSERT_EQ(GetDenominatorType(money.displayCode), expected.type) << code;
        ASSERT_EQ(DisplayCodeToDenominator(money.displayCode), expected.denominator) << code;
        const bool isValid = isLarge || expected.denominator != 0;
        Parts parts{77, 77, 77};
        ASSERT_EQ(ZELUnformatMoney(&money, parts.data(), &parts[1], &parts[2]), isValid ? 0 : -1) << code;
        char text[kBuffer] = "old";
        ASSERT_EQ(ZELMoneyToStr(&money, text, 0), expected.type != 0 ? 0 : -1) << code;
        const std::string report = "1462 Invalid DisplayCode[" + std::to_string(code) + "] in MONEY Data";
        ASSERT_EQ(reports.Take(), isValid ? Lines{} : Lines(2, report));
        if (isLarge) {
            const std::string cents = std::to_string((code - 512) % 100 + 100).substr(1);
            ASSERT_EQ(text, expected.type != 0 ? "-1234567." + cents : "") << code;
            ASSERT_EQ(parts, (Parts{-1234567, code - 512, 100})) << code;
        } else if (isValid) {
            ASSERT_EQ(DenominatorToDisplayCode(parts[2]), code);
            ASSERT_EQ(parts, (Parts{-1234567 / parts[2], -1234567 % parts[2], parts[2]})) << code;
        } else {
            ASSERT_STREQ(text, "") << code;
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

TEST(Money, RefusesNull) {
    RecordedReports reports;
    const _money money{1, 1};
    long part = 0;
    char text[kBuffer] = "old";
    EXPECT_EQ(ZELMoneyToStr(&money, nullptr, 0), -1);
    EXPECT_EQ(ZELMoneyToStr(nullptr, text, 0), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(ZELUnformatMoney(nullptr, &part, &part, &part), -1);
    EXPECT_EQ(ZELUnformatMoney(&money, nullptr, &part, &part), -1);
    EXPECT_EQ(ZELUnformatMoney(&money, &part, nullptr, &part), -1);
    EXPECT_EQ(ZELUnformatMoney(&money, &part, &part, nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines(5, "1001 ZELunformatMoney failed"));
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

TEST(ZELMoneyToStr, EveryNumeratorAsTheCLibraryPrintsIt) {
    constexpr short kCodes[] = {2, 4, 8, 16, 32, 64, 128, 256, 10, 20, 30, 40, 50};
    for (const short code : kCodes) {
        const auto denominator = static_cast<ZELLong>(DisplayCodeToDenominator(code));
        for (ZELLong n = 1 - denominator; n < denominator; ++n) {
            // Cents, in the format 3, that round up to a whole are shown as none.
            for (const short format : {short{0}, short{3}}) {
                char printed[kBuffer];
                ASSERT_TRUE(bench::PrintMoney({n, code}, printed, format));
                ASSERT_STREQ(Render({n, code}, format).c_str(), printed) << n << ", " << code;
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

void ExpectMoney(const Cells& row, const std::string& report, int (*parse)(const char*, _money*) noexcept) {
    RecordedReports reports;
    // Where the stricter parser has its own report, it refuses the text.
    const bool valid = !row[1].empty() && report.empty();
    _money money{-9, -9};
    EXPECT_EQ(reports.With(parse(row[0].c_str(), &money)), (valid ? "0" : "-1") + (report.empty() ? "" : ": " + report))
        << row[0];
    EXPECT_EQ(money.amount, valid ? row.Number<long>(1) : -9) << row[0];
    EXPECT_EQ(money.displayCode, valid ? row.Number<long>(2) : -9) << row[0];
}

TEST(ZELStrToMoney, Cases) {
    std::vector<Cells> rows = ReadCases("tests/convert/cases/money.txt", 5);
    const std::string spaces(100, ' ');
    const std::string ones(5000, '1');
    rows.push_back({spaces + "12" + spaces, "12", "1", "", "="});
    rows.push_back({"\t\377\2627\n", "7", "1", "", "="});
    // A report cuts long texts.
    rows.push_back({ones, "", "", "1467 Invalid Money Format: " + ones.substr(0, 191 - 22), "="});
    for (const Cells& row : rows) {
        ExpectMoney(row, row[3], ZELStrToMoney);
        ExpectMoney(row, row[4] == "=" ? row[3] : row[4], ZELStrToMoneyStrict);
    }
    RecordedReports reports;
    EXPECT_EQ(reports.With(ZELStrToMoney(nullptr, nullptr)), "-1");
    EXPECT_EQ(reports.With(ZELStrToMoney("1", nullptr)), "-1: 1001 ZELFormatMoney failed");
}

}  // namespace
}  // namespace zel::test
