#include "convert/date_time.h"

#include <algorithm>
#include <climits>
#include <memory>

#include "convert/seconds.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

constexpr _datetime kBoth{30, 11, 99, 9, 5, 7, 0, 3};
constexpr _datetime kLongest{-128, -128, 255, -128, -128, -128, 0, 3};

_datetime OfKind(int kind) {
    _datetime value = kBoth;
    value.kind = static_cast<unsigned char>(kind);
    return value;
}

std::string Bytes(const _datetime& value) {
    return ToHex({reinterpret_cast<const char*>(&value), sizeof value});
}

// The text that `render` writes into a buffer of exactly the documented size.
template <typename Render>
std::string Text(std::size_t room, Render render) {
    const std::unique_ptr<char[]> text(new char[room]);
    EXPECT_EQ(render(text.get()), 0);
    return text.get();
}

std::string Date(const _datetime& value, short format) {
    return Text(18, [&](char* text) { return ZELDateToStr(&value, text, format); });
}

std::string Time(const _datetime& value, short format) {
    return Text(18, [&](char* text) { return ZELTimeToStr(&value, text, format); });
}

std::string DateTime(const _datetime& value) {
    return Text(18, [&](char* text) { return ZELDateTimeToStr(&value, text); });
}

std::string InFormats(const _datetime& value, short dateFormat, short timeFormat) {
    return Text(31, [&](char* text) { return ZELDateTimeToStrInFormats(&value, text, dateFormat, timeFormat); });
}

std::string YearFirst(const _datetime& value) {
    return Text(31, [&](char* text) { return ZELDateTimeToStrYearFirst(&value, text); });
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
    const struct {
        _datetime value;
        std::int64_t seconds;
    } rows[] = {
        {{30, 11, 99, 9, 5, 7, 0, 3}, 943952707},  {{30, 11, 99, -1, 60, 60, 9, 1}, 943920000},
        {{0, 0, 0, 9, 5, 7, 0, 2}, 32707},         {{31, 12, 255, 24, 0, 0, 0, 3}, 5869584000},
        {{30, 11, 99, 9, 5, 7, 0, 0}, kNoSeconds}, {{30, 11, 99, 9, 5, 7, 0, 4}, kNoSeconds},
        {{31, 11, 99, 9, 5, 7, 0, 3}, kNoSeconds}, {{0, 0, 0, 25, 0, 0, 0, 2}, kNoSeconds},
        {{0, 0, 0, -1, 0, 0, 0, 2}, kNoSeconds},   {{0, 0, 0, 0, 60, 0, 0, 2}, kNoSeconds},
        {{0, 0, 0, 0, -128, 0, 0, 2}, kNoSeconds}, {{0, 0, 0, 0, 0, 60, 0, 2}, kNoSeconds},
        {{0, 0, 0, 0, 0, -1, 0, 2}, kNoSeconds},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SecondsOf(row.value), row.seconds) << Bytes(row.value);
    }
}

TEST(ZELFormatDateTime, ChecksUpperBoundsAlone) {
    RecordedReports reports;
    for (int wrong = -1; wrong < 8; ++wrong) {
        int v[8] = {31, 12, 254, 24, 59, 59, INT_MAX, 3};
        if (wrong == 6) {
            continue;  // no limit
        }
        v[wrong < 0 ? 6 : wrong] += wrong < 0 ? 0 : 1;
        _datetime value = kBoth;
        EXPECT_EQ(reports.With(ZELFormatDateTime(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], &value)),
                  wrong < 0 ? "0" : "-1: 1001 ZELFormatDateTime failed");
        EXPECT_EQ(Bytes(value), wrong < 0 ? "1F 0C FE 18 3B 3B FF 03" : Bytes(kBoth)) << wrong;
    }
    EXPECT_EQ(reports.With(ZELFormatDateTime(0, 0, 0, 0, 0, 0, 0, 0, nullptr)), "-1: 1001 ZELFormatDateTime failed");
    _datetime value{1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(ZELFormatDateTime(-1, -1, -1, -1, -1, -1, -1, 1, &value), 0);
    EXPECT_EQ(Bytes(value), "01 02 03 04 05 06 07 01");
    EXPECT_EQ(ZELFormatDateTime(-2, -2, -2, -2, -2, INT_MIN, -2, -2, &value), 0);
    EXPECT_EQ(Bytes(value), "FE FE FE FE FE 00 FE FE");
}

TEST(DateTimeTexts, ByKind) {
    for (int kind = 0; kind < 256; ++kind) {
        const _datetime value = OfKind(kind);
        const bool date = kind == 1 || kind == 3;
        const bool time = kind == 2 || kind == 3;
        EXPECT_EQ(Date(value, 7), date ? "991130" : "00/00/1900");
        EXPECT_EQ(Time(value, 6), time ? "0905" : "00:00:00");
        const std::string both = kind == 3 ? "99/11/30 09:05:07" : "99/11/30";
        EXPECT_EQ(DateTime(value), date ? both : time ? "09:05:07" : "00:00:00") << kind;
        const std::string yearFirst = kind == 3 ? "1999/11/2.2hd 09:05:07" : "1999/11/2.2hd";
        EXPECT_EQ(YearFirst(value), date ? yearFirst : time ? "09:05:07" : "00:00:00") << kind;
        EXPECT_EQ(InFormats(value, 14, 4),
                  std::string(date ? "11/30/1999" : "00/00/1900") + (time ? " 09:05" : " 00:00:00"));
    }
}

TEST(DateTimeTexts, OfYearsFrom2000OnAndOddNumbers) {
    EXPECT_EQ(Date({1, 2, 105, 0, 0, 0, 0, 1}, 1), "05/02/01");
    EXPECT_EQ(Date({1, 2, 105, 0, 0, 0, 0, 1}, 14), "02/01/2005");
    EXPECT_EQ(Date({1, 2, 200, 0, 0, 0, 0, 1}, 1), "100/02/01");
    EXPECT_EQ(DateTime({30, 11, 200, 9, 5, 7, 0, 3}), "100/11/30 09:05:0");
    EXPECT_EQ(DateTime(kLongest), "155/-128/-128 -12");
    EXPECT_EQ(InFormats(kLongest, 16, 3), "2155/-128/2.2hd -128:-128:-128");
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

constexpr _datetime kBefore{7, 7, 7, 7, 7, 7, 7, 2};
constexpr char kUntouched[] = "07 07 07 07 07 07 07 02";
constexpr char kNotBuilt[] = "-1: 1001 ZELFormatDateTime failed";

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
