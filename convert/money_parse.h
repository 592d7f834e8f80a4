// Text to money: the lenient parser is the exported ZELStrToMoney; here is the stricter one, and the comparison.
#ifndef ZEL_CONVERT_MONEY_PARSE_H
#define ZEL_CONVERT_MONEY_PARSE_H

#include "include/zelvalues.h"

namespace zel {

// ZELStrToMoney, but a third separator ends the scan with a report of its own, and two numbers with a space between
// them are refused, not read as a fraction.
[[nodiscard]] int ZELStrToMoneyStrict(const char* text, _money* money) noexcept;

// 0 when both texts have the same value, 1 when the first is greater, -1 when it is smaller, -2 when one has none. The
// second value is rounded to single precision before.
[[nodiscard]] int ZELCompareMoneyStr(const char* first, const char* second) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_MONEY_PARSE_H
