// Date-time records: the builder that checks and fills them, and the ways out of them that are no text.
#ifndef ZEL_CONVERT_DATE_TIME_H
#define ZEL_CONVERT_DATE_TIME_H

#include <ctime>

#include "include/zelvalues.h"

namespace zel {

// Values of _datetime::kind.
inline constexpr unsigned char kDateKind = 1;
inline constexpr unsigned char kTimeKind = 2;
inline constexpr unsigned char kDateTimeKind = 3;

inline bool HasDate(const _datetime& value) noexcept {
    return value.kind == kDateKind || value.kind == kDateTimeKind;
}

inline bool HasTime(const _datetime& value) noexcept {
    return value.kind == kTimeKind || value.kind == kDateTimeKind;
}

// Stores each of the first seven values that is not -1, and the kind. -1 with report 1001 and nothing stored when one
// is above its bound (31, 12, 254, 24, 59, 59, none, 3) or `out` is null. There are no lower bounds.
[[nodiscard]] int ZELFormatDateTime(int day, int month, int year, int hour, int minute, int second, int extra, int kind,
                                    _datetime* out) noexcept;

// ZELDateTimeToStr in any pair of formats: date, space and time, whatever the kind. At most 31 bytes.
[[nodiscard]] int ZELDateTimeToStrInFormats(const _datetime* value, char* text, short dateFormat,
                                            short timeFormat) noexcept;

// ZELDateTimeToStr with date format 16 in place of 1. At most 31 bytes.
[[nodiscard]] int ZELDateTimeToStrYearFirst(const _datetime* value, char* text) noexcept;

// The year that two digits stand for, or -1 for other numbers. The modes 1 and 2 take 91 to 99 for the 1900s, mode 3
// takes 51 to 99; the rest are the 2000s. -1 in every other mode.
[[nodiscard]] int ExpandTwoDigitYear(int year, int mode) noexcept;

// The time in seconds since 1 January 1970, the record taken as local time. -1 for another kind than date and time.
[[nodiscard]] std::time_t DateTimeToTimeT(const _datetime* value) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_DATE_TIME_H
