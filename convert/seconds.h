// Date-times as seconds since the first of January 1970, midnight. In no time zone: a day has 86400 of them.
#ifndef ZEL_CONVERT_SECONDS_H
#define ZEL_CONVERT_SECONDS_H

#include <cstdint>

#include "include/zelvalues.h"

namespace zel {

// What is no date and no time has so many.
inline constexpr std::int64_t kNoSeconds = INT64_MIN;

// A date without a time is its midnight, a time without a date one of the first of January 1970; 24 hours are the next
// midnight. kNoSeconds for a kind, or a day of a calendar or clock, that there is not.
[[nodiscard]] std::int64_t SecondsOf(const _datetime& value) noexcept;

// A date and a time; all zero, which is neither, outside the years 1900 to 2155.
[[nodiscard]] _datetime DateTimeOf(std::int64_t secondsSince1970) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_SECONDS_H
