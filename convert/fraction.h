// Reducing fractions. The numerator may be negative, and then loses its fraction: see FindGCF.
#ifndef ZEL_CONVERT_FRACTION_H
#define ZEL_CONVERT_FRACTION_H

#include "convert/money.h"

namespace zel {

// Divides numerator and denominator by FindGCF of the two. The denominator is at least 1, so that the factor is, too.
void Reduce(MoneyParts& parts) noexcept;

}  // namespace zel

#endif  // ZEL_CONVERT_FRACTION_H
