// Date-times as seconds since the first of January 1970, midnight. In no time zone: a day has 86400 of them.
// Inline, because a call would take registers from the loops over a record's fields.
#ifndef ZEL_CONVERT_SECONDS_H
#define ZEL_CONVERT_SECONDS_H

#include <chrono>
#include <cstdint>

#include "convert/date_time.h"

namespace zel {

// What is no date and no time has so many.
inline constexpr std::int64_t kNoSeconds = INT64_MIN;

// A date without a time is its midnight, a time without a date one of the first of January 1970; 24 hours are the next
// midnight. kNoSeconds for a kind, or a day of a calendar or clock, that there is not.
[[nodiscard, gnu::always_inline]] inline std::int64_t SecondsOf(const _datetime& value) noexcept {
    using namespace std::chrono;
    if (!HasDate(value) && !HasTime(value)) {
        return kNoSeconds;
    }
    seconds found{0};
    if (HasDate(value)) {
        // What is negative is too large.
        const year_month_day date{year{kFirstYear + value.year}, month{static_cast<unsigned char>(value.month)},
                                  day{static_cast<unsigned char>(value.day)}};
        if (!date.ok()) {
            return kNoSeconds;
        }
        found = sys_days{date}.time_since_epoch();
    }
    if (HasTime(value)) {
        if (value.hour < 0 || value.hour > 24 || value.minute < 0 || value.minute > 59 || value.second < 0 ||
            value.second > 59) {
            return kNoSeconds;
        }
        found += hours{value.hour} + minutes{value.minute} + seconds{value.second};
    }
    return found.count();
}

// A date and a time; all zero, which is neither, outside the years 1900 to 2155.
[[nodiscard, gnu::always_inline]] inline _datetime DateTimeOf(std::int64_t secondsSince1970) noexcept {
    using namespace std::chrono;
    constexpr sys_seconds first = sys_days{year{kFirstYear} / January / 1};
    constexpr sys_seconds after = sys_days{year{kFirstYear + UINT8_MAX + 1} / January / 1};
    const sys_seconds moment{seconds{secondsSince1970}};
    if (moment < first || moment >= after) {
        return {};
    }
    const auto midnight = floor<days>(moment);
    const year_month_day date{midnight};
    const hh_mm_ss time{moment - midnight};
    _datetime out{};
    out.day = static_cast<signed char>(static_cast<unsigned>(date.day()));
    out.month = static_cast<signed char>(static_cast<unsigned>(date.month()));
    out.year = static_cast<unsigned char>(static_cast<int>(date.year()) - kFirstYear);
    out.hour = static_cast<signed char>(time.hours().count());
    out.minute = static_cast<signed char>(time.minutes().count());
    out.second = static_cast<signed char>(time.seconds().count());
    out.kind = kDateTimeKind;
    return out;
}

}  // namespace zel

#endif  // ZEL_CONVERT_SECONDS_H
