// Money to and from floating-point numbers, and decimals to binary fractions. The texts are those of "%.6f" and "%.8f",
// whatever the locale and the rounding mode.
#ifndef ZEL_CONVERT_MONEY_DOUBLE_H
#define ZEL_CONVERT_MONEY_DOUBLE_H

#include "include/zelvalues.h"

namespace zel {

// The longest text of MoneyToDecimalStr, terminator included.
inline constexpr int kDecimalTextSize = 24;

// Prints the number with six decimals, cuts that to the first 10 characters without trailing zeros, and reads it as
// ZELStrToMoney does: 3.5 becomes 35 with display code 10. -1 for a number that is not finite.
[[nodiscard]] int DoubleToMoney(double value, _money* out) noexcept;

// DoubleToMoney, then MoneyToBinaryMoney: 3.375 becomes 27 with display code 8. After a failure `out` may hold the
// decimal form.
[[nodiscard]] int DoubleToBinaryMoney(double value, _money* out) noexcept;

// Reduces the fraction in place. -1 with the record unchanged unless the reduced denominator is a power of two up to
// 256.
[[nodiscard]] int MoneyToBinaryMoney(_money* money) noexcept;

// whole + numerator / denominator. -1 with *out unchanged when the display code is invalid.
[[nodiscard]] int MoneyToDouble(const _money* money, double* out) noexcept;

// The value of MoneyToDouble as text with eight decimals.
[[nodiscard]] int MoneyToDecimalStr(const _money* money, char* text) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_MONEY_DOUBLE_H
