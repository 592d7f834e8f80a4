// Money records: display codes, building a record from whole units, numerator and denominator, and taking it apart.
#ifndef ZEL_CONVERT_MONEY_H
#define ZEL_CONVERT_MONEY_H

#include <cstdint>

#include "include/zelvalues.h"

namespace zel {

// Denominator types, as GetDenominatorType returns them.
inline constexpr short kInvalidType = 0;
inline constexpr short kWholeType = 1;
inline constexpr short kDecimalType = 3;
inline constexpr short kFractionType = 5;

// The large form: the amount holds whole units, the display code this number plus the hundredths. Amounts in hundredths
// use it above kLargestWhole whole units, where 32 bits are too few.
inline constexpr std::int32_t kLargeFormCode = 512;
inline constexpr std::int32_t kLargeFormDenominator = 100;
inline constexpr std::int32_t kLargestWhole = 20000000;

struct MoneyParts {
    std::int32_t whole;
    std::int32_t numerator;
    std::int32_t denominator;
};

// The display code of a denominator, or 0.
[[nodiscard]] short DenominatorToDisplayCode(long denominator) noexcept;

// The denominator of a display code, or 0; also 0 for the codes of the large form.
[[nodiscard]] long DisplayCodeToDenominator(short displayCode) noexcept;

// 0 when the denominator is a power of two from 1 to 256, else -1.
[[nodiscard]] int IsBinaryDenominator(long denominator) noexcept;

// Builds a record: 0, or -1 when no display code has the denominator or the numerator is larger than the denominator.
// The large form takes every numerator; one below 0 gives a display code that ZELUnformatMoney refuses. Reports 1001
// (`out` is null).
[[nodiscard]] int ZELFormatMoney(long whole, long numerator, long denominator, _money* out) noexcept;

// ZELUnformatMoney with its results in one record. For an invalid display code whole and numerator keep their values.
[[nodiscard]] int SplitMoney(const _money* money, MoneyParts& parts) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_MONEY_H
