#include "convert/money.h"

#include "convert/wrap.h"
#include "runtime/reports.h"

namespace zel {

short DenominatorToDisplayCode(long denominator) noexcept {
    switch (Low32(denominator)) {
        case 100:
            return 20;
        case 1000:
            return 30;
        case 10000:
            return 40;
        case 100000:
            return 50;
        default: {
            // All other codes are their own denominators.
            const auto code = static_cast<short>(denominator);
            return DisplayCodeToDenominator(code) == Low32(denominator) ? code : short{0};
        }
    }
}

long DisplayCodeToDenominator(short displayCode) noexcept {
    switch (displayCode) {
        case 1:
        case 2:
        case 4:
        case 8:
        case 10:
        case 16:
        case 32:
        case 64:
        case 128:
        case 256:
            return displayCode;
        case 20:
            return 100;
        case 30:
            return 1000;
        case 40:
            return 10000;
        case 50:
            return 100000;
        default:
            return 0;
    }
}

int IsBinaryDenominator(long denominator) noexcept {
    const std::int32_t value = Low32(denominator);
    return value >= 1 && value <= 256 && (value & (value - 1)) == 0 ? 0 : -1;
}

int ZELFormatMoney(long whole, long numerator, long denominator, _money* out) noexcept {
    const MoneyParts parts{Low32(whole), Low32(numerator), Low32(denominator)};
    const bool large =
        parts.denominator == kLargeFormDenominator && (parts.whole > kLargestWhole || parts.whole < -kLargestWhole);
    const short displayCode = large ? static_cast<short>(MultiplyAdd(1, parts.numerator, kLargeFormCode))
                                    : DenominatorToDisplayCode(denominator);
    if (!large) {
        const std::int32_t magnitude = parts.numerator < 0 ? Negated(parts.numerator) : parts.numerator;
        if (displayCode == 0 || magnitude > parts.denominator) {
            return -1;
        }
    }
    if (out == nullptr) {
        SendReport(reports::kFormatMoneyFailed);
        return -1;
    }
    out->amount = large ? parts.whole : MultiplyAdd(parts.denominator, parts.whole, parts.numerator);
    out->displayCode = displayCode;
    return 0;
}

int SplitMoney(const _money* money, MoneyParts& parts) noexcept {
    if (money == nullptr) {
        SendReport(reports::kUnformatMoneyFailed);
        return -1;
    }
    // Codes from 32768 on are large forms here, but invalid in GetDenominatorType.
    const auto code = static_cast<std::uint16_t>(money->displayCode);
    if (code >= kLargeFormCode) {
        parts = {static_cast<std::int32_t>(money->amount), code - kLargeFormCode, kLargeFormDenominator};
        return 0;
    }
    parts.denominator = Low32(DisplayCodeToDenominator(money->displayCode));
    if (parts.denominator == 0) {
        SendReportWith(reports::kInvalidDisplayCode, static_cast<long>(code));
        return -1;
    }
    parts.whole = static_cast<std::int32_t>(money->amount / parts.denominator);
    parts.numerator = static_cast<std::int32_t>(money->amount % parts.denominator);
    return 0;
}

}  // namespace zel

extern "C" int ZELUnformatMoney(const _money* money, long* whole, long* numerator, long* denominator) noexcept {
    if (money == nullptr || whole == nullptr || numerator == nullptr || denominator == nullptr) {
        zel::SendReport(zel::reports::kUnformatMoneyFailed);
        return -1;
    }
    zel::MoneyParts parts{};
    const int result = zel::SplitMoney(money, parts);
    *denominator = parts.denominator;
    if (result == 0) {
        *whole = parts.whole;
        *numerator = parts.numerator;
    }
    return result;
}

extern "C" short GetDenominatorType(short displayCode) noexcept {
    if (displayCode >= zel::kLargeFormCode) {
        return zel::kDecimalType;
    }
    const long denominator = zel::DisplayCodeToDenominator(displayCode);
    if (denominator <= 1) {
        return denominator == 0 ? zel::kInvalidType : zel::kWholeType;
    }
    return zel::IsBinaryDenominator(denominator) == 0 ? zel::kFractionType : zel::kDecimalType;
}
