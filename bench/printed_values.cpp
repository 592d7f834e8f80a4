#include "bench/printed_values.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace zel::bench {

namespace {

constexpr std::size_t kRoom = 24;

template <std::size_t room = kRoom, typename... Args>
void Print(char* text, const char* format, Args... args) {
    static_cast<void>(std::snprintf(text, room, format, args...));
}

// Inserts "," between groups of three digits.
void Group(char* digits) {
    for (std::size_t length = std::strlen(digits), fromEnd = 3; fromEnd < length; fromEnd += 3) {
        char* at = digits + length - fromEnd;
        std::memmove(at + 1, at, std::strlen(at) + 1);
        *at = ',';
    }
}

void PrintDecimals(char* at, const char* format, double quotient, int places) {
    char printed[kRoom];
    Print(printed, format, quotient);
    Print(at, ".%.*s", places, std::strchr(printed, '.') + 1);
}

// What follows the whole units, or stands alone when there are none.
void PrintFraction(char* at, short displayCode, short format, int numerator, long denominator, bool isAlone) {
    const short type = GetDenominatorType(displayCode);
    if (type == 3) {
        const int places = displayCode < 512 && format != 3 ? displayCode / 10 : 2;
        const double quotient = static_cast<double>(numerator) / static_cast<double>(denominator);
        PrintDecimals(at, format == 3 ? "%.2f" : "%f", quotient, places);
    } else if (type == 1 && format == 3) {
        Print(at, "%s", ".00");
    } else if (type == 5 && numerator != 0) {
        Print(at, "%s%d/%ld", isAlone ? "" : " ", numerator, denominator);
    }
}

}  // namespace

bool PrintMoney(const _money& money, char* text, short format) {
    long whole = 0;
    long numerator = 0;
    long denominator = 0;
    text[0] = '\0';
    if (GetDenominatorType(money.displayCode) == 0 || ZELUnformatMoney(&money, &whole, &numerator, &denominator) != 0) {
        return false;
    }
    const bool negative = whole < 0 || numerator < 0;
    const int shown = static_cast<int>(std::labs(numerator));
    char digits[16];
    // In 32 bits the most negative number stays negative.
    Print<sizeof digits>(digits, "%d", whole == INT_MIN ? INT_MIN : static_cast<int>(std::labs(whole)));
    const bool longNumber = format == 2 && std::strlen(digits) > 6;
    const bool dollar = format >= 1 && format <= 3 && !longNumber;
    if (dollar) {
        Group(digits);
    }
    const char* sign = negative && format != 1 ? "-" : "";
    Print(text, "%s%s%s", sign, dollar ? "$" : "", digits);
    const bool isAlone = whole == 0 && shown != 0 && GetDenominatorType(money.displayCode) == 5;
    const std::size_t signSize = negative ? 1 : 0;
    const std::size_t kept = isAlone ? signSize : std::strlen(longNumber ? sign : text);
    PrintFraction(text + kept, money.displayCode, format, shown, denominator, isAlone);
    if (negative && format != 0 && format != 2 && format != 3) {
        Print(text + std::strlen(text), "%s", "-");
    }
    return true;
}

void PrintDate(const _datetime& value, char* text, short format) {
    const int day{value.day};
    const int month{value.month};
    const int shortYear = value.year >= 100 ? value.year - 100 : value.year;
    const int year = value.year + 1900;
    if (value.kind != 1 && value.kind != 3) {
        return Print(text, "%s", "00/00/1900");
    }
    switch (format) {
        case 1:
            return Print(text, "%2.2d/%2.2d/%2.2d", shortYear, month, day);
        case 2:
            return Print(text, "%2.2d/%2.2d/%2.2d", day, month, shortYear);
        case 7:
            return Print(text, "%2.2d%2.2d%2.2d", shortYear, month, day);
        case 9:
            return Print(text, "%2.2d%2.2d%2.2d", month, day, shortYear);
        case 10:
            return Print(text, "%2.2d%2.2d", month, shortYear);
        case 11:
            return Print(text, "%4.4d%2.2d%2.2d", year, month, day);
        case 12:
            return Print(text, "%2.2d%2.2d%4.4d", month, day, year);
        case 13:
            return Print(text, "%2.2d%4.4d", month, year);
        case 14:
            return Print(text, "%2.2d/%2.2d/%4.4d", month, day, year);
        case 15:
            return Print(text, "%2.2d/%4.4d", month, year);
        case 16:
            return Print(text, "%4.4d/%2.2d/2.2hd", year, month);
        default:
            return Print(text, "%2.2d/%2.2d/%2.2d", month, day, shortYear);
    }
}

void PrintTime(const _datetime& value, char* text, short format) {
    if (value.kind != 2 && value.kind != 3) {
        return Print(text, "%s", "00:00:00");
    }
    switch (format) {
        case 4:
            return Print(text, "%2.2d:%2.2d", value.hour, value.minute);
        case 5:
            return Print(text, "%2.2d%2.2d%2.2d", value.hour, value.minute, value.second);
        case 6:
            return Print(text, "%2.2d%2.2d", value.hour, value.minute);
        default:
            return Print(text, "%2.2d:%2.2d:%2.2d", value.hour, value.minute, value.second);
    }
}

}  // namespace zel::bench
