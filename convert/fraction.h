// Reducing fractions. A negative numerator becomes 0, because FindGCF then returns the denominator: -5.5 is -5.
#ifndef ZEL_CONVERT_FRACTION_H
#define ZEL_CONVERT_FRACTION_H

#include "convert/money.h"

namespace zel {

// Divides numerator and denominator by their FindGCF. The denominator must be at least 1; then the factor is, too.
void Reduce(MoneyParts& parts) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_FRACTION_H
