// Values of the ZEL protocol: money, dates, times and fractions, to text and back. For C from C99 on, and C++ from
// C++11 on.
//
// What holds for every function here:
//  - No exception leaves the library. Failure is a result (-1, 0 or null, as each function says), and a report to the
//    error sink, if the program installed one (ZELSetErrorSink in zelmessage.h).
//  - Any thread may call it at any time. It needs no dictionary and depends on no locale.
//  - Amounts are 32-bit numbers; what overflows wraps round. Texts that a function reads end with a zero byte.
#ifndef ZEL_ZELVALUES_H
#define ZEL_ZELVALUES_H

#include <limits.h>
#include <stddef.h>
#include <stdint.h>

// On Windows a .def file names what is exported.
#if defined(_WIN32)
#define ZEL_API
#else
#define ZEL_API __attribute__((visibility("default")))
#endif

// Nothing that the library exports throws.
#if defined(__cplusplus)
#define ZEL_NOEXCEPT noexcept
#else
#define ZEL_NOEXCEPT
#endif

// The protocol's long: 32 bits.
#if LONG_MAX == 2147483647L
typedef long ZELLong;
#else
typedef int32_t ZELLong;
#endif

// ---- Records --------------------------------------------------------------------------------------------------------

// Money: `amount` counts units of 1/denominator; `displayCode` selects the denominator and how the amount is shown.
typedef struct _money {
    ZELLong amount;
    short displayCode;
} _money;

// A date, a time or both. Its eight bytes travel as they lie in memory.
typedef struct _datetime {
    signed char day;      // 1 to 31; 0 in a null date
    signed char month;    // 1 to 12; 0 in a null date
    unsigned char year;   // years since 1900
    signed char hour;     // 0 to 24
    signed char minute;   // 0 to 59
    signed char second;   // 0 to 59
    unsigned char extra;  // written as 0, never read
    unsigned char kind;   // 0 none, 1 date, 2 time, 3 date and time
} _datetime;

#if defined(__cplusplus)
static_assert(sizeof(short) == 2 && sizeof(int) == 4 && sizeof(ZELLong) == 4, "widths of the protocol");
static_assert(sizeof(_money) == 8 && offsetof(_money, displayCode) == 4, "layout of _money");
static_assert(sizeof(_datetime) == 8 && offsetof(_datetime, kind) == 7, "layout of _datetime");

extern "C" {
#endif

// ---- Money ----------------------------------------------------------------------------------------------------------
//
// Display codes: 1 is whole units; 2, 4, 8, 16, 32, 64, 128 and 256 are fractions with that denominator; 10, 20, 30, 40
// and 50 are 1 to 5 decimals. A code from 512 on is the large form of two decimals, for more than 20,000,000 whole
// units: the amount counts whole units, the code is 512 + hundredths. Every other code is invalid.

// Takes a record apart: 12.50 into 12, 50 and 100. A negative amount gives parts that are negative or 0; large forms
// have their hundredths from the code, never below 0. 0, or -1 with whole and numerator untouched. Reports 1001 (a null
// argument) and 1462 (invalid code; *denominator is then 0). Codes below 0 are taken as large forms, code + 65536.
ZEL_API int ZELUnformatMoney(const _money* money, long* whole, long* numerator, long* denominator) ZEL_NOEXCEPT;

// 1 for whole units, 3 for decimals, 5 for fractions, 0 for an invalid display code; codes below 0 are invalid here.
ZEL_API short GetDenominatorType(short displayCode) ZEL_NOEXCEPT;

// Writes a record as text. `text` has room for 24 bytes; fill it with zero bytes first. -123456 with code 20:
//   0  -1234.56      1  $1,234.56-      2  -$1,234.56      3  -$1,234.56      any other number  -1234.56-
// Decimals show as many digits as the code says; format 3 always shows two, rounded without a carry into the whole
// part: 5.999 is $5.00. Whole units are 5, or $5.00 in format 3.
// Fractions are 1 7/8 and 7/8, without the "$" when there is no whole part; format 1 then writes -1/2 as $1/2-.
// Format 2 drops a whole part of 7 or more digits when something follows: 1234567.67 is .67, 1234567 stays.
// No zero byte is written where nothing follows the whole part: formats 1 and 2 for whole units (when the number has at
// most 6 digits or the format is 1), 1 to 3 for fractions without a numerator. After the sign that format 1 puts at the
// end there always is one.
// The most negative amount of whole units has its "-" twice: --2147483648.
// 0, or -1 with `text` empty. Reports 1001 (`money` is null) and 1462 (invalid code); a code below 0 is not reported.
ZEL_API int ZELMoneyToStr(const _money* money, char* text, short format) ZEL_NOEXCEPT;

// Reads a text of at most 31 characters without the spaces around it:
//   "", "1234", "-1234", "1234-", "$1,234"    whole units: code 1
//   "12.5", "$1,234.56", ".25"                decimals: code 10 to 50 by their number; those after the fifth are cut
//   "25000000.50"                             more than 20,000,000 with two decimals: the large form
//   "3/4", "3 4", "1 1/2", "-1 1/2"           fractions: code 2 to 256; a denominator of 10 to 100000 gives decimals
//   "101'16", "101\"16", "101!16", "101!!16"  32nds, 64ths, 128ths, 256ths
// Characters that are neither digits nor one of  space / . ' " !  are skipped; a "-" anywhere makes it negative. Runs
// of digits above 2147483647 count as that number; the sign is applied afterwards.
// 0, or -1 with *money untouched:
//  - without a report for null, a "." together with a space, another denominator ("1/3", "7."), a numerator above the
//    denominator
//  - with report 1467 for three or more separators ("1/2/3/4") and for longer texts
//  - with report 1001 when `money` is null
ZEL_API int ZELStrToMoney(const char* text, _money* money) ZEL_NOEXCEPT;

// ---- Dates and times ------------------------------------------------------------------------------------------------

// Writes the date of a record, 30 November 1999 as:
//   1  99/11/30    2  30/11/99     7  991130         9  113099     10  1199              11  19991130
//  12  11301999   13  111999      14  11/30/1999    15  11/1999    16  1999/11/2.2hd     any other  11/30/99
// Format 16 does not show the day. Years from 2000 on are the stored year less 100 where two digits are shown (2005 is
// 05, 2100 is 100). A record without a date (kind 0 or 2) is 00/00/1900 in every format. 18 bytes hold every text.
// 0, or -1 with report 1001 for a null argument.
ZEL_API int ZELDateToStr(const _datetime* value, char* text, short format) ZEL_NOEXCEPT;

// Writes the time of a record, 9:05:07 as:
//   4  09:05       5  090507       6  0905           any other  09:05:07
// A record without a time (kind 0 or 1) is 00:00:00 in every format. 18 bytes hold every text.
// 0, or -1 with report 1001 for a null argument.
ZEL_API int ZELTimeToStr(const _datetime* value, char* text, short format) ZEL_NOEXCEPT;

// Writes date (as in format 1) and time, 99/11/30 09:05:07; or what the record has of the two; or 00:00:00 when it has
// neither. The text is cut at 17 characters, so that 18 bytes hold it. Date and time of a year from 2100 on take 18:
// the last digit of the seconds is lost (2100 is 100/11/30 09:05:0). Members of three digits or below 0 make the text
// longer, so that more is lost. 0, or -1 with report 1001 for a null argument and `text`, if there is one, empty.
ZEL_API int ZELDateTimeToStr(const _datetime* value, char* text) ZEL_NOEXCEPT;

// Reads a date, without the spaces around it, and clears the record's time:
//   0  113099, 11/30/99     1  991130, 99/11/30     2  301199, 30/11/99     8, 10  1199, 11/99 (day 0)
//  11  19991130            12  11301999            14  11/30/1999          15  11/1999 (day 0)
// In the formats 0 to 10 any character but a digit may stand for the "/". Characters after the date are ignored. Years
// of two digits are in the 1900s: 05 is 1905. An empty text is the null date (0, 0, 0) in the formats 12, 14 and 15; so
// is every text in a format that is not listed.
// 0; also, with report 1463, for a text whose parts are not numbers, which gives the null date. -1 with *value
// untouched:
//  - without a report for null, a text too short for its format, a "/" in format 11 or a missing one in 14 and 15, a
//    year before 1900
//  - with report 1001 for a day above 31, a month above 12, a year above 2154, or when `value` is null
ZEL_API int ZELStrToDate(const char* text, _datetime* value, short format) ZEL_NOEXCEPT;

// Reads a time of at least 4 characters, and clears the record's date: 0905, 09:05, 090507, 09:05:07. Any character but
// a digit may stand for the ":". Missing digits are 0: four spaces are 00:00:00.
// 0, or -1 with *value untouched:
//  - without a report for null and shorter texts
//  - with report 1464 for a text whose parts are not numbers
//  - with report 1001 for more than 24 hours, 59 minutes or 59 seconds, or when `value` is null
ZEL_API int ZELStrToTime(const char* text, _datetime* value) ZEL_NOEXCEPT;

// Like ZELStrToTime, but the record keeps its date and becomes one of date and time.
ZEL_API int ZELAddStrToTime(const char* text, _datetime* value) ZEL_NOEXCEPT;

// ---- Fractions ------------------------------------------------------------------------------------------------------

// The greatest common factor of two positive numbers. `a` when b is below 1; else b when a is below 1.
ZEL_API long FindGCF(long a, long b) ZEL_NOEXCEPT;

// Rewrites decimals as a fraction: "0.375" is 3/8, "2.50" is 2 1/2, "1.0" is 1, "0.0" is 0/1, "0.3" is 3/10. The
// fraction of a negative text is lost: "-5.5" is -5. Returns a text of 32 bytes that the caller releases with ZELFree;
// or null when the reduced denominator has no display code ("0.2"), when the text has no decimals ("3", "1 1/2",
// "abc"), or when memory is out. Reports what ZELStrToMoney reports, and 1462 for hundredths on fewer than -20,000,000
// whole units, which have no display code.
ZEL_API char* ConvertDecimalToFraction(const char* text) ZEL_NOEXCEPT;

// ---- Memory ---------------------------------------------------------------------------------------------------------

// Releases a text of ConvertDecimalToFraction, or a value that a program took away from its slot (_field_data in
// zelmessage.h). Null is allowed.
ZEL_API void ZELFree(void* block) ZEL_NOEXCEPT;

#if defined(__cplusplus)
}  // extern "C"
#endif

#endif  // ZEL_ZELVALUES_H
