// The conversions of values: texts and buffers of exactly their size. What is rendered has the bytes that the C library
// prints; what a text tells in full is read back from it, and what parses renders to text that parses to the same.
// These are not compared, because they tell less, or something else:
//  - the most negative whole units (two signs), more than 20,000,000 negative units with hundredths and large forms of
//    negative units with hundredths (their parts have different signs), of a numerator above 99;
//  - years from 2000 on in two digits, numbers that the builder of a record refuses.
#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cmath>
#include <cstring>

#include "bench/printed_values.h"
#include "convert/date_time.h"
#include "convert/money.h"
#include "convert/money_double.h"
#include "convert/money_parse.h"
#include "fuzz/check.h"
#include "tests/support/bytes.h"
#include "tests/support/random.h"

namespace zel::fuzz {

namespace {

using test::ExactCopy;
using test::Random;

ExactCopy Exact(std::string_view text) {
    return ExactCopy(std::string(text.substr(0, text.find('\0'))).append(1, '\0'));
}

// Characters that the parsers know, or any bytes.
ExactCopy MakeText(Random& input) {
    constexpr std::string_view kAlphabet = "01234567890123456789 /.'\"!-$,:x%";
    const bool isPlain = !input.OneIn(4);
    std::string text = input.Rest();
    for (char& c : text) {
        c = isPlain ? kAlphabet[static_cast<unsigned char>(c) % kAlphabet.size()] : c;
    }
    return Exact(text);
}

// The text that `render` writes into a buffer of exactly this size, filled with zero bytes as callers' are.
template <std::size_t size>
std::string Rendered(auto render) {
    const auto buffer = std::make_unique<char[]>(size);
    Check(render(buffer.get()) == 0, "it renders");
    return buffer.get();
}

template <typename Record>
Record Untouched() {
    Record record;
    std::memset(static_cast<void*>(&record), 0x5A, sizeof record);
    return record;
}

template <typename Record>
bool IsUntouched(const Record& record) {
    std::array<char, sizeof record> bytes;
    std::memcpy(bytes.data(), &record, sizeof record);
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte == 0x5A; });
}

// Without its padding, which a copy need not keep.
bool IsUntouched(const _money& money) {
    return money.amount == 0x5A5A5A5A && money.displayCode == 0x5A5A;
}

// In units of 1/denominator: below 2^39, as records hold more than 2^31 of them in the large form alone.
std::int64_t Units(const MoneyParts& parts) {
    return std::int64_t{parts.whole} * parts.denominator + parts.numerator;
}

bool IsSameValue(const MoneyParts& parts, const _money& money) {
    MoneyParts other{};
    return SplitMoney(&money, other) == 0 && Units(parts) * other.denominator == Units(other) * parts.denominator;
}

// Whether parts and text of the record tell its value.
bool IsToldInFull(const _money& money, const MoneyParts& parts) {
    const bool isLarge = static_cast<std::uint16_t>(money.displayCode) >= kLargeFormCode;
    const bool hasOneSign = !isLarge || (parts.numerator <= 99 && (parts.whole >= 0 || parts.numerator == 0));
    const bool isInHundredths = parts.denominator == kLargeFormDenominator;
    return hasOneSign && parts.whole != INT_MIN &&
           (!isInHundredths || parts.whole >= -kLargestWhole || parts.numerator == 0);
}

void CheckMoney(Random& input, const _money& money) {
    const auto format = static_cast<short>(input.OneIn(8) ? input.Short() : input.Below(5));
    char printed[64];
    MoneyParts parts{};
    if (!bench::PrintMoney(money, printed, format)) {
        char text[24] = "";
        return Check(ZELMoneyToStr(&money, text, format) == -1 && text[0] == '\0', "what has no value has no text");
    }
    const auto render = [&](short as) { return [&money, as](char* text) { return ZELMoneyToStr(&money, text, as); }; };
    Check(Rendered<24>(render(format)) == printed, "a text of money is the one that is printed");
    Check(SplitMoney(&money, parts) == 0, "what renders has parts");
    double value = 0;
    Check(MoneyToDouble(&money, &value) == 0, "what has parts has a value");
    const std::string decimals =
        Rendered<kDecimalTextSize>([&](char* text) { return MoneyToDecimalStr(&money, text); });
    Check(std::fabs(std::strtod(decimals.c_str(), nullptr) - value) < 5.1e-9, "eight decimals tell the value");
    if (IsToldInFull(money, parts)) {
        _money read{};
        Check(ZELStrToMoney(Exact(Rendered<24>(render(0))).data.get(), &read) == 0, "a text of money parses");
        Check(IsSameValue(parts, read), "a text of money tells its value");
        Check(parts.whole < -kLargestWhole || parts.whole > kLargestWhole ||
                  (ZELFormatMoney(parts.whole, parts.numerator, parts.denominator, &read) == 0 &&
                   IsSameValue(parts, read)),
              "a record is built from its parts");
    }
}

void MoneyRecord(Random& input) {
    constexpr short kCodes[] = {1, 2, 4, 8, 16, 32, 64, 128, 256, 10, 20, 30, 40, 50};
    const int kind = input.Below(16);
    const short code = kind == 0   ? static_cast<short>(input.Short())
                       : kind == 1 ? static_cast<short>(kLargeFormCode + input.Below(110))
                                   : input.Pick(kCodes);
    const auto amount = static_cast<std::int32_t>(input.Long());
    CheckMoney(input, {amount >> input.Below(32), code});
}

void MoneyText(Random& input) {
    const int format = input.Byte();
    const ExactCopy text = MakeText(input);
    auto money = Untouched<_money>();
    auto strict = Untouched<_money>();
    const bool isMoney = ZELStrToMoney(text.data.get(), &money) == 0;
    const bool isStrict = ZELStrToMoneyStrict(text.data.get(), &strict) == 0;
    Check(isStrict ? isMoney && std::memcmp(&strict, &money, 6) == 0 : IsUntouched(strict), "the strict parser agrees");
    char* fraction = ConvertDecimalToFraction(text.data.get());
    if (!isMoney) {
        return Check(IsUntouched(money) && fraction == nullptr, "what does not parse changes nothing");
    }
    if (fraction != nullptr) {
        Check(ZELCompareMoneyStr(fraction, fraction) >= -2, "a fraction is a text");
    }
    ZELFree(fraction);
    const std::uint8_t choices[] = {0, static_cast<std::uint8_t>(format)};
    Random again(choices, sizeof choices);
    CheckMoney(again, money);
}

void Double(Random& input) {
    const auto bits = static_cast<std::int64_t>(input.Wide());
    const double value = static_cast<double>(bits) / (1 << input.Below(20)) / 1e10;
    auto money = Untouched<_money>();
    if (DoubleToMoney(input.OneIn(4) ? std::bit_cast<double>(bits) : value, &money) != 0) {
        return Check(IsUntouched(money), "what is no money changes nothing");
    }
    CheckMoney(input, money);
    MoneyParts parts{};
    const _money decimal = money;
    if (MoneyToBinaryMoney(&money) == 0 && SplitMoney(&decimal, parts) == 0) {
        Check(IsSameValue(parts, money), "a binary fraction keeps the value");
    }
}

bool IsWithinBounds(const _datetime& value) {
    return value.day >= 0 && value.day <= 31 && value.month >= 0 && value.month <= 12 && value.year <= 254 &&
           value.hour >= 0 && value.hour <= 24 && value.minute >= 0 && value.minute <= 59 && value.second >= 0 &&
           value.second <= 59;
}

struct DateFormat {
    short written;
    short read;
    bool hasCentury;
    bool hasDay;
};
constexpr DateFormat kDateFormats[] = {{0, 0, false, true},    {1, 1, false, true},  {2, 2, false, true},
                                       {7, 1, false, true},    {9, 0, false, true},  {10, 8, false, false},
                                       {10, 10, false, false}, {11, 11, true, true}, {12, 12, true, true},
                                       {14, 14, true, true},   {15, 15, true, false}};

void CheckReadBack(const _datetime& value, const DateFormat& format, const std::string& date, const std::string& time) {
    _datetime read{};
    if (HasDate(value) && (format.hasCentury || value.year < 100)) {
        const signed char day = format.hasDay ? value.day : static_cast<signed char>(0);
        const _datetime expected = {day, value.month, value.year, 0, 0, 0, 0, kDateKind};
        Check(ZELStrToDate(Exact(date).data.get(), &read, format.read) == 0, "a text of a date parses");
        Check(std::memcmp(&read, &expected, sizeof read) == 0, "a text tells its date");
    }
    if (HasTime(value)) {
        const _datetime expected = {0, 0, 0, value.hour, value.minute, value.second, 0, kTimeKind};
        Check(ZELStrToTime(Exact(time).data.get(), &read) == 0, "a text of a time parses");
        Check(std::memcmp(&read, &expected, sizeof read) == 0, "a text tells its time");
    }
}

void CheckDateTime(Random& input, const _datetime& value) {
    const DateFormat known = input.Pick(kDateFormats);
    const auto timeFormat = static_cast<short>(input.Below(8));
    const auto dateFormat = input.OneIn(8) ? static_cast<short>(input.Short()) : known.written;
    char printedDate[64];
    char printedTime[64];
    bench::PrintDate(value, printedDate, dateFormat);
    bench::PrintTime(value, printedTime, timeFormat);
    const std::string date = Rendered<18>([&](char* text) { return ZELDateToStr(&value, text, dateFormat); });
    const std::string time = Rendered<18>([&](char* text) { return ZELTimeToStr(&value, text, timeFormat); });
    Check(date == printedDate && time == printedTime, "date and time are what is printed");
    const auto both = [&](char* text) { return ZELDateTimeToStrInFormats(&value, text, dateFormat, timeFormat); };
    Check(Rendered<31>(both) == date + ' ' + time, "two texts in one");
    Check(Rendered<18>([&](char* text) { return ZELDateTimeToStr(&value, text); }).size() >= 8, "a date or a time");
    Check(Rendered<31>([&](char* text) { return ZELDateTimeToStrYearFirst(&value, text); }).size() >= 8, "or both");
    if (IsWithinBounds(value) && dateFormat == known.written && (timeFormat < 4 || timeFormat == 5)) {
        CheckReadBack(value, known, date, time);
    }
}

void DateTimeRecord(Random& input) {
    _datetime value{};
    if (input.OneIn(4)) {
        std::memcpy(&value, input.Bytes(sizeof value).data(), sizeof value);
    } else {
        int parts[8];
        for (int& part : parts) {
            part = input.OneIn(32) ? static_cast<std::int32_t>(input.Long()) : input.Below(26) - 1;
        }
        value = Untouched<_datetime>();
        if (ZELFormatDateTime(parts[0], parts[1], parts[2], parts[3], parts[4], parts[5], parts[6], parts[7] % 5,
                              &value) != 0) {
            return Check(IsUntouched(value), "what is out of bounds changes nothing");
        }
    }
    CheckDateTime(input, value);
    Check(DateTimeToTimeT(&value) == -1 || value.kind == kDateTimeKind, "half a record has no seconds");
}

void DateTimeText(Random& input) {
    Random choices(input.Long());
    const auto format = static_cast<short>(input.OneIn(8) ? input.Short() : input.Below(17));
    const ExactCopy text = MakeText(input);
    auto date = Untouched<_datetime>();
    auto time = Untouched<_datetime>();
    auto added = Untouched<_datetime>();
    if (ZELStrToDate(text.data.get(), &date, format) == 0) {
        CheckDateTime(choices, date);
    } else {
        Check(IsUntouched(date), "what is no date changes nothing");
    }
    const int result = ZELStrToTime(text.data.get(), &time);
    Check(ZELAddStrToTime(text.data.get(), &added) == result, "both read a time or none");
    if (result != 0) {
        return Check(IsUntouched(time) && IsUntouched(added), "what is no time changes nothing");
    }
    Check(added.hour == time.hour && added.day == 0x5A && added.kind == kDateTimeKind, "an added time leaves the date");
    CheckDateTime(choices, time);
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr void (*kKinds[])(zel::test::Random&) = {zel::fuzz::MoneyRecord, zel::fuzz::MoneyText, zel::fuzz::Double,
                                                      zel::fuzz::DateTimeRecord, zel::fuzz::DateTimeText};
    ZELSetErrorSink(zel::fuzz::KeepReport, nullptr);
    zel::test::Random input(data, size);
    input.Pick(kKinds)(input);
    return 0;
}
