#include "convert/date_time.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <ctime>
#include <random>
#include <string>

#include "tests/support/bytes.h"
#include "tests/support/printed_values.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {
namespace {

constexpr _datetime kBoth{30, 11, 99, 9, 5, 7, 0, 3};

_datetime OfKind(int kind) {
    _datetime value = kBoth;
    value.kind = static_cast<unsigned char>(kind);
    return value;
}

std::string Bytes(const _datetime& value) {
    return ToHex({reinterpret_cast<const char*>(&value), sizeof value});
}

std::string Date(const _datetime& value, short format) {
    char text[18];
    EXPECT_EQ(ZELDateToStr(&value, text, format), 0);
    return text;
}

std::string Time(const _datetime& value, short format) {
    char text[18];
    EXPECT_EQ(ZELTimeToStr(&value, text, format), 0);
    return text;
}

std::string DateTime(const _datetime& value) {
    // Exactly the room that callers are told to reserve.
    const std::unique_ptr<char[]> text(new char[18]);
    EXPECT_EQ(ZELDateTimeToStr(&value, text.get()), 0);
    return text.get();
}

TEST(ZELFormatDateTime, ChecksUpperBoundsAlone) {
    RecordedReports reports;
    const int bounds[] = {31, 12, 254, 24, 59, 59, INT_MAX, 3};
    for (int wrong = -1; wrong < 8; ++wrong) {
        if (wrong == 6) {
            continue;  // no bound
        }
        int v[8];
        for (int i = 0; i < 8; ++i) {
            v[i] = bounds[i] + (i == wrong ? 1 : 0);
        }
        _datetime value = kBoth;
        const int result = ZELFormatDateTime(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], &value);
        EXPECT_EQ(result, wrong < 0 ? 0 : -1) << wrong;
        EXPECT_EQ(Bytes(value), wrong < 0 ? "1F 0C FE 18 3B 3B FF 03" : Bytes(kBoth)) << wrong;
        EXPECT_EQ(reports.Take(), wrong < 0 ? Lines{} : Lines{"1001 ZELFormatDateTime failed"}) << wrong;
    }
    EXPECT_EQ(ZELFormatDateTime(0, 0, 0, 0, 0, 0, 0, 0, nullptr), -1);
    EXPECT_EQ(reports.Take(), Lines{"1001 ZELFormatDateTime failed"});
}

TEST(ZELFormatDateTime, KeepsMembersForMinusOneAndTakesOtherNegatives) {
    _datetime value = kBoth;
    EXPECT_EQ(ZELFormatDateTime(-1, -1, -1, -1, -1, -1, -1, 1, &value), 0);
    EXPECT_EQ(Bytes(value), "1E 0B 63 09 05 07 00 01");
    EXPECT_EQ(ZELFormatDateTime(-2, -2, -2, -2, -2, INT_MIN, -2, -2, &value), 0);
    EXPECT_EQ(Bytes(value), "FE FE FE FE FE 00 FE FE");
}

TEST(DateTimeTexts, EveryFormat) {
    const std::pair<short, const char*> dates[] = {
        {1, "99/11/30"},  {2, "30/11/99"}, {7, "991130"},      {9, "113099"},   {10, "1199"},          {11, "19991130"},
        {12, "11301999"}, {13, "111999"},  {14, "11/30/1999"}, {15, "11/1999"}, {16, "1999/11/2.2hd"}, {0, "11/30/99"},
        {3, "11/30/99"},  {8, "11/30/99"}, {17, "11/30/99"},   {-1, "11/30/99"}};
    for (const auto& [format, text] : dates) {
        EXPECT_EQ(Date(kBoth, format), text);
        EXPECT_EQ(Date(OfKind(1), format), text);
        EXPECT_EQ(Date(OfKind(0), format), "00/00/1900");
        EXPECT_EQ(Date(OfKind(2), format), "00/00/1900");
        EXPECT_EQ(Date(OfKind(4), format), "00/00/1900");
    }
    const std::pair<short, const char*> times[] = {{4, "09:05"},    {5, "090507"},   {6, "0905"},     {3, "09:05:07"},
                                                   {0, "09:05:07"}, {7, "09:05:07"}, {-1, "09:05:07"}};
    for (const auto& [format, text] : times) {
        EXPECT_EQ(Time(kBoth, format), text);
        EXPECT_EQ(Time(OfKind(2), format), text);
        EXPECT_EQ(Time(OfKind(0), format), "00:00:00");
        EXPECT_EQ(Time(OfKind(1), format), "00:00:00");
        EXPECT_EQ(Time(OfKind(255), format), "00:00:00");
    }
}

// Each member takes each of its 256 values, in each format.
TEST(DateTimeTexts, EveryByteAsTheCLibraryPrintsIt) {
    for (std::size_t member = 0; member < 6; ++member) {
        for (int byte = 0; byte < 256; ++byte) {
            _datetime value = kBoth;
            reinterpret_cast<unsigned char*>(&value)[member] = static_cast<unsigned char>(byte);
            char date[18];
            char time[18];
            for (short format = -1; format < 20; ++format) {
                PrintDate(value, date, format);
                ASSERT_EQ(Date(value, format), date) << format;
                PrintTime(value, time, format);
                ASSERT_EQ(Time(value, format), time) << format;
            }
            PrintDate(value, date, 1);
            PrintTime(value, time, 3);
            ASSERT_EQ(DateTime(value), (std::string(date) + " " + time).substr(0, 17));
        }
    }
    const _datetime later{1, 2, 105, 0, 0, 0, 0, 1};
    EXPECT_EQ(Date(later, 1), "05/02/01");
    EXPECT_EQ(Date(later, 14), "02/01/2005");
    const _datetime late{1, 2, 200, 0, 0, 0, 0, 1};
    EXPECT_EQ(Date(late, 1), "100/02/01");
}

TEST(ZELDateTimeToStr, WritesWhatTheRecordHas) {
    EXPECT_EQ(DateTime(kBoth), "99/11/30 09:05:07");
    EXPECT_EQ(DateTime(OfKind(1)), "99/11/30");
    EXPECT_EQ(DateTime(OfKind(2)), "09:05:07");
    EXPECT_EQ(DateTime(OfKind(0)), "00:00:00");
    EXPECT_EQ(DateTime(OfKind(9)), "00:00:00");
    const _datetime longest{-128, -128, 255, -128, -128, -128, 0, 3};
    EXPECT_EQ(DateTime(longest), "155/-128/-128 -12");
}

TEST(ZELDateTimeToStr, InternalVariants) {
    char text[31];
    ASSERT_EQ(ZELDateTimeToStrInFormats(&kBoth, text, 14, 4), 0);
    EXPECT_STREQ(text, "11/30/1999 09:05");
    const _datetime date = OfKind(1);
    ASSERT_EQ(ZELDateTimeToStrInFormats(&date, text, 7, 6), 0);
    EXPECT_STREQ(text, "991130 00:00:00");
    const _datetime time = OfKind(2);
    ASSERT_EQ(ZELDateTimeToStrInFormats(&time, text, 7, 6), 0);
    EXPECT_STREQ(text, "00/00/1900 0905");
    const _datetime longest{-128, -128, 255, -128, -128, -128, 0, 3};
    ASSERT_EQ(ZELDateTimeToStrInFormats(&longest, text, 16, 3), 0);
    EXPECT_STREQ(text, "2155/-128/2.2hd -128:-128:-128");
    ASSERT_EQ(ZELDateTimeToStrYearFirst(&kBoth, text), 0);
    EXPECT_STREQ(text, "1999/11/2.2hd 09:05:07");
    ASSERT_EQ(ZELDateTimeToStrYearFirst(&date, text), 0);
    EXPECT_STREQ(text, "1999/11/2.2hd");
    ASSERT_EQ(ZELDateTimeToStrYearFirst(&time, text), 0);
    EXPECT_STREQ(text, "09:05:07");
}

TEST(DateTimeTexts, NullArguments) {
    RecordedReports reports;
    char text[18] = "old";
    EXPECT_EQ(ZELDateToStr(nullptr, text, 1) + ZELDateToStr(&kBoth, nullptr, 1), -2);
    EXPECT_EQ(reports.Take(), Lines(2, "1001 ZELDateToStr failed"));
    EXPECT_EQ(ZELTimeToStr(nullptr, text, 1) + ZELTimeToStr(&kBoth, nullptr, 1), -2);
    EXPECT_EQ(reports.Take(), Lines(2, "1001 ZELTimeToStr failed"));
    EXPECT_STREQ(text, "old");
    EXPECT_EQ(ZELDateTimeToStr(nullptr, text) + ZELDateTimeToStr(&kBoth, nullptr), -2);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(ZELDateTimeToStrInFormats(nullptr, text, 1, 1) + ZELDateTimeToStrYearFirst(nullptr, text), -2);
    EXPECT_EQ(reports.Take(), Lines(4, "1001 ZELDateTimeToStr failed"));
}

TEST(ExpandTwoDigitYear, PivotsByMode) {
    for (int year = -2; year < 102; ++year) {
        const bool valid = year >= 0 && year <= 99;
        EXPECT_EQ(ExpandTwoDigitYear(year, 1), !valid ? -1 : (year > 90 ? 1900 : 2000) + year);
        EXPECT_EQ(ExpandTwoDigitYear(year, 2), ExpandTwoDigitYear(year, 1));
        EXPECT_EQ(ExpandTwoDigitYear(year, 3), !valid ? -1 : (year > 50 ? 1900 : 2000) + year);
        EXPECT_EQ(ExpandTwoDigitYear(year, 0), -1);
        EXPECT_EQ(ExpandTwoDigitYear(year, 4), -1);
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
    EXPECT_EQ(DateTimeToTimeT(nullptr), -1);
}

}  // namespace
}  // namespace zel::test
