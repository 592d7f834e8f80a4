#include "tools/text/value_text.h"

#include <cstdint>

#include "runtime/digits.h"

namespace zel::tools {

namespace {

// The number that `count` digits at the start of the text stand for; -1 for other characters.
int TakeDigits(std::string_view& text, std::size_t count) {
    int number = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (i >= text.size() || !IsDigit(text[i])) {
            return -1;
        }
        number = number * 10 + (text[i] - '0');
    }
    text.remove_prefix(count);
    return number;
}

bool TakeCharacter(std::string_view& text, std::string_view oneOf) {
    if (text.empty() || oneOf.find(text.front()) == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

constexpr int kFirstYear = 1900;

constexpr unsigned char kHasDate = 1;
constexpr unsigned char kHasTime = 2;

bool InRange(int number, int most) {
    return number >= 0 && number <= most;
}

// The ranges within which dates and times are read; a month's days are not counted.
bool IsDate(const _datetime& value) {
    return InRange(value.day, 31) && InRange(value.month, 12);
}

bool IsTime(const _datetime& value) {
    return InRange(value.hour, 24) && InRange(value.minute, 59) && InRange(value.second, 59);
}

bool ReadDate(std::string_view& text, _datetime& value) {
    const int year = TakeDigits(text, 4) - kFirstYear;
    const int month = TakeCharacter(text, "-") ? TakeDigits(text, 2) : -1;
    const int day = TakeCharacter(text, "-") ? TakeDigits(text, 2) : -1;
    value.year = static_cast<unsigned char>(year);
    value.month = static_cast<signed char>(month);
    value.day = static_cast<signed char>(day);
    value.kind |= kHasDate;
    return InRange(year, UINT8_MAX) && IsDate(value);
}

bool ReadTime(std::string_view& text, _datetime& value) {
    value.hour = static_cast<signed char>(TakeDigits(text, 2));
    value.minute = static_cast<signed char>(TakeCharacter(text, ":") ? TakeDigits(text, 2) : -1);
    value.second = static_cast<signed char>(TakeCharacter(text, ":") ? TakeDigits(text, 2) : -1);
    value.kind |= kHasTime;
    return IsTime(value);
}

}  // namespace

std::string_view WithoutPadding(std::string_view bytes) {
    const std::size_t last = bytes.find_last_not_of('\0');
    return bytes.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

bool AppendMoneyText(std::string& out, const _money& money) {
    char text[24] = "";
    _money read{};
    if (GetDenominatorType(money.displayCode) == 0 || ZELMoneyToStr(&money, text, 0) != 0 ||
        ZELStrToMoney(text, &read) != 0 || read.amount != money.amount || read.displayCode != money.displayCode) {
        return false;
    }
    out += text;
    return true;
}

bool AppendDateTimeText(std::string& out, const _datetime& value) {
    const bool hasDate = (value.kind & kHasDate) != 0;
    const bool hasTime = (value.kind & kHasTime) != 0;
    const bool noDate = value.day == 0 && value.month == 0 && value.year == 0;
    const bool noTime = value.hour == 0 && value.minute == 0 && value.second == 0;
    if (value.kind > (kHasDate | kHasTime) || value.extra != 0 || !(hasDate ? IsDate(value) : noDate) ||
        !(hasTime ? IsTime(value) : noTime)) {
        return false;
    }
    char text[20];
    char* end = text;
    if (hasDate) {
        const int year = kFirstYear + value.year;
        end = PutTwoDigits(PutTwoDigits(end, year / 100), year % 100);
        *end++ = '-';
        end = PutTwoDigits(end, value.month);
        *end++ = '-';
        end = PutTwoDigits(end, value.day);
    }
    if (hasDate && hasTime) {
        *end++ = 'T';
    }
    if (hasTime) {
        end = PutTwoDigits(end, value.hour);
        *end++ = ':';
        end = PutTwoDigits(end, value.minute);
        *end++ = ':';
        end = PutTwoDigits(end, value.second);
    }
    out.append(text, static_cast<std::size_t>(end - text));
    return true;
}

bool ReadDateTimeText(std::string_view text, _datetime& value) {
    value = {};
    if (text.empty()) {
        return true;
    }
    const bool hasDate = text.find('-') != std::string_view::npos;
    const bool hasTime = text.find(':') != std::string_view::npos;
    if (hasDate && !ReadDate(text, value)) {
        return false;
    }
    if (hasDate && hasTime && !TakeCharacter(text, "T ")) {
        return false;
    }
    if (hasTime && !ReadTime(text, value)) {
        return false;
    }
    return text.empty();
}

}  // namespace zel::tools
