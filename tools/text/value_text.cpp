#include "tools/text/value_text.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "include/zelvalues.h"
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

// The ranges that digits are read in.
bool IsNearDate(const _datetime& value) {
    return InRange(value.day, 31) && InRange(value.month, 12);
}

bool IsNearTime(const _datetime& value) {
    return InRange(value.hour, 24) && InRange(value.minute, 59) && InRange(value.second, 59);
}

bool IsDate(const _datetime& value) {
    using std::chrono::year, std::chrono::month, std::chrono::day;
    return IsNearDate(value) &&
           std::chrono::year_month_day(year(kFirstYear + value.year), month(static_cast<unsigned>(value.month)),
                                       day(static_cast<unsigned>(value.day)))
               .ok();
}

// A day may end at 24:00:00.
bool IsTime(const _datetime& value) {
    return IsNearTime(value) && (value.hour < 24 || (value.minute == 0 && value.second == 0));
}

bool ReadDate(std::string_view& text, _datetime& value) {
    const int year = TakeDigits(text, 4) - kFirstYear;
    const int month = TakeCharacter(text, "-") ? TakeDigits(text, 2) : -1;
    const int day = TakeCharacter(text, "-") ? TakeDigits(text, 2) : -1;
    value.year = static_cast<unsigned char>(year);
    value.month = static_cast<signed char>(month);
    value.day = static_cast<signed char>(day);
    value.kind |= kHasDate;
    return InRange(year, UINT8_MAX) && IsNearDate(value);
}

bool ReadTime(std::string_view& text, _datetime& value) {
    value.hour = static_cast<signed char>(TakeDigits(text, 2));
    value.minute = static_cast<signed char>(TakeCharacter(text, ":") ? TakeDigits(text, 2) : -1);
    value.second = static_cast<signed char>(TakeCharacter(text, ":") ? TakeDigits(text, 2) : -1);
    value.kind |= kHasTime;
    return IsNearTime(value);
}

bool ReadRecord(std::string_view text, _datetime& value) {
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

// An amount as its text says it: whole and numerator/denominator, which is below 1.
struct Amount {
    std::int64_t whole;
    std::int64_t numerator;
    std::int64_t denominator;
};

// Takes digits up to the largest number of a record: -1 without any, or beyond.
std::int64_t TakeNumber(std::string_view& text) {
    std::int64_t number = -1;
    while (!text.empty() && IsDigit(text.front()) && number <= INT32_MAX) {
        number = std::max<std::int64_t>(number, 0) * 10 + (text.front() - '0');
        text.remove_prefix(1);
    }
    return number <= INT32_MAX ? number : -1;
}

// Takes the whole part out of its groups of three digits: false when a comma parts no such groups.
bool DropCommas(std::string& text) {
    const std::size_t end = std::min(text.find_first_not_of("0123456789,"), text.size());
    const std::size_t first = text.find(',');
    if (first == std::string::npos) {
        return true;
    }
    if (first == 0 || first > 3 || end % 4 != first % 4) {
        return false;
    }
    for (std::size_t i = 0; i < end; ++i) {
        if ((text[i] == ',') != (i % 4 == first)) {
            return false;
        }
    }
    text.erase(std::remove(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), ','),
               text.begin() + static_cast<std::ptrdiff_t>(end));
    return true;
}

TextFault ReadDecimals(std::string_view text, Amount& amount) {
    if (text.size() > 5) {
        return "has more than 5 decimals";
    }
    amount.denominator = 1;
    for (std::size_t i = 0; i < text.size(); ++i) {
        amount.denominator *= 10;
    }
    amount.numerator = TakeNumber(text);
    return amount.numerator < 0 || !text.empty() ? "has other characters than digits after the point" : nullptr;
}

std::int64_t TakeTick(std::string_view& text) {
    const std::pair<std::string_view, std::int64_t> ticks[] = {{"!!", 256}, {"!", 128}, {"'", 32}, {"\"", 64}};
    for (const auto& [tick, denominator] : ticks) {
        if (text.starts_with(tick)) {
            text.remove_prefix(tick.size());
            return denominator;
        }
    }
    return 0;
}

// What stands after the first number: nothing, decimals, or the rest of a fraction.
TextFault ReadRest(std::string_view text, Amount& amount) {
    constexpr TextFault kOther = "is no amount";
    if (TakeCharacter(text, ".")) {
        return ReadDecimals(text, amount);
    }
    if (amount.whole < 0) {
        return kOther;
    }
    if (text.empty()) {
        return nullptr;
    }
    if (const std::int64_t denominator = TakeTick(text); denominator != 0) {
        amount.numerator = TakeNumber(text);
        amount.denominator = denominator;
    } else {
        amount.numerator = TakeCharacter(text, " ") ? TakeNumber(text) : std::exchange(amount.whole, 0);
        amount.denominator = TakeCharacter(text, "/") ? TakeNumber(text) : 0;
    }
    if (amount.numerator < 0 || amount.denominator < 1 || !text.empty()) {
        return kOther;
    }
    amount.whole += amount.numerator / amount.denominator;
    amount.numerator %= amount.denominator;
    return nullptr;
}

// An amount without its sign.
TextFault ReadAmount(std::string text, Amount& amount) {
    if (!DropCommas(text)) {
        return "has a comma that does not part thousands";
    }
    std::string_view rest = text;
    amount = {TakeNumber(rest), 0, 1};
    if (amount.whole < 0 && rest.size() != text.size()) {
        return "is beyond all amounts";
    }
    const TextFault fault = ReadRest(rest, amount);
    amount.whole = std::max<std::int64_t>(amount.whole, 0);
    return fault;
}

// True when the record means this amount.
bool Means(const _money& money, const Amount& amount, bool isNegative) {
    long whole = 0;
    long numerator = 0;
    long denominator = 1;
    if (ZELUnformatMoney(&money, &whole, &numerator, &denominator) != 0) {
        return false;
    }
    const auto size = [](long number) { return std::abs(std::int64_t{number}); };
    const bool isSignGood = money.amount == 0 || (money.amount < 0) == isNegative;
    return isSignGood && size(whole) == amount.whole &&
           size(numerator) * amount.denominator == amount.numerator * denominator;
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

TextFault ReadMoneyText(const std::string& text, Reading reading, _money& money) {
    Amount amount{};
    bool isNegative = false;
    if (reading == Reading::kStrict) {
        std::string_view unsignedText = text;
        if (unsignedText.starts_with('-')) {
            isNegative = true;
            unsignedText.remove_prefix(1);
        } else if (unsignedText.ends_with('-')) {
            isNegative = true;
            unsignedText.remove_suffix(1);
        }
        (void)TakeCharacter(unsignedText, "$");
        if (const TextFault fault = ReadAmount(std::string(unsignedText), amount)) {
            return fault;
        }
    }
    if (ZELStrToMoney(text.c_str(), &money) != 0) {
        return kRefusedByLibrary;
    }
    if (reading == Reading::kStrict && !Means(money, amount, isNegative)) {
        return "is held by no record of money";
    }
    return nullptr;
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

TextFault CheckDateTime(const _datetime& value) {
    if ((value.kind & kHasDate) != 0 && !IsDate(value)) {
        return "is no day of the calendar";
    }
    return (value.kind & kHasTime) != 0 && !IsTime(value) ? "is no time of a day" : nullptr;
}

TextFault ReadDateTimeText(std::string_view text, Reading reading, _datetime& value) {
    if (!ReadRecord(text, value)) {
        return "is no date or time";
    }
    return reading == Reading::kStrict ? CheckDateTime(value) : nullptr;
}

}  // namespace zel::tools
