// The text basics of the conversions. Every byte counts as it stands: no locale has a say in what a digit or a space
// is.
#ifndef ZEL_CONVERT_TEXT_H
#define ZEL_CONVERT_TEXT_H

#include <cstdint>
#include <string_view>

#include "runtime/error_report.h"

namespace zel {

inline bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// The text without its leading and trailing spaces (the byte 0x20 alone).
[[nodiscard]] std::string_view Trimmed(const char* text) noexcept;

// Copies the trimmed source and terminates it; the two may overlap. A null argument leaves the target untouched.
void TrimSpaces(const char* source, char* target) noexcept;

// Puts one character and a terminator behind the text.
void AppendChar(char* text, char c) noexcept;

// 1 when nothing but digits is left, or nothing at all, behind leading spaces and one "-"; else 0.
[[nodiscard]] int IsSignedNumber(std::string_view text) noexcept;

// The value of a text that IsSignedNumber accepts; no digits make 0.
[[nodiscard]] std::int32_t ReadSignedNumber(std::string_view text) noexcept;

// The value of a run of digits; no digits make 0, too many for 32 bits the largest number.
[[nodiscard]] std::int32_t ReadDigits(std::string_view digits) noexcept;

// Writes the number without a terminator and returns the position behind it: at most 11 characters.
char* PutNumber(char* at, std::int32_t value) noexcept;

// Writes the number and a terminator: at most 7 bytes. Always 0.
int ShortToStr(short value, char* text) noexcept;

// Sends a report on a text, cut where the report ends.
void SendReportOn(const Report& report, std::string_view text) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_TEXT_H
