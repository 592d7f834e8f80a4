// Text routines for the conversions. No locale is used: a space is the byte 0x20 alone.
#ifndef ZEL_CONVERT_TEXT_H
#define ZEL_CONVERT_TEXT_H

#include <cstdint>
#include <limits>
#include <string_view>

#include "runtime/digits.h"
#include "runtime/error_report.h"

namespace zel {

// The text without its leading and trailing spaces.
[[nodiscard]] std::string_view Trimmed(const char* text) noexcept;

// Copies the trimmed source and a terminator. The two may overlap. Does nothing when one is null.
void TrimSpaces(const char* source, char* target) noexcept;

// Appends one character to the text.
void AppendChar(char* text, char c) noexcept;

// The number with one more digit, or the largest number of 32 bits when it would be greater than that.
inline std::int32_t WithDigit(std::int32_t value, char digit) noexcept {
    constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
    const std::int32_t added = digit - '0';
    if (value < kLargest / 10) [[likely]] {
        return value * 10 + added;
    }
    return value == kLargest / 10 && added <= kLargest % 10 ? value * 10 + added : kLargest;
}

// Reads leading spaces, an optional "-" and digits; no digits are 0. False, with `value` unchanged, when anything else
// follows.
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

// 1 if ReadSignedNumber reads the text, else 0.
[[nodiscard]] int IsSignedNumber(std::string_view text) noexcept;

// Writes the number, at most 11 characters, without a terminator; returns the position after it.
char* PutNumber(char* at, std::int32_t value) noexcept;

// Writes the number and a terminator, at most 7 bytes. Returns 0.
int ShortToStr(short value, char* text) noexcept;

// Sends a report with the text in it, cut to what fits.
void SendReportOn(const Report& report, std::string_view text) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_TEXT_H
