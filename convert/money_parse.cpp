// Text to money. A text is at most three runs of digits with separators between them. Other characters are skipped, so
// that "$1,234.56" can be read.
#include "convert/money_parse.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "convert/money.h"
#include "convert/money_double.h"
#include "convert/text.h"
#include "runtime/reports.h"

namespace zel {

namespace {

constexpr std::size_t kLongestText = 31;
constexpr std::uint32_t kComponents = 3;
constexpr int kMostDecimals = 5;

struct ParserRules {
    bool refuseThirdSeparator;
    bool refuseSpaceBetweenTwo;
    std::int32_t scaleOfNoDecimals;  // has no display code, so the text is refused
};

constexpr ParserRules kLenient{false, false, 0};
constexpr ParserRules kStrict{true, true, 1000000};

// Characters other than digits; combined, the set of those in a text.
enum Kind : unsigned {
    kOther = 0,
    kSpace = 1,
    kSlash = 2,
    kPoint = 4,
    kApostrophe = 8,
    kQuote = 16,
    kBang = 32,
    kMinus = 64
};
constexpr unsigned kSeparators = kSpace | kSlash | kPoint | kApostrophe | kQuote | kBang;

unsigned KindOfCharacter(char c) noexcept {
    switch (c) {
        case ' ':
            return kSpace;
        case '/':
            return kSlash;
        case '.':
            return kPoint;
        case '\'':
            return kApostrophe;
        case '"':
            return kQuote;
        case '!':
            return kBang;
        case '-':
            return kMinus;
        default:
            return kOther;
    }
}

// A run of digits. `decimals` is the number without the digits after the fifth.
struct Component {
    std::int32_t value;
    std::int32_t decimals;
    int count;
};

struct Scan {
    Component components[kComponents + 1];  // the last one is for digits after a third separator
    std::uint32_t separators;
    unsigned kinds;
    bool doubleBang;
};

bool Holds(const Scan& scan, unsigned kinds) noexcept {
    return (scan.kinds & kinds) == kinds;
}

Scan ScanText(std::string_view text) noexcept {
    Scan scan{};
    Component current{};
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (IsDigit(c)) {
            current.value = WithDigit(current.value, c);
            ++current.count;
            current.decimals = current.count <= kMostDecimals ? current.value : current.decimals;
            continue;
        }
        const unsigned kind = KindOfCharacter(c);
        scan.kinds |= kind;
        const bool firstOfTwo = kind == kBang && i + 1 < text.size() && text[i + 1] == '!';
        scan.doubleBang = scan.doubleBang || firstOfTwo;
        if ((kind & kSeparators) != 0 && i != 0 && !firstOfTwo) {
            scan.components[std::min(scan.separators, kComponents)] = current;
            ++scan.separators;
            current = {};
        }
    }
    scan.components[std::min(scan.separators, kComponents)] = current;
    return scan;
}

// The denominator that a tick stands for, or 0.
std::int32_t TickDenominator(const Scan& scan) noexcept {
    if (Holds(scan, kApostrophe)) {
        return 32;
    }
    if (Holds(scan, kQuote)) {
        return 64;
    }
    if (Holds(scan, kBang)) {
        return scan.doubleBang ? 256 : 128;
    }
    return 0;
}

std::int32_t DecimalScale(const Component& decimals, const ParserRules& rules) noexcept {
    constexpr std::int32_t kScales[kMostDecimals] = {10, 100, 1000, 10000, 100000};
    return decimals.count == 0 ? rules.scaleOfNoDecimals : kScales[std::min(decimals.count, kMostDecimals) - 1];
}

int BuildMoney(const Scan& scan, std::string_view text, const ParserRules& rules, _money* money) noexcept {
    const Component(&components)[kComponents + 1] = scan.components;
    const auto withSign = [&scan](std::int32_t value) { return Holds(scan, kMinus) ? -value : value; };
    if (scan.separators >= kComponents) {
        SendReportOn(reports::kInvalidMoney, text);
        return -1;
    }
    if (scan.separators == 2) {
        return ZELFormatMoney(withSign(components[0].value), withSign(components[1].value), components[2].value, money);
    }
    if (Holds(scan, kPoint)) {
        const Component& decimals = components[scan.separators];
        const std::int32_t whole = scan.separators == 1 ? withSign(components[0].value) : 0;
        return ZELFormatMoney(whole, withSign(decimals.decimals), DecimalScale(decimals, rules), money);
    }
    if (scan.separators == 0) {
        return ZELFormatMoney(withSign(components[0].value), 0, 1, money);
    }
    if (rules.refuseSpaceBetweenTwo && Holds(scan, kSpace)) {
        SendReportOn(reports::kSpaceBetweenTwo, text);
        return -1;
    }
    return ZELFormatMoney(0, withSign(components[0].value), components[1].value, money);
}

int ParseMoney(const char* source, const ParserRules& rules, _money* money) noexcept {
    if (source == nullptr) {
        return -1;
    }
    const std::string_view text = Trimmed(source);
    if (text.size() > kLongestText) {
        SendReportOn(reports::kInvalidMoney, text);
        return -1;
    }
    Scan scan = ScanText(text);
    if (Holds(scan, kPoint | kSpace)) {
        return -1;
    }
    if (rules.refuseThirdSeparator && scan.separators >= kComponents) {
        SendReportOn(reports::kTooManyComponents, text);
        return -1;
    }
    const std::int32_t tick = TickDenominator(scan);
    if (tick != 0) {
        ++scan.separators;
        scan.components[std::min(scan.separators, kComponents)].value = tick;
    }
    return BuildMoney(scan, text, rules, money);
}

}  // namespace

int ZELStrToMoneyStrict(const char* text, _money* money) noexcept {
    return ParseMoney(text, kStrict, money);
}

int ZELCompareMoneyStr(const char* first, const char* second) noexcept {
    _money firstMoney{};
    _money secondMoney{};
    double firstValue = 0;
    double secondValue = 0;
    if (ParseMoney(first, kLenient, &firstMoney) != 0 || ParseMoney(second, kLenient, &secondMoney) != 0 ||
        MoneyToDouble(&firstMoney, &firstValue) != 0 || MoneyToDouble(&secondMoney, &secondValue) != 0) {
        return -2;
    }
    const double rounded = static_cast<float>(secondValue);
    if (firstValue == rounded) {
        return 0;
    }
    return firstValue > rounded ? 1 : -1;
}

}  // namespace zel

extern "C" int ZELStrToMoney(const char* text, _money* money) noexcept {
    return zel::ParseMoney(text, zel::kLenient, money);
}
