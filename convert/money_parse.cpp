// Text to money. A text is at most three runs of digits with separators between them; characters that are neither are
// passed over, so that "$1,234.56" reads as typed.
#include "convert/money_parse.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "convert/money.h"
#include "convert/money_double.h"
#include "convert/text.h"
#include "convert/wrap.h"
#include "runtime/reports.h"

namespace zel {

namespace {

constexpr std::size_t kLongestText = 31;
constexpr int kComponents = 3;
constexpr std::size_t kMostDecimals = 5;

struct ParserRules {
    bool stopAtThirdSeparator;
    bool refuseSpaceBetweenTwo;
    std::int32_t scaleOfNoDecimals;  // no denominator of a display code: the building fails
};

constexpr ParserRules kLenient{false, false, 0};
constexpr ParserRules kStrict{true, true, 1000000};

struct Component {
    char digits[kLongestText];
    std::size_t count;
};

// Invariant: the components up to the current one, which is number `separators`, are what the text held so far; there
// is no current one when `separators` is beyond the last.
struct Scan {
    Component components[kComponents];
    int separators;
    char lastSeparator;
    bool decimal;
    bool negative;
};

std::string_view Digits(const Component& component) noexcept {
    return {component.digits, component.count};
}

bool IsSeparator(char c) noexcept {
    switch (c) {
        case ' ':
        case '/':
        case '.':
        case '\'':
        case '"':
        case '!':
            return true;
        default:
            return false;
    }
}

void NextComponent(Scan& scan) noexcept {
    ++scan.separators;
    if (scan.separators < kComponents) {
        scan.components[scan.separators].count = 0;
    }
}

void AppendDigit(Scan& scan, char digit) noexcept {
    if (scan.separators < kComponents) {
        // At most one digit for each character of the text, which has no more than fit.
        Component& component = scan.components[scan.separators];
        component.digits[component.count++] = digit;
    }
}

// False when the rules stop it at a third separator.
[[nodiscard]] bool ScanText(std::string_view text, const ParserRules& rules, Scan& scan) noexcept {
    scan.components[0].count = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (IsDigit(c)) {
            AppendDigit(scan, c);
            continue;
        }
        scan.decimal = scan.decimal || c == '.';
        scan.negative = scan.negative || c == '-';
        const bool firstOfTwo = c == '!' && i + 1 < text.size() && text[i + 1] == '!';
        if (i == 0 || firstOfTwo || !IsSeparator(c)) {
            continue;
        }
        NextComponent(scan);
        scan.lastSeparator = c;
        if (rules.stopAtThirdSeparator && scan.separators == kComponents) {
            return false;
        }
    }
    return true;
}

// The denominator that a tick in the text stands for, or nothing.
std::string_view TickDenominator(std::string_view text) noexcept {
    if (text.find('\'') != std::string_view::npos) {
        return "32";
    }
    if (text.find('"') != std::string_view::npos) {
        return "64";
    }
    const std::size_t bang = text.find('!');
    if (bang == std::string_view::npos) {
        return {};
    }
    return text.find("!!", bang) != std::string_view::npos ? "256" : "128";
}

// The digits behind a point, and the denominator that their number makes.
struct Decimals {
    std::int32_t value;
    std::int32_t scale;
};

Decimals ReadDecimals(const Component& component, const ParserRules& rules) noexcept {
    const std::string_view digits = Digits(component).substr(0, kMostDecimals);
    std::int32_t scale = 1;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        scale *= 10;
    }
    return {ReadDigits(digits), digits.empty() ? rules.scaleOfNoDecimals : scale};
}

int BuildMoney(const Scan& scan, std::string_view text, const ParserRules& rules, _money* money) noexcept {
    const auto valueOf = [&scan](int component) { return ReadDigits(Digits(scan.components[component])); };
    const auto withSign = [&scan](std::int32_t value) { return scan.negative ? Negated(value) : value; };
    if (scan.separators >= kComponents) {
        SendReportOn(reports::kInvalidMoney, text);
        return -1;
    }
    if (scan.separators == 2) {
        return ZELFormatMoney(withSign(valueOf(0)), withSign(valueOf(1)), valueOf(2), money);
    }
    if (scan.decimal) {
        const Decimals decimals = ReadDecimals(scan.components[scan.separators], rules);
        const std::int32_t whole = scan.separators == 1 ? withSign(valueOf(0)) : 0;
        return ZELFormatMoney(whole, withSign(decimals.value), decimals.scale, money);
    }
    if (scan.separators == 0) {
        return ZELFormatMoney(withSign(valueOf(0)), 0, 1, money);
    }
    if (rules.refuseSpaceBetweenTwo && scan.lastSeparator == ' ') {
        SendReportOn(reports::kSpaceBetweenTwo, text);
        return -1;
    }
    return ZELFormatMoney(0, withSign(valueOf(0)), valueOf(1), money);
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
    if (text.find(' ') != std::string_view::npos && text.find('.') != std::string_view::npos) {
        return -1;
    }
    Scan scan;
    scan.separators = 0;
    scan.lastSeparator = '\0';
    scan.decimal = false;
    scan.negative = false;
    if (!ScanText(text, rules, scan)) {
        SendReportOn(reports::kTooManyComponents, text);
        return -1;
    }
    const std::string_view tick = TickDenominator(text);
    if (!tick.empty()) {
        NextComponent(scan);
        for (const char digit : tick) {
            AppendDigit(scan, digit);
        }
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
