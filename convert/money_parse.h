// Text to money: a stricter parser than the exported ZELStrToMoney, and the comparison of two texts.
#ifndef ZEL_CONVERT_MONEY_PARSE_H
#define ZEL_CONVERT_MONEY_PARSE_H

#include "include/zelvalues.h"

namespace zel {

// Like ZELStrToMoney, but a third separator has its own report, and two numbers with a space between them are refused
// instead of read as a fraction.
[[nodiscard]] int ZELStrToMoneyStrict(const char* text, _money* money) noexcept;

// Returns 0 when both texts have the same value, 1 when the first is greater, -1 when it is smaller, -2 when one is not
// money. The second value is first rounded to single precision.
[[nodiscard]] int ZELCompareMoneyStr(const char* first, const char* second) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_MONEY_PARSE_H
