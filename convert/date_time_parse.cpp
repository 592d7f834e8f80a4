// Text to dates and times. A text is read in pairs of characters at fixed places; where it ends early, a pair is
// shorter or empty, and an empty one makes 0.
#include <cstdint>
#include <cstring>
#include <string_view>

#include "convert/date_time.h"
#include "convert/text.h"
#include "runtime/reports.h"

namespace zel {

namespace {

constexpr std::int32_t kFirstYear = 1900;

struct DateSlots {
    std::string_view day;
    std::string_view month;
    std::string_view year;
    std::int32_t yearBase;  // the year that the slot counts from
};

struct TimeSlots {
    std::string_view hour;
    std::string_view minute;
    std::string_view second;
};

std::string_view PairAt(std::string_view text, std::size_t at) noexcept {
    return at < text.size() ? text.substr(at, 2) : std::string_view{};
}

// The pair at `at`, or one later when there is a separator; moves `at` behind it.
std::string_view NextPair(std::string_view text, std::size_t& at) noexcept {
    if (at >= text.size() || !IsDigit(text[at])) {
        ++at;
    }
    const std::string_view pair = PairAt(text, at);
    at += 2;
    return pair;
}

[[nodiscard]] bool ReadPairs(std::string_view text, std::string_view& first, std::string_view& second,
                             std::string_view& third) noexcept {
    if (text.size() < 6) {
        return false;
    }
    std::size_t at = 2;
    first = PairAt(text, 0);
    second = NextPair(text, at);
    third = NextPair(text, at);
    return true;
}

[[nodiscard]] bool ReadMonthAndYear(std::string_view text, DateSlots& slots) noexcept {
    if (text.size() < 4) {
        return false;
    }
    std::size_t at = 2;
    slots.month = PairAt(text, 0);
    slots.year = NextPair(text, at);
    return true;
}

// A year in four digits, from 1900 on. Fewer digits among the four characters make less than that.
[[nodiscard]] bool ReadFullYear(std::string_view text, std::size_t at, DateSlots& slots) noexcept {
    slots.year = text.substr(at, 4);
    slots.yearBase = kFirstYear;
    return IsSignedNumber(slots.year) != 0 && ReadSignedNumber(slots.year) >= kFirstYear;
}

bool IsSlash(std::string_view text, std::size_t at) noexcept {
    return text[at] == '/';
}

// False when the text is too short for its format, or its year too early. A slot that the format lacks stays empty.
[[nodiscard]] bool ReadDateSlots(std::string_view text, short format, DateSlots& slots) noexcept {
    switch (format) {
        case 0:
            return ReadPairs(text, slots.month, slots.day, slots.year);
        case 1:
            return ReadPairs(text, slots.year, slots.month, slots.day);
        case 2:
            return ReadPairs(text, slots.day, slots.month, slots.year);
        case 8:
        case 10:
            return ReadMonthAndYear(text, slots);
        case 11:
            if (text.size() < 8 || text.find('/') != std::string_view::npos) {
                return false;
            }
            slots.month = PairAt(text, 4);
            slots.day = PairAt(text, 6);
            return ReadFullYear(text, 0, slots);
        case 12:
            text = text.empty() ? "00001900" : text;
            if (text.size() < 8) {
                return false;
            }
            slots.month = PairAt(text, 0);
            slots.day = PairAt(text, 2);
            return ReadFullYear(text, 4, slots);
        case 14:
            text = text.empty() ? "00/00/1900" : text;
            if (text.size() < 10 || !IsSlash(text, 2) || !IsSlash(text, 5)) {
                return false;
            }
            slots.month = PairAt(text, 0);
            slots.day = PairAt(text, 3);
            return ReadFullYear(text, 6, slots);
        case 15:
            text = text.empty() ? "00/1900" : text;
            if (text.size() < 7 || !IsSlash(text, 2)) {
                return false;
            }
            slots.month = PairAt(text, 0);
            return ReadFullYear(text, 3, slots);
        default:
            return true;
    }
}

// False when the text is too short or, with the report, when it is no time.
[[nodiscard]] bool ReadTimeSlots(const char* source, TimeSlots& slots) noexcept {
    if (source == nullptr || std::strlen(source) < 4) {
        return false;
    }
    const std::string_view text = Trimmed(source);
    std::size_t at = 2;
    slots.hour = PairAt(text, 0);
    slots.minute = NextPair(text, at);
    slots.second = text.size() < 6 ? std::string_view{} : NextPair(text, at);
    if (IsSignedNumber(slots.hour) == 0 || IsSignedNumber(slots.minute) == 0 || IsSignedNumber(slots.second) == 0) {
        SendReportOn(reports::kInvalidTime, text);
        return false;
    }
    return true;
}

// Puts the time into the record; `date` is what becomes of day, month and year.
int StoreTime(const char* text, int date, unsigned char kind, _datetime* value) noexcept {
    TimeSlots slots{};
    if (!ReadTimeSlots(text, slots)) {
        return -1;
    }
    return ZELFormatDateTime(date, date, date, ReadSignedNumber(slots.hour), ReadSignedNumber(slots.minute),
                             ReadSignedNumber(slots.second), 0, kind, value);
}

}  // namespace

}  // namespace zel

extern "C" int ZELStrToDate(const char* text, _datetime* value, short format) noexcept {
    if (text == nullptr) {
        return -1;
    }
    const std::string_view trimmed = zel::Trimmed(text);
    zel::DateSlots slots{};
    if (!zel::ReadDateSlots(trimmed, format, slots)) {
        return -1;
    }
    if (zel::IsSignedNumber(slots.day) == 0 || zel::IsSignedNumber(slots.month) == 0 ||
        zel::IsSignedNumber(slots.year) == 0) {
        zel::SendReportOn(zel::reports::kInvalidDate, trimmed);
        return zel::ZELFormatDateTime(0, 0, 0, 0, 0, 0, 0, zel::kDateKind, value);
    }
    return zel::ZELFormatDateTime(zel::ReadSignedNumber(slots.day), zel::ReadSignedNumber(slots.month),
                                  zel::ReadSignedNumber(slots.year) - slots.yearBase, 0, 0, 0, 0, zel::kDateKind,
                                  value);
}

extern "C" int ZELStrToTime(const char* text, _datetime* value) noexcept {
    constexpr int kCleared = 0;
    return zel::StoreTime(text, kCleared, zel::kTimeKind, value);
}

extern "C" int ZELAddStrToTime(const char* text, _datetime* value) noexcept {
    constexpr int kKept = -1;
    return zel::StoreTime(text, kKept, zel::kDateTimeKind, value);
}
