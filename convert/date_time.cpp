#include "convert/date_time.h"

#include "runtime/reports.h"

namespace zel {

namespace {

// Stores the low byte; -1 keeps the member's value.
template <typename Member>
void StoreUnlessKept(Member& member, int value) noexcept {
    if (value != -1) {
        member = static_cast<Member>(value);
    }
}

}  // namespace

int ZELFormatDateTime(int day, int month, int year, int hour, int minute, int second, int extra, int kind,
                      _datetime* out) noexcept {
    if (day > 31 || month > 12 || year > 254 || hour > 24 || minute > 59 || second > 59 || kind > kDateTimeKind ||
        out == nullptr) {
        SendReport(reports::kFormatDateTimeFailed);
        return -1;
    }
    StoreUnlessKept(out->day, day);
    StoreUnlessKept(out->month, month);
    StoreUnlessKept(out->year, year);
    StoreUnlessKept(out->hour, hour);
    StoreUnlessKept(out->minute, minute);
    StoreUnlessKept(out->second, second);
    StoreUnlessKept(out->extra, extra);
    out->kind = static_cast<unsigned char>(kind);
    return 0;
}

int ExpandTwoDigitYear(int year, int mode) noexcept {
    if (year < 0 || year > 99) {
        return -1;
    }
    switch (mode) {
        case 1:
        case 2:
            return year > 90 ? 1900 + year : 2000 + year;
        case 3:
            return year > 50 ? 1900 + year : 2000 + year;
        default:
            return -1;
    }
}

std::time_t DateTimeToTimeT(const _datetime* value) noexcept {
    if (value == nullptr || value->kind != kDateTimeKind) {
        return -1;
    }
    std::tm calendar{};
    calendar.tm_sec = int{value->second};
    calendar.tm_min = int{value->minute};
    calendar.tm_hour = int{value->hour};
    calendar.tm_mday = int{value->day};
    calendar.tm_mon = value->month - 1;
    calendar.tm_year = value->year;
    calendar.tm_isdst = -1;
    return std::mktime(&calendar);
}

}  // namespace zel
