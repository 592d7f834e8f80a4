// Money to text. The digits are those that "%f" and "%.2f" print for numerator / denominator as doubles. They are
// computed in integers, so that the locale and the rounding mode do not matter.
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "convert/money.h"
#include "convert/text.h"
#include "convert/wrap.h"

namespace zel {

namespace {

// Values of the format argument. All others print like kPlain, with a "-" after negative amounts as well.
constexpr short kPlain = 0;
constexpr short kGroupedSignLast = 1;
constexpr short kDollarShort = 2;
constexpr short kGroupedSignFirst = 3;

// Whether (2h + 1) / 200, which is halfway between two hundredths, rounds up to h + 1 hundredths. The C library prints
// the nearest double, which is above or below the half, or exactly the half: then the even neighbour is taken.
constexpr bool RoundsHalfUp(std::uint64_t h) noexcept {
    constexpr std::uint64_t kSmallestSignificand = std::uint64_t{1} << 52;
    std::uint64_t scaled = 2 * h + 1;
    while (scaled / 200 < kSmallestSignificand) {
        scaled *= 2;
    }
    // How far the half is above the double below it, in 200ths of the gap between doubles. Never 100: `scaled` is a
    // multiple of 8.
    const std::uint64_t remainder = scaled % 200;
    return remainder == 0 ? h % 2 != 0 : remainder > 100;
}

constexpr std::array<bool, 100> TableOfRoundsHalfUp() noexcept {
    std::array<bool, 100> table{};
    for (std::size_t h = 0; h < table.size(); ++h) {
        table[h] = RoundsHalfUp(h);
    }
    return table;
}

constexpr std::array<bool, 100> kRoundsHalfUp = TableOfRoundsHalfUp();

// Numerator / denominator in hundredths. The result may be 100 or more: its two lowest digits are shown, without a
// carry into the whole part.
std::int32_t RoundedHundredths(const MoneyParts& parts) noexcept {
    if (parts.denominator <= 100) {
        return parts.numerator * (100 / parts.denominator);
    }
    const std::int32_t unit = parts.denominator / 100;
    const std::int32_t hundredths = parts.numerator / unit;
    const std::int32_t rest = 2 * (parts.numerator % unit);
    const bool up = rest > unit || (rest == unit && kRoundsHalfUp[static_cast<std::size_t>(hundredths)]);
    return hundredths + (up ? 1 : 0);
}

char* PutText(char* at, std::string_view text) noexcept {
    return at + text.copy(at, text.size());
}

// The lowest digits of the value, with zeros in front.
char* PutPadded(char* at, std::int32_t value, int digits) noexcept {
    for (int i = digits; i > 0; --i) {
        at[i - 1] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    return at + digits;
}

char* PutGrouped(char* at, std::string_view digits) noexcept {
    std::size_t group = (digits.size() - 1) % 3 + 1;
    at = PutText(at, digits.substr(0, group));
    for (; group < digits.size(); group += 3) {
        *at++ = ',';
        at = PutText(at, digits.substr(group, 3));
    }
    return at;
}

// Writes sign and whole units; returns the position after them. With a "$" the text is not terminated here.
char* PutWhole(char* at, std::int32_t whole, bool negative, short format) noexcept {
    // The most negative amount stays negative when negated: its 11 characters include a "-".
    char digitText[11];
    const std::string_view digits{digitText, static_cast<std::size_t>(PutNumber(digitText, whole) - digitText)};
    if (negative && format != kGroupedSignLast) {
        *at++ = '-';
    }
    if (format == kDollarShort && digits.size() >= 7) {
        // Long numbers have no "$", and are overwritten by what follows.
        *PutText(at, digits) = '\0';
        return at;
    }
    if (format == kGroupedSignLast || format == kDollarShort || format == kGroupedSignFirst) {
        *at++ = '$';
        return PutGrouped(at, digits);
    }
    at = PutText(at, digits);
    *at = '\0';
    return at;
}

char* PutDecimals(char* at, const MoneyParts& parts, short displayCode, short format) noexcept {
    *at++ = '.';
    if (format == kGroupedSignFirst) {
        at = PutPadded(at, RoundedHundredths(parts), 2);
    } else if (displayCode >= kLargeFormCode) {
        at = PutPadded(at, parts.numerator, 2);
    } else {
        at = PutPadded(at, parts.numerator, displayCode / 10);
    }
    *at = '\0';
    return at;
}

char* PutFraction(char* text, char* at, const MoneyParts& parts, bool negative) noexcept {
    if (parts.numerator == 0) {
        return at;
    }
    if (parts.whole != 0) {
        *at++ = ' ';
    } else {
        // The fraction replaces a whole part of 0 and its "$".
        at = text + (negative ? 1 : 0);
    }
    at = PutNumber(at, parts.numerator);
    *at++ = '/';
    at = PutNumber(at, parts.denominator);
    *at = '\0';
    return at;
}

char* PutPart(char* text, char* at, const MoneyParts& parts, const _money& money, bool negative,
              short format) noexcept {
    switch (GetDenominatorType(money.displayCode)) {
        case kDecimalType:
            return PutDecimals(at, parts, money.displayCode, format);
        case kFractionType:
            return PutFraction(text, at, parts, negative);
        default:
            if (format == kGroupedSignFirst) {
                at = PutText(at, ".00");
                *at = '\0';
            }
            return at;
    }
}

}  // namespace

}  // namespace zel

extern "C" int ZELMoneyToStr(const _money* money, char* text, short format) noexcept {
    if (text == nullptr) {
        return -1;
    }
    text[0] = '\0';
    zel::MoneyParts parts{};
    if (zel::SplitMoney(money, parts) != 0 || GetDenominatorType(money->displayCode) == zel::kInvalidType) {
        return -1;
    }
    const bool negative = parts.whole < 0 || parts.numerator < 0;
    if (parts.whole < 0) {
        parts.whole = zel::Negated(parts.whole);
    }
    if (parts.numerator < 0) {
        parts.numerator = zel::Negated(parts.numerator);
    }
    char* at = zel::PutWhole(text, parts.whole, negative, format);
    at = zel::PutPart(text, at, parts, *money, negative, format);
    if (negative && format != zel::kPlain && format != zel::kDollarShort && format != zel::kGroupedSignFirst) {
        *at++ = '-';
        *at = '\0';
    }
    return 0;
}
