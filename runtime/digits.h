// Decimal digits in texts, whatever the locale.
#ifndef ZEL_RUNTIME_DIGITS_H
#define ZEL_RUNTIME_DIGITS_H

#include <algorithm>
#include <string_view>

namespace zel {

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// True for an empty text, too.
[[nodiscard]] constexpr bool HasDigitsOnly(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), IsDigit);
}

// Writes a number from 0 to 99 without a terminator and returns the position after it.
inline char* PutTwoDigits(char* at, int value) noexcept {
    at[0] = static_cast<char>('0' + value / 10);
    at[1] = static_cast<char>('0' + value % 10);
    return at + 2;
}

}  // namespace zel

#endif  // ZEL_RUNTIME_DIGITS_H
