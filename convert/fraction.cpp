#include "convert/fraction.h"

#include <cstdint>
#include <utility>

#include "convert/text.h"
#include "convert/wrap.h"
#include "runtime/allocator.h"

namespace zel {

namespace {

constexpr std::size_t kFractionTextSize = 32;

// One number of 11 characters and two of at most 6, with two separators.
static_assert(11 + 1 + 6 + 1 + 6 < kFractionTextSize);

void PutFractionText(char* at, const MoneyParts& parts) noexcept {
    const bool wholeOnly = parts.whole != 0 && parts.numerator == 0 && parts.denominator == 1;
    if (parts.whole != 0) {
        at = PutNumber(at, parts.whole);
    }
    if (wholeOnly) {
        return;
    }
    if (parts.whole != 0) {
        *at++ = ' ';
    }
    at = PutNumber(at, parts.numerator);
    *at++ = '/';
    PutNumber(at, parts.denominator);
}

}  // namespace

void Reduce(MoneyParts& parts) noexcept {
    const std::int32_t factor = Low32(FindGCF(parts.numerator, parts.denominator));
    parts.numerator /= factor;
    parts.denominator /= factor;
}

}  // namespace zel

extern "C" long FindGCF(long a, long b) noexcept {
    std::int32_t first = zel::Low32(a);
    std::int32_t second = zel::Low32(b);
    while (second > 0) {
        if (first < second) {
            std::swap(first, second);
        } else {
            first %= second;
        }
    }
    return first;
}

extern "C" char* ConvertDecimalToFraction(const char* text) noexcept {
    _money money{};
    zel::MoneyParts parts{};
    if (ZELStrToMoney(text, &money) != 0 || zel::SplitMoney(&money, parts) != 0 ||
        GetDenominatorType(money.displayCode) != zel::kDecimalType) {
        return nullptr;
    }
    zel::Reduce(parts);
    // Fails when the denominator has no display code.
    if (zel::ZELFormatMoney(parts.whole, parts.numerator, parts.denominator, &money) != 0) {
        return nullptr;
    }
    auto* block = static_cast<char*>(zel::AllocateZeroed(zel::kFractionTextSize));
    if (block != nullptr) {
        zel::PutFractionText(block, parts);
    }
    return block;
}
