#include <gtest/gtest.h>

#include <random>
#include <string>

#include "include/zelmessage.h"
#include "tests/support/bytes.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

constexpr _datetime kBefore{7, 7, 7, 7, 7, 7, 7, 2};
constexpr char kUntouched[] = "07 07 07 07 07 07 07 02";
constexpr char kNullDate[] = "00 00 00 00 00 00 00 01";
constexpr char kNov30[] = "1E 0B 63 00 00 00 00 01";
constexpr char kBuilder[] = "1001 ZELFormatDateTime failed";

std::string Bytes(const _datetime& value) {
    return ToHex({reinterpret_cast<const char*>(&value), sizeof value});
}

TEST(ZELStrToDate, Table) {
    const struct {
        short format;
        const char* text;
        int result;
        const char* bytes;
        const char* report;
    } rows[] = {
        {0, "113099", 0, kNov30, ""},
        {0, "11/30/99", 0, kNov30, ""},
        {0, "  11-30.99 ", 0, kNov30, ""},
        {0, "11/30/99 and more", 0, kNov30, ""},
        {0, "1130/99", 0, kNov30, ""},
        {0, "11/3099", 0, kNov30, ""},
        {0, "11/30/05", 0, "1E 0B 05 00 00 00 00 01", ""},
        {0, "11/30/", 0, "1E 0B 00 00 00 00 00 01", ""},
        {0, "11/30/9", 0, "1E 0B 09 00 00 00 00 01", ""},
        {0, "11/-5/99", 0, "FB 0B 63 00 00 00 00 01", ""},
        {0, "-1/-1/-1", 0, "07 07 07 00 00 00 00 01", ""},
        {0, "--/--/--", 0, kNullDate, "1463 Invalid Date Format: --/--/--"},
        {0, "11/ 5/99", 0, "05 0B 63 00 00 00 00 01", ""},
        {0, "00/00/00", 0, kNullDate, ""},
        {0, "1x/30/99", 0, kNullDate, "1463 Invalid Date Format: 1x/30/99"},
        {0, " 11/3/99 ", 0, kNullDate, "1463 Invalid Date Format: 11/3/99"},
        {0, "11/30/x9", 0, kNullDate, "1463 Invalid Date Format: 11/30/x9"},
        {0, "13/01/99", -1, kUntouched, kBuilder},
        {0, "12/32/99", -1, kUntouched, kBuilder},
        {0, "12345", -1, kUntouched, ""},
        {0, "", -1, kUntouched, ""},
        {0, "      ", -1, kUntouched, ""},
        {1, "991130", 0, kNov30, ""},
        {1, "99/11/30", 0, kNov30, ""},
        {1, "99113", -1, kUntouched, ""},
        {1, "", -1, kUntouched, ""},
        {2, "301199", 0, kNov30, ""},
        {2, "30/11/99", 0, kNov30, ""},
        {2, "", -1, kUntouched, ""},
        {8, "1199", 0, "00 0B 63 00 00 00 00 01", ""},
        {10, "11/99", 0, "00 0B 63 00 00 00 00 01", ""},
        {8, "11/9", 0, "00 0B 09 00 00 00 00 01", ""},
        {10, "119", -1, kUntouched, ""},
        {8, "", -1, kUntouched, ""},
        {10, "", -1, kUntouched, ""},
        {11, "19991130", 0, kNov30, ""},
        {11, "199911301", 0, kNov30, ""},
        {11, "19991130/", -1, kUntouched, ""},
        {11, "1999/11/30", -1, kUntouched, ""},
        {11, "1999113", -1, kUntouched, ""},
        {11, "", -1, kUntouched, ""},
        {11, "18991231", -1, kUntouched, ""},
        {11, "19000101", 0, "01 01 00 00 00 00 00 01", ""},
        {11, "21541231", 0, "1F 0C FE 00 00 00 00 01", ""},
        {11, "21551231", -1, kUntouched, kBuilder},
        {11, "99991231", -1, kUntouched, kBuilder},
        {11, "1x991130", -1, kUntouched, ""},
        {11, "-9991130", -1, kUntouched, ""},
        {11, "1999x130", 0, kNullDate, "1463 Invalid Date Format: 1999x130"},
        {12, "11301999", 0, kNov30, ""},
        {12, "1130199", -1, kUntouched, ""},
        {12, "11301899", -1, kUntouched, ""},
        {12, "", 0, kNullDate, ""},
        {12, "   ", 0, kNullDate, ""},
        {14, "11/30/1999", 0, kNov30, ""},
        {14, "11-30-1999", -1, kUntouched, ""},
        {14, "11/30-1999", -1, kUntouched, ""},
        {14, "11-30/1999", -1, kUntouched, ""},
        {14, "11/30/199", -1, kUntouched, ""},
        {14, "a1/30/1999", 0, kNullDate, "1463 Invalid Date Format: a1/30/1999"},
        {14, "a1/30/1899", -1, kUntouched, ""},
        {14, "", 0, kNullDate, ""},
        {15, "11/1999", 0, "00 0B 63 00 00 00 00 01", ""},
        {15, "1111999", -1, kUntouched, ""},
        {15, "11/199", -1, kUntouched, ""},
        {15, "", 0, kNullDate, ""},
        {3, "113099", 0, kNullDate, ""},
        {16, "", 0, kNullDate, ""},
        {-1, "never read", 0, kNullDate, ""},
    };
    RecordedReports reports;
    for (const auto& row : rows) {
        _datetime value = kBefore;
        EXPECT_EQ(ZELStrToDate(row.text, &value, row.format), row.result) << row.text << " format " << row.format;
        EXPECT_EQ(Bytes(value), row.bytes) << row.text << " format " << row.format;
        EXPECT_EQ(reports.Take(), *row.report == '\0' ? Lines{} : Lines{row.report}) << row.text;
    }
    _datetime value = kBefore;
    EXPECT_EQ(ZELStrToDate(nullptr, &value, 12), -1);
    EXPECT_EQ(reports.Take(), Lines{});
    EXPECT_EQ(ZELStrToDate("113099", nullptr, 0), -1);
    EXPECT_EQ(reports.Take(), Lines{kBuilder});
    // A report holds what fits.
    const std::string longText(5000, 'x');
    EXPECT_EQ(ZELStrToDate(longText.c_str(), &value, 0), 0);
    EXPECT_EQ(reports.Take(), Lines{"1463 Invalid Date Format: " + longText.substr(0, 191 - 21)});
}

TEST(ZELStrToTime, Table) {
    const struct {
        const char* text;
        int result;
        int hour, minute, second;
        const char* report;
    } rows[] = {
        {"0905", 0, 9, 5, 0, ""},
        {"0930", 0, 9, 30, 0, ""},
        {"09:05", 0, 9, 5, 0, ""},
        {"09x05", 0, 9, 5, 0, ""},
        {"090507", 0, 9, 5, 7, ""},
        {"09:05:07", 0, 9, 5, 7, ""},
        {"09:0507", 0, 9, 5, 7, ""},
        {"0905:07", 0, 9, 5, 7, ""},
        {"  09:05:07  ", 0, 9, 5, 7, ""},
        {"09:05:071", 0, 9, 5, 7, ""},
        {"09:05:", 0, 9, 5, 0, ""},
        {"09:051", 0, 9, 5, 1, ""},
        {"09050", 0, 9, 5, 0, ""},
        {"09:5", 0, 9, 5, 0, ""},
        {"24:00", 0, 24, 0, 0, ""},
        {"    ", 0, 0, 0, 0, ""},
        {"   9", 0, 9, 0, 0, ""},
        {" 12 ", 0, 12, 0, 0, ""},
        {"-5:05", 0, -5, 5, 0, ""},
        {"930", -1, 0, 0, 0, ""},
        {"", -1, 0, 0, 0, ""},
        {"   ", -1, 0, 0, 0, ""},
        {"25:00", -1, 0, 0, 0, kBuilder},
        {"09:60", -1, 0, 0, 0, kBuilder},
        {"09:05:60", -1, 0, 0, 0, kBuilder},
        {"9:05", -1, 0, 0, 0, "1464 Invalid Time Format: 9:05"},
        {" 09:5:07", -1, 0, 0, 0, "1464 Invalid Time Format: 09:5:07"},
        {"09:05:x7", -1, 0, 0, 0, "1464 Invalid Time Format: 09:05:x7"},
        {"noon", -1, 0, 0, 0, "1464 Invalid Time Format: noon"},
    };
    RecordedReports reports;
    for (const auto& row : rows) {
        for (const bool add : {false, true}) {
            _datetime value = kBefore;
            EXPECT_EQ(add ? ZELAddStrToTime(row.text, &value) : ZELStrToTime(row.text, &value), row.result) << row.text;
            EXPECT_EQ(reports.Take(), *row.report == '\0' ? Lines{} : Lines{row.report}) << row.text;
            if (row.result != 0) {
                EXPECT_EQ(Bytes(value), kUntouched) << row.text;
                continue;
            }
            const auto date = static_cast<signed char>(add ? 7 : 0);
            const _datetime expected{date,
                                     date,
                                     static_cast<unsigned char>(date),
                                     static_cast<signed char>(row.hour),
                                     static_cast<signed char>(row.minute),
                                     static_cast<signed char>(row.second),
                                     0,
                                     static_cast<unsigned char>(add ? 3 : 2)};
            EXPECT_EQ(Bytes(value), Bytes(expected)) << row.text;
        }
    }
    _datetime value = kBefore;
    EXPECT_EQ(ZELStrToTime(nullptr, &value) + ZELAddStrToTime(nullptr, &value), -2);
    EXPECT_EQ(reports.Take(), Lines{});
    EXPECT_EQ(ZELStrToTime("0905", nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines{kBuilder});
    // -1 is the number that leaves a member as it is.
    EXPECT_EQ(ZELStrToTime("-1:05", &value), 0);
    EXPECT_EQ(Bytes(value), "00 00 00 07 05 00 00 02");
}

TEST(DatesAndTimes, ReadBackWhatTheyPrint) {
    char text[18];
    for (int year = 0; year < 255; ++year) {
        for (int month = 0; month <= 12; ++month) {
            for (int day = 0; day <= 31; ++day) {
                const _datetime date{static_cast<signed char>(day),
                                     static_cast<signed char>(month),
                                     static_cast<unsigned char>(year),
                                     0,
                                     0,
                                     0,
                                     0,
                                     1};
                // Rendering format, parsing format.
                const std::pair<short, short> fullYear[] = {{11, 11}, {12, 12}, {14, 14}};
                const std::pair<short, short> shortYear[] = {{1, 1}, {2, 2}, {7, 1}, {9, 0}, {0, 0}};
                const auto check = [&](const std::pair<short, short>& formats) {
                    _datetime back = kBefore;
                    ASSERT_EQ(ZELDateToStr(&date, text, formats.first), 0);
                    ASSERT_EQ(ZELStrToDate(text, &back, formats.second), 0) << text;
                    ASSERT_EQ(Bytes(back), Bytes(date)) << text;
                };
                for (const auto& formats : fullYear) {
                    check(formats);
                }
                for (const auto& formats : shortYear) {
                    if (year < 100) {
                        check(formats);
                    }
                }
            }
        }
    }
    for (int second = 0; second < 25 * 3600; ++second) {
        const _datetime time{0,
                             0,
                             0,
                             static_cast<signed char>(second / 3600),
                             static_cast<signed char>(second / 60 % 60),
                             static_cast<signed char>(second % 60),
                             0,
                             2};
        for (const short format : {short{3}, short{5}}) {
            _datetime back = kBefore;
            ASSERT_EQ(ZELTimeToStr(&time, text, format), 0);
            ASSERT_EQ(ZELStrToTime(text, &back), 0) << text;
            ASSERT_EQ(Bytes(back), Bytes(time)) << text;
        }
    }
}

TEST(DatesAndTimes, AnyBytesAreSafe) {
    std::mt19937 random(1999);
    constexpr std::string_view kTelling = "00112345678999 -/:";
    for (int i = 0; i < 200000; ++i) {
        std::string text(random() % 14, '\0');
        for (char& c : text) {
            c = random() % 16 != 0 ? kTelling[random() % kTelling.size()] : static_cast<char>(random() % 255 + 1);
        }
        const ExactCopy copy({text.c_str(), text.size() + 1});
        _datetime value = kBefore;
        const int date = ZELStrToDate(copy.data.get(), &value, static_cast<short>(random() % 18));
        ASSERT_TRUE(date == 0 ? value.kind == 1 : Bytes(value) == kUntouched) << text;
        value = kBefore;
        const int time = ZELStrToTime(copy.data.get(), &value);
        ASSERT_TRUE(time == 0 ? value.kind == 2 : Bytes(value) == kUntouched) << text;
        value = kBefore;
        ASSERT_EQ(ZELAddStrToTime(copy.data.get(), &value), time) << text;
    }
}

}  // namespace
}  // namespace zel::test
