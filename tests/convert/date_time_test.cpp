#include "convert/date_time.h"

#include <algorithm>
#include <array>
#include <memory>
#include <sstream>

#include "convert/seconds.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

constexpr _datetime kBoth{30, 11, 99, 9, 5, 7, 0, 3};
constexpr _datetime kBefore{7, 7, 7, 7, 7, 7, 7, 2};
constexpr char kUntouched[] = "07 07 07 07 07 07 07 02";
constexpr char kNotBuilt[] = "-1: 1001 ZELFormatDateTime failed";

std::string Bytes(const _datetime& value) {
    return ToHex({reinterpret_cast<const char*>(&value), sizeof value});
}

_datetime FromBytes(const std::string& hex) {
    _datetime value{};
    std::memcpy(&value, FromHex(hex).data(), sizeof value);
    return value;
}

// The text that `render` writes into a buffer of exactly the documented size.
template <typename Render>
std::string Text(std::size_t room, Render render) {
    const std::unique_ptr<char[]> text(new char[room]);
    EXPECT_EQ(render(text.get()), 0);
    return text.get();
}

TEST(SecondsOf, CountsTheDaysOfTheCalendar) {
    std::vector<std::int64_t> midnights;
    // Each year, months from -1 to 14, days from -1 to 62.
    for (int number = 0; number < 256 << 10; ++number) {
        const _datetime date{static_cast<signed char>(number % 64 - 1),
                             static_cast<signed char>(number / 64 % 16 - 1),
                             static_cast<unsigned char>(number >> 10),
                             1,
                             1,
                             1,
                             0,
                             1};
        const std::int64_t seconds = SecondsOf(date);
        if (seconds != kNoSeconds) {
            midnights.push_back(seconds);
            const _datetime back{date.day, date.month, date.year, 23, 59, 59, 0, 3};
            EXPECT_EQ(Bytes(DateTimeOf(seconds + 86399)), Bytes(back));
            EXPECT_EQ(SecondsOf(back), seconds + 86399);
        }
    }
    // Every fourth year from 1904 to 2152 but 2100 has a day more.
    ASSERT_EQ(midnights.size(), 256U * 365 + 62);
    EXPECT_EQ(midnights.back() - midnights.front(), (256 * 365 + 61) * INT64_C(86400));
    EXPECT_TRUE(std::is_sorted(midnights.begin(), midnights.end()));
    EXPECT_EQ(midnights[70 * 365 + 17], 0);
    for (const std::int64_t outside : {midnights.front() - 1, midnights.back() + 86400, INT64_MIN, INT64_MAX}) {
        EXPECT_EQ(Bytes(DateTimeOf(outside)), Bytes({})) << outside;
    }
}

TEST(SecondsOf, TakesWhatTheKindSays) {
    for (const Cells& row : ReadCases("tests/convert/cases/seconds.txt", 2)) {
        const std::int64_t seconds = SecondsOf(FromBytes(row[0]));
        EXPECT_EQ(seconds == kNoSeconds ? "none" : std::to_string(seconds), row[1]) << row[0];
    }
}

TEST(ZELFormatDateTime, ChecksUpperBoundsAlone) {
    RecordedReports reports;
    for (const Cells& row : ReadCases("tests/convert/cases/date_time_parts.txt", 2)) {
        std::istringstream parts(row[0]);
        std::array<int, 8> v{};
        for (int& part : v) {
            parts >> part;
        }
        _datetime value = kBefore;
        EXPECT_EQ(reports.With(ZELFormatDateTime(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], &value)),
                  row[1].empty() ? kNotBuilt : "0")
            << row[0];
        EXPECT_EQ(Bytes(value), row[1].empty() ? kUntouched : row[1]) << row[0];
    }
    EXPECT_EQ(reports.With(ZELFormatDateTime(0, 0, 0, 0, 0, 0, 0, 0, nullptr)), kNotBuilt);
}

TEST(DateTimeTexts, Cases) {
    for (const Cells& row : ReadCases("tests/convert/cases/date_texts.txt", 8)) {
        const _datetime value = FromBytes(row[0]);
        const auto date = row.Number<short>(1);
        const auto time = row.Number<short>(2);
        const auto isText = [&row](std::size_t room, const std::string& expected, auto render) {
            EXPECT_EQ(Text(room, render), expected) << row[0];
        };
        isText(18, row[3], [&](char* text) { return ZELDateToStr(&value, text, date); });
        isText(18, row[4], [&](char* text) { return ZELTimeToStr(&value, text, time); });
        isText(18, row[5], [&](char* text) { return ZELDateTimeToStr(&value, text); });
        isText(31, row[6], [&](char* text) { return ZELDateTimeToStrYearFirst(&value, text); });
        isText(31, row[7], [&](char* text) { return ZELDateTimeToStrInFormats(&value, text, date, time); });
    }
}

TEST(DateTimeTexts, NullArguments) {
    RecordedReports reports;
    char text[18] = "old";
    EXPECT_EQ(ZELDateToStr(nullptr, text, 1), -1);
    EXPECT_EQ(ZELDateToStr(&kBoth, nullptr, 1), -1);
    EXPECT_EQ(reports.Take(), Lines(2, "1001 ZELDateToStr failed"));
    EXPECT_EQ(ZELTimeToStr(nullptr, text, 1), -1);
    EXPECT_EQ(ZELTimeToStr(&kBoth, nullptr, 1), -1);
    EXPECT_EQ(reports.Take(), Lines(2, "1001 ZELTimeToStr failed"));
    EXPECT_STREQ(text, "old");
    EXPECT_EQ(ZELDateTimeToStr(nullptr, text), -1);
    EXPECT_EQ(ZELDateTimeToStr(&kBoth, nullptr), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(ZELDateTimeToStrInFormats(nullptr, text, 1, 1), -1);
    EXPECT_EQ(ZELDateTimeToStrYearFirst(nullptr, text), -1);
    EXPECT_EQ(reports.Take(), Lines(4, "1001 ZELDateTimeToStr failed"));
}

TEST(ExpandTwoDigitYear, PivotsByMode) {
    for (int year = -2; year < 102; ++year) {
        const bool valid = year >= 0 && year <= 99;
        for (short mode = 0; mode <= 4; ++mode) {
            const int expanded = (year > (mode == 3 ? 50 : 90) ? 1900 : 2000) + year;
            EXPECT_EQ(ExpandTwoDigitYear(year, mode), valid && mode % 4 != 0 ? expanded : -1) << year << ' ' << mode;
        }
    }
}

TEST(DateTimeToTimeT, AgreesWithLocalTime) {
    for (std::time_t time = 86400 * 30 + 12345; time < 2000000000; time += 86400 * 91 + 7) {
        const std::tm local = *std::localtime(&time);
        _datetime value{};
        ASSERT_EQ(ZELFormatDateTime(local.tm_mday, local.tm_mon + 1, local.tm_year, local.tm_hour, local.tm_min,
                                    local.tm_sec, 0, 3, &value),
                  0);
        EXPECT_EQ(DateTimeToTimeT(&value), time);
        value.kind = 1;
        EXPECT_EQ(DateTimeToTimeT(&value), -1);
    }
}

TEST(ZELStrToDate, Cases) {
    RecordedReports reports;
    for (const Cells& row : ReadCases("tests/convert/cases/dates.txt", 4)) {
        _datetime value = kBefore;
        const std::string result = reports.With(ZELStrToDate(row[1].c_str(), &value, row.Number<short>(0)));
        EXPECT_EQ(result, (row[2].empty() ? "-1" : "0") + (row[3].empty() ? "" : ": " + row[3]))
            << row[1] << " format " << row[0];
        EXPECT_EQ(Bytes(value), row[2].empty() ? kUntouched : row[2]) << row[1] << " format " << row[0];
    }
    _datetime value = kBefore;
    EXPECT_EQ(reports.With(ZELStrToDate(nullptr, &value, 12)), "-1");
    EXPECT_EQ(reports.With(ZELStrToDate("113099", nullptr, 0)), kNotBuilt);
    // A report cuts long texts.
    const std::string longText(5000, 'x');
    EXPECT_EQ(reports.With(ZELStrToDate(longText.c_str(), &value, 0)),
              "0: 1463 Invalid Date Format: " + longText.substr(0, 191 - 21));
}

TEST(ZELStrToTime, Cases) {
    RecordedReports reports;
    for (const Cells& row : ReadCases("tests/convert/cases/times.txt", 3)) {
        const std::string result = (row[1].empty() ? "-1" : "0") + (row[2].empty() ? "" : ": " + row[2]);
        _datetime value = kBefore;
        EXPECT_EQ(reports.With(ZELStrToTime(row[0].c_str(), &value)), result) << row[0];
        EXPECT_EQ(Bytes(value), row[1].empty() ? kUntouched : "00 00 00 " + row[1] + " 00 02") << row[0];
        value = kBefore;
        EXPECT_EQ(reports.With(ZELAddStrToTime(row[0].c_str(), &value)), result) << row[0];
        EXPECT_EQ(Bytes(value), row[1].empty() ? kUntouched : "07 07 07 " + row[1] + " 00 03") << row[0];
    }
    _datetime value = kBefore;
    EXPECT_EQ(reports.With(ZELStrToTime(nullptr, &value)), "-1");
    EXPECT_EQ(reports.With(ZELAddStrToTime(nullptr, &value)), "-1");
    EXPECT_EQ(reports.With(ZELStrToTime("0905", nullptr)), kNotBuilt);
}

}  // namespace
}  // namespace zel::test
