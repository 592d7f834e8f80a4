#include "tests/support/printed_values.h"

#include <cstdio>
#include <cstring>

namespace zel::test {

namespace {

struct PrintedParts {
    char whole[16];
    char grouped[20];
    bool negative;
    bool wholeIsZero;
    int numerator;
    int denominator;
};

PrintedParts PrintParts(long long whole, long long numerator, long denominator) {
    PrintedParts parts{};
    parts.negative = whole < 0 || numerator < 0;
    // In 32 bits the most negative number is its own negative.
    const int magnitude = whole == INT_MIN ? INT_MIN : static_cast<int>(whole < 0 ? -whole : whole);
    parts.wholeIsZero = whole == 0;
    parts.numerator = static_cast<int>(numerator < 0 ? -numerator : numerator);
    parts.denominator = static_cast<int>(denominator);
    std::snprintf(parts.whole, sizeof parts.whole, "%d", magnitude);
    return parts;
}

void GroupWhole(PrintedParts& parts) {
    const int length = static_cast<int>(std::strlen(parts.whole));
    char* at = parts.grouped;
    for (int i = 0; i < length; ++i) {
        if (i > 0 && (length - i) % 3 == 0) {
            *at++ = ',';
        }
        *at++ = parts.whole[i];
    }
}

void PrintDecimals(const PrintedParts& parts, char* at, int places, const char* format) {
    char quotient[32];
    std::snprintf(quotient, sizeof quotient, format, static_cast<double>(parts.numerator) / parts.denominator);
    std::snprintf(at, 8, ".%.*s", places, std::strchr(quotient, '.') + 1);
}

}  // namespace

bool PrintMoney(const _money& money, char* text, short format) {
    const short type = GetDenominatorType(money.displayCode);
    long whole = 0;
    long numerator = 0;
    long denominator = 0;
    text[0] = '\0';
    if (type == 0 || ZELUnformatMoney(&money, &whole, &numerator, &denominator) != 0) {
        return false;
    }
    PrintedParts parts = PrintParts(whole, numerator, denominator);
    const bool longNumber = format == 2 && std::strlen(parts.whole) > 6;
    const bool dollar = format >= 1 && format <= 3 && !longNumber;
    if (dollar) {
        GroupWhole(parts);
    }
    const char* sign = parts.negative && format != 1 ? "-" : "";
    std::snprintf(text, 24, "%s%s%s", sign, dollar ? "$" : "", dollar ? parts.grouped : parts.whole);
    char* at = text + (longNumber ? std::strlen(sign) : std::strlen(text));
    if (type == 3) {
        const int places = money.displayCode < 512 ? money.displayCode / 10 : 2;
        PrintDecimals(parts, at, format == 3 ? 2 : places, format == 3 ? "%.2f" : "%f");
    }
    if (type == 1 && format == 3) {
        std::strcat(text, ".00");
    }
    if (type == 5 && parts.numerator != 0) {
        at = parts.wholeIsZero ? text + (parts.negative ? 1 : 0) : at;
        std::snprintf(at, 10, "%s%d/%d", parts.wholeIsZero ? "" : " ", parts.numerator, parts.denominator);
    }
    if (parts.negative && format != 0 && format != 2 && format != 3) {
        std::strcat(text, "-");
    }
    return true;
}

void PrintDate(const _datetime& value, char* text, short format) {
    const auto day = static_cast<short>(value.day);
    const auto month = static_cast<short>(value.month);
    const auto shortYear = static_cast<short>(value.year >= 100 ? value.year - 100 : value.year);
    const auto year = static_cast<short>(value.year + 1900);
    constexpr std::size_t kSize = 18;
    if (value.kind != 1 && value.kind != 3) {
        std::strcpy(text, "00/00/1900");
        return;
    }
    switch (format) {
        case 1:
            std::snprintf(text, kSize, "%2.2hd/%2.2hd/%2.2hd", shortYear, month, day);
            break;
        case 2:
            std::snprintf(text, kSize, "%2.2hd/%2.2hd/%2.2hd", day, month, shortYear);
            break;
        case 7:
            std::snprintf(text, kSize, "%2.2hd%2.2hd%2.2hd", shortYear, month, day);
            break;
        case 9:
            std::snprintf(text, kSize, "%2.2hd%2.2hd%2.2hd", month, day, shortYear);
            break;
        case 10:
            std::snprintf(text, kSize, "%2.2hd%2.2hd", month, shortYear);
            break;
        case 11:
            std::snprintf(text, kSize, "%4.4hd%2.2hd%2.2hd", year, month, day);
            break;
        case 12:
            std::snprintf(text, kSize, "%2.2hd%2.2hd%4.4hd", month, day, year);
            break;
        case 13:
            std::snprintf(text, kSize, "%2.2hd%4.4hd", month, year);
            break;
        case 14:
            std::snprintf(text, kSize, "%2.2hd/%2.2hd/%4.4hd", month, day, year);
            break;
        case 15:
            std::snprintf(text, kSize, "%2.2hd/%4.4hd", month, year);
            break;
        case 16:
            std::snprintf(text, kSize, "%4.4hd/%2.2hd/2.2hd", year, month);
            break;
        default:
            std::snprintf(text, kSize, "%2.2hd/%2.2hd/%2.2hd", month, day, shortYear);
            break;
    }
}

void PrintTime(const _datetime& value, char* text, short format) {
    const auto hour = static_cast<short>(value.hour);
    const auto minute = static_cast<short>(value.minute);
    const auto second = static_cast<short>(value.second);
    constexpr std::size_t kSize = 18;
    if (value.kind != 2 && value.kind != 3) {
        std::strcpy(text, "00:00:00");
        return;
    }
    switch (format) {
        case 4:
            std::snprintf(text, kSize, "%2.2hd:%2.2hd", hour, minute);
            break;
        case 5:
            std::snprintf(text, kSize, "%2.2hd%2.2hd%2.2hd", hour, minute, second);
            break;
        case 6:
            std::snprintf(text, kSize, "%2.2hd%2.2hd", hour, minute);
            break;
        default:
            std::snprintf(text, kSize, "%2.2hd:%2.2hd:%2.2hd", hour, minute, second);
            break;
    }
}

}  // namespace zel::test
