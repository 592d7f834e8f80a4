// Text to dates and times. A text is read in pairs of characters at fixed places. At the end of a short text a pair may
// have one character or none; an empty pair is 0.
#include <cstdint>
#include <cstring>
#include <string_view>

#include "convert/date_time.h"
#include "convert/text.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// The numbers of a date text; parts that its format does not have stay 0.
struct DateParts {
    std::int32_t day;
    std::int32_t month;
    std::int32_t year;  // since 1900
    bool malformed;     // a part is not a number
};

// Reads the pair at `at`. False when it is not a number.
[[nodiscard]] bool ReadPair(std::string_view text, std::size_t at, std::int32_t& value) noexcept {
    if (at + 2 <= text.size() && IsDigit(text[at]) && IsDigit(text[at + 1])) {
        value = (text[at] - '0') * 10 + (text[at + 1] - '0');
        return true;
    }
    return ReadSignedNumber(at < text.size() ? text.substr(at, 2) : std::string_view{}, value);
}

// Reads the pair at `at`, after a separator if there is one, and moves `at` past it.
[[nodiscard]] bool ReadNextPair(std::string_view text, std::size_t& at, std::int32_t& value) noexcept {
    if (at >= text.size() || !IsDigit(text[at])) {
        ++at;
    }
    const bool isNumber = ReadPair(text, at, value);
    at += 2;
    return isNumber;
}

// Reads three pairs with or without separators. False when the text is too short for them.
[[nodiscard]] bool ReadPairs(std::string_view text, DateParts& date, std::int32_t& first, std::int32_t& second,
                             std::int32_t& third) noexcept {
    if (text.size() < 6) {
        return false;
    }
    std::size_t at = 2;
    date.malformed = !ReadPair(text, 0, first) || !ReadNextPair(text, at, second) || !ReadNextPair(text, at, third);
    return true;
}

[[nodiscard]] bool ReadMonthAndYear(std::string_view text, DateParts& date) noexcept {
    if (text.size() < 4) {
        return false;
    }
    std::size_t at = 2;
    date.malformed = !ReadPair(text, 0, date.month) || !ReadNextPair(text, at, date.year);
    return true;
}

// Reads a year in four digits. False when it is before 1900; years with fewer digits always are.
[[nodiscard]] bool ReadFullYear(std::string_view text, std::size_t at, DateParts& date) noexcept {
    std::int32_t year = 0;
    if (!ReadSignedNumber(text.substr(at, 4), year) || year < kFirstYear) {
        return false;
    }
    date.year = year - kFirstYear;
    return true;
}

bool IsSlash(std::string_view text, std::size_t at) noexcept {
    return text[at] == '/';
}

// False when the text is too short for its format, or its year is before 1900.
[[nodiscard]] bool ReadDate(std::string_view text, short format, DateParts& date) noexcept {
    switch (format) {
        case 0:
            return ReadPairs(text, date, date.month, date.day, date.year);
        case 1:
            return ReadPairs(text, date, date.year, date.month, date.day);
        case 2:
            return ReadPairs(text, date, date.day, date.month, date.year);
        case 8:
        case 10:
            return ReadMonthAndYear(text, date);
        case 11:
            if (text.size() < 8 || text.find('/') != std::string_view::npos) {
                return false;
            }
            date.malformed = !ReadPair(text, 4, date.month) || !ReadPair(text, 6, date.day);
            return ReadFullYear(text, 0, date);
        case 12:
            text = text.empty() ? "00001900" : text;
            if (text.size() < 8) {
                return false;
            }
            date.malformed = !ReadPair(text, 0, date.month) || !ReadPair(text, 2, date.day);
            return ReadFullYear(text, 4, date);
        case 14:
            text = text.empty() ? "00/00/1900" : text;
            if (text.size() < 10 || !IsSlash(text, 2) || !IsSlash(text, 5)) {
                return false;
            }
            date.malformed = !ReadPair(text, 0, date.month) || !ReadPair(text, 3, date.day);
            return ReadFullYear(text, 6, date);
        case 15:
            text = text.empty() ? "00/1900" : text;
            if (text.size() < 7 || !IsSlash(text, 2)) {
                return false;
            }
            date.malformed = !ReadPair(text, 0, date.month);
            return ReadFullYear(text, 3, date);
        default:
            return true;
    }
}

// Stores the time. `date` goes to day, month and year: kCleared or kKept.
int StoreTime(const char* source, int date, unsigned char kind, _datetime* value) noexcept {
    if (source == nullptr || std::strlen(source) < 4) {
        return -1;
    }
    const std::string_view text = Trimmed(source);
    std::size_t at = 2;
    std::int32_t hour = 0;
    std::int32_t minute = 0;
    std::int32_t second = 0;
    if (!ReadPair(text, 0, hour) || !ReadNextPair(text, at, minute) ||
        (text.size() >= 6 && !ReadNextPair(text, at, second))) {
        SendReportOn(reports::kInvalidTime, text);
        return -1;
    }
    return ZELFormatDateTime(date, date, date, hour, minute, second, 0, kind, value);
}

}  // namespace

}  // namespace zel

extern "C" int ZELStrToDate(const char* text, _datetime* value, short format) noexcept {
    if (text == nullptr) {
        return -1;
    }
    const std::string_view trimmed = zel::Trimmed(text);
    zel::DateParts date{};
    if (!zel::ReadDate(trimmed, format, date)) {
        return -1;
    }
    if (date.malformed) {
        zel::SendReportOn(zel::reports::kInvalidDate, trimmed);
        date = {};
    }
    return zel::ZELFormatDateTime(date.day, date.month, date.year, 0, 0, 0, 0, zel::kDateKind, value);
}

extern "C" int ZELStrToTime(const char* text, _datetime* value) noexcept {
    constexpr int kCleared = 0;
    return zel::StoreTime(text, kCleared, zel::kTimeKind, value);
}

extern "C" int ZELAddStrToTime(const char* text, _datetime* value) noexcept {
    constexpr int kKept = -1;
    return zel::StoreTime(text, kKept, zel::kDateTimeKind, value);
}
