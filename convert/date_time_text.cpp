// Dates and times to text. Records may come from anywhere, so every byte value has a text, and no text is longer than
// the caller's buffer.
#include <algorithm>
#include <cstring>

#include "convert/date_time.h"
#include "convert/text.h"
#include "convert/wrap.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// The formats that the date-time texts are made of.
constexpr short kShortYearFirst = 1;
constexpr short kFullTime = 3;
constexpr short kYearFirst = 16;

constexpr std::size_t kLongestDateTime = 17;

// Two parts of at most 14 (format 16: 15) characters, and a space between them.
constexpr std::size_t kLongestInFormats = 30;

// How a format writes a date: D day, M month, Y year in two digits, C year in four; other characters are literal.
const char* DateLayout(short format) noexcept {
    switch (format) {
        case kShortYearFirst:
            return "Y/M/D";
        case 2:
            return "D/M/Y";
        case 7:
            return "YMD";
        case 9:
            return "MDY";
        case 10:
            return "MY";
        case 11:
            return "CMD";
        case 12:
            return "MDC";
        case 13:
            return "MC";
        case 14:
            return "M/D/C";
        case 15:
            return "M/C";
        case kYearFirst:
            // An old misprint that readers rely on: this format never shows the day.
            return "C/M/2.2hd";
        default:
            return "M/D/Y";
    }
}

// H hour, N minute, S second.
const char* TimeLayout(short format) noexcept {
    switch (format) {
        case 4:
            return "H:N";
        case 5:
            return "HNS";
        case 6:
            return "HN";
        default:
            return "H:N:S";
    }
}

// At least two digits, after a "-" if the value is negative.
char* PutPadded(char* at, int value) noexcept {
    if (value < 0) {
        *at++ = '-';
        value = -value;
    }
    return value < 100 ? PutTwoDigits(at, value) : PutNumber(at, value);
}

char* PutLayout(char* at, const char* layout, const _datetime& value) noexcept {
    for (; *layout != '\0'; ++layout) {
        switch (*layout) {
            case 'D':
                at = PutPadded(at, value.day);
                break;
            case 'M':
                at = PutPadded(at, value.month);
                break;
            case 'Y':
                at = PutPadded(at, value.year >= 100 ? value.year - 100 : value.year);
                break;
            case 'C':
                at = PutNumber(at, value.year + 1900);
                break;
            case 'H':
                at = PutPadded(at, value.hour);
                break;
            case 'N':
                at = PutPadded(at, value.minute);
                break;
            case 'S':
                at = PutPadded(at, value.second);
                break;
            default:
                *at++ = *layout;
                break;
        }
    }
    *at = '\0';
    return at;
}

char* PutDate(char* at, const _datetime& value, short format) noexcept {
    return PutLayout(at, HasDate(value) ? DateLayout(format) : "00/00/1900", value);
}

char* PutTime(char* at, const _datetime& value, short format) noexcept {
    return PutLayout(at, HasTime(value) ? TimeLayout(format) : "00:00:00", value);
}

// Empties the text, if there is one. False, with a report, when an argument is null.
[[nodiscard]] bool StartDateTime(const _datetime* value, char* text) noexcept {
    if (text != nullptr) {
        text[0] = '\0';
    }
    if (value == nullptr || text == nullptr) {
        SendReport(reports::kDateTimeToStrFailed);
        return false;
    }
    return true;
}

// Returns the end of the text.
char* PutDateTime(char* at, const _datetime& value, short dateFormat) noexcept {
    if (!HasDate(value)) {
        return PutTime(at, value, kFullTime);
    }
    at = PutDate(at, value, dateFormat);
    if (!HasTime(value)) {
        return at;
    }
    *at++ = ' ';
    return PutTime(at, value, kFullTime);
}

}  // namespace

int ZELDateTimeToStrInFormats(const _datetime* value, char* text, short dateFormat, short timeFormat) noexcept {
    if (!StartDateTime(value, text)) {
        return -1;
    }
    char* at = PutDate(text, *value, dateFormat);
    *at++ = ' ';
    PutTime(at, *value, timeFormat);
    return 0;
}

int ZELDateTimeToStrYearFirst(const _datetime* value, char* text) noexcept {
    if (!StartDateTime(value, text)) {
        return -1;
    }
    PutDateTime(text, *value, kYearFirst);
    return 0;
}

}  // namespace zel

extern "C" int ZELDateToStr(const _datetime* value, char* text, short format) noexcept {
    if (value == nullptr || text == nullptr) {
        zel::SendReport(zel::reports::kDateToStrFailed);
        return -1;
    }
    zel::PutDate(text, *value, format);
    return 0;
}

extern "C" int ZELTimeToStr(const _datetime* value, char* text, short format) noexcept {
    if (value == nullptr || text == nullptr) {
        zel::SendReport(zel::reports::kTimeToStrFailed);
        return -1;
    }
    zel::PutTime(text, *value, format);
    return 0;
}

extern "C" int ZELDateTimeToStr(const _datetime* value, char* text) noexcept {
    if (!zel::StartDateTime(value, text)) {
        return -1;
    }
    // Members of three digits and negative ones can make the text longer than the caller's buffer.
    char whole[zel::kLongestInFormats + 1];
    const char* end = zel::PutDateTime(whole, *value, zel::kShortYearFirst);
    const std::size_t length = std::min(static_cast<std::size_t>(end - whole), zel::kLongestDateTime);
    std::memcpy(text, whole, length);
    text[length] = '\0';
    return 0;
}
