#include "convert/money_double.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>

#include "convert/fraction.h"
#include "convert/money.h"

namespace zel {

namespace {

constexpr int kPrintedDecimals = 6;
constexpr std::size_t kKeptCharacters = 10;

// Sign, the digits of the largest double, point, decimals.
constexpr int kLongestDouble = 1 + std::numeric_limits<double>::max_exponent10 + 1 + 1 + kPrintedDecimals;

}  // namespace

int DoubleToMoney(double value, _money* out) noexcept {
    if (!std::isfinite(value)) {
        return -1;
    }
    char printed[kLongestDouble];
    const char* end =
        std::to_chars(printed, printed + sizeof printed, value, std::chars_format::fixed, kPrintedDecimals).ptr;
    std::string_view text{printed, static_cast<std::size_t>(end - printed)};
    // Trailing zeros end at the point at the latest.
    text = text.substr(0, text.find_last_not_of('0') + 1).substr(0, kKeptCharacters);
    if (text.back() == '.') {
        text.remove_suffix(1);
    }
    char kept[kKeptCharacters + 1];
    kept[text.copy(kept, kKeptCharacters)] = '\0';
    return ZELStrToMoney(kept, out);
}

int DoubleToBinaryMoney(double value, _money* out) noexcept {
    return DoubleToMoney(value, out) == 0 ? MoneyToBinaryMoney(out) : -1;
}

int MoneyToBinaryMoney(_money* money) noexcept {
    MoneyParts parts{};
    if (SplitMoney(money, parts) != 0) {
        return -1;
    }
    const bool negative = parts.numerator < 0;
    parts.numerator = negative ? -parts.numerator : parts.numerator;
    Reduce(parts);
    if (IsBinaryDenominator(parts.denominator) != 0) {
        return -1;
    }
    return ZELFormatMoney(parts.whole, negative ? -parts.numerator : parts.numerator, parts.denominator, money);
}

int MoneyToDouble(const _money* money, double* out) noexcept {
    MoneyParts parts{};
    if (SplitMoney(money, parts) != 0) {
        return -1;
    }
    *out = parts.whole + static_cast<double>(parts.numerator) / parts.denominator;
    return 0;
}

int MoneyToDecimalStr(const _money* money, char* text) noexcept {
    double value = 0;
    if (MoneyToDouble(money, &value) != 0) {
        return -1;
    }
    *std::to_chars(text, text + kDecimalTextSize - 1, value, std::chars_format::fixed, 8).ptr = '\0';
    return 0;
}

}  // namespace zel
