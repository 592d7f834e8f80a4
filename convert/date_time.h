// Date-time records: the builder that checks and fills them, and conversions other than to and from text.
#ifndef ZEL_CONVERT_DATE_TIME_H
#define ZEL_CONVERT_DATE_TIME_H

#include <ctime>

#include "include/zelvalues.h"

namespace zel {

// Values of _datetime::kind.
inline constexpr unsigned char kDateKind = 1;
inline constexpr unsigned char kTimeKind = 2;
inline constexpr unsigned char kDateTimeKind = 3;

// Years in a record count from here.
inline constexpr int kFirstYear = 1900;

inline bool HasDate(const _datetime& value) noexcept {
    return value.kind == kDateKind || value.kind == kDateTimeKind;
}

inline bool HasTime(const _datetime& value) noexcept {
    return value.kind == kTimeKind || value.kind == kDateTimeKind;
}

// Stores the kind, and each of the other values that is not -1. Returns 0; or -1 with report 1001 and nothing stored
// when a value is above its limit (31, 12, 254, 24, 59, 59, none, 3) or `out` is null. There are no lower limits.
[[nodiscard]] int ZELFormatDateTime(int day, int month, int year, int hour, int minute, int second, int extra, int kind,
                                    _datetime* out) noexcept;

// ZELDateTimeToStr in any pair of formats: date, space and time, whatever the kind. At most 31 bytes.
[[nodiscard]] int ZELDateTimeToStrInFormats(const _datetime* value, char* text, short dateFormat,
                                            short timeFormat) noexcept;

// ZELDateTimeToStr with date format 16 in place of 1. At most 31 bytes.
[[nodiscard]] int ZELDateTimeToStrYearFirst(const _datetime* value, char* text) noexcept;

// The year of two digits, or -1 for other numbers and modes. In the modes 1 and 2 the years 91 to 99 are in the 1900s,
// in mode 3 the years 51 to 99; all others are in the 2000s.
[[nodiscard]] int ExpandTwoDigitYear(int year, int mode) noexcept;

// Seconds since 1 January 1970; the record is in local time. -1 unless its kind is date and time.
[[nodiscard]] std::time_t DateTimeToTimeT(const _datetime* value) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_DATE_TIME_H
