// The text basics of the conversions. Every byte counts as it stands: no locale has a say in what a space is.
#ifndef ZEL_CONVERT_TEXT_H
#define ZEL_CONVERT_TEXT_H

#include <cstdint>
#include <limits>
#include <string_view>

#include "runtime/digits.h"
#include "runtime/error_report.h"

namespace zel {

// The text without its leading and trailing spaces (the byte 0x20 alone).
[[nodiscard]] std::string_view Trimmed(const char* text) noexcept;

// Copies the trimmed source and terminates it; the two may overlap. A null argument leaves the target untouched.
void TrimSpaces(const char* source, char* target) noexcept;

// Puts one character and a terminator after the text.
void AppendChar(char* text, char c) noexcept;

// The number with one more digit. What grows beyond 32 bits stays at the largest number.
inline std::int32_t WithDigit(std::int32_t value, char digit) noexcept {
    constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
    const std::int32_t added = digit - '0';
    if (value < kLargest / 10) [[likely]] {
        return value * 10 + added;
    }
    return value == kLargest / 10 && added <= kLargest % 10 ? value * 10 + added : kLargest;
}

// Reads digits, or none, which make 0, after leading spaces and one "-". False, with `value` as it was, when anything
// else is left.
[[nodiscard]] inline bool ReadSignedNumber(std::string_view text, std::int32_t& value) noexcept {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end && *at == ' ') {
        ++at;
    }
    const bool negative = at != end && *at == '-';
    at += negative ? 1 : 0;
    std::int32_t magnitude = 0;
    for (; at != end; ++at) {
        if (!IsDigit(*at)) {
            return false;
        }
        magnitude = WithDigit(magnitude, *at);
    }
    value = negative ? -magnitude : magnitude;
    return true;
}

// 1 for what ReadSignedNumber takes, else 0.
[[nodiscard]] int IsSignedNumber(std::string_view text) noexcept;

// Writes the number without a terminator and returns the position after it: at most 11 characters.
char* PutNumber(char* at, std::int32_t value) noexcept;

// Writes the number and a terminator: at most 7 bytes. Always 0.
int ShortToStr(short value, char* text) noexcept;

// Sends a report on a text, cut where the report ends.
void SendReportOn(const Report& report, std::string_view text) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_TEXT_H
