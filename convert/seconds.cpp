#include "convert/seconds.h"

#include <chrono>

#include "convert/date_time.h"

namespace zel {

std::int64_t SecondsOf(const _datetime& value) noexcept {
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

_datetime DateTimeOf(std::int64_t secondsSince1970) noexcept {
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
