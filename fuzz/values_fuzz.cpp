// Value conversions with hostile texts and records, in buffers of exactly their size. A text that holds the whole value
// must read back as that value. These do not, and are not compared:
//  - the most negative whole units (two signs), and more than 20,000,000 negative units with hundredths (their large
//    form has no valid display code);
//  - large forms of negative units with hundredths (the two have different signs) and of a numerator above 99;
//  - format 2 of 7 or more digits with something after them; format 3 of decimals beyond hundredths;
//  - doubles whose text is longer than the ten characters that are read, or has more than five decimals;
//  - dates in two digits of a year from 2000 on, a day or a second that the format does not show; the formats 13 and
//    16 have no reader;
//  - dates and times with numbers below 0 or above the builder's bounds;
//  - negative decimals as fractions, which lose their fraction.
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <string_view>

#include "convert/date_time.h"
#include "convert/money.h"
#include "convert/money_double.h"
#include "convert/money_parse.h"
#include "convert/text.h"
#include "fuzz/check.h"
#include "fuzz/exact_copy.h"
#include "fuzz/input.h"
#include "include/zelmessage.h"

namespace zel::fuzz {

namespace {

constexpr int kMostSteps = 16;
constexpr std::size_t kMoneyTextSize = 24;
constexpr std::size_t kDateTimeTextSize = 18;
constexpr std::size_t kInFormatsTextSize = 31;
constexpr std::size_t kFractionTextSize = 32;
constexpr std::size_t kShortTextSize = 7;
constexpr char kUntouched = '\x5A';

void ReadReport(int /*code*/, const char* text, void* /*context*/) {
    Check(std::strlen(text) < std::size_t{kReportTextSize}, "a report is terminated");
}

// An output buffer of exactly the size that callers must provide, filled with zero bytes.
class TextBuffer {
public:
    explicit TextBuffer(std::size_t size) : size_(size), bytes_(std::make_unique<char[]>(size)) {}

    char* data() { return bytes_.get(); }

    std::string_view Text() const {
        Check(std::memchr(bytes_.get(), '\0', size_) != nullptr, "a text ends within its buffer");
        return bytes_.get();
    }

private:
    std::size_t size_;
    std::unique_ptr<char[]> bytes_;
};

// Characters that the parsers know, or any bytes.
std::string MakeText(Input& input) {
    constexpr std::string_view kAlphabet = "01234567890123456789 /.'\"!-$,:x%";
    const bool isLong = input.OneIn(8);
    const bool isPlain = !input.OneIn(4);
    std::string text = input.Bytes(static_cast<std::size_t>(input.Below(isLong ? 250 : 34)));
    for (char& c : text) {
        if (isPlain) {
            c = kAlphabet[static_cast<unsigned char>(c) % kAlphabet.size()];
        }
    }
    return text;
}

// ---- Money ----------------------------------------------------------------------------------------------------------

_money UntouchedMoney() {
    return {0x5A5A5A5A, 0x5A5A};
}

bool IsSame(const _money& a, const _money& b) {
    return a.amount == b.amount && a.displayCode == b.displayCode;
}

MoneyParts Split(const _money& money) {
    MoneyParts parts{};
    Check(SplitMoney(&money, parts) == 0, "the record can be taken apart");
    return parts;
}

// The value in units of 1/denominator: below 2^39, as records hold more than 2^31 of them in the large form alone.
std::int64_t Units(const MoneyParts& parts) {
    return std::int64_t{parts.whole} * parts.denominator + parts.numerator;
}

bool HasSameValue(const MoneyParts& a, const MoneyParts& b) {
    return Units(a) * b.denominator == Units(b) * a.denominator;
}

// Also whether a large form has at most 99 hundredths; codes below 0 count as large forms.
bool HasOneSign(const _money& money, const MoneyParts& parts) {
    const bool isLarge = static_cast<std::uint16_t>(money.displayCode) >= kLargeFormCode;
    return !isLarge || (parts.numerator <= 99 && (parts.whole >= 0 || parts.numerator == 0));
}

bool FitsReduced(const MoneyParts& parts) {
    const std::int64_t units = Units(parts) / std::gcd(parts.numerator, parts.denominator);
    return units == static_cast<std::int32_t>(units);
}

// Whether the text in this format holds the record's value.
bool IsToldInFull(const _money& money, const MoneyParts& parts, short format) {
    const bool isDecimal = GetDenominatorType(money.displayCode) == kDecimalType;
    if (!HasOneSign(money, parts) || parts.whole == std::numeric_limits<std::int32_t>::min()) {
        return false;
    }
    const bool isInHundredths = isDecimal && (format == 3 || parts.denominator == kLargeFormDenominator);
    if (isInHundredths && parts.whole < -kLargestWhole && parts.numerator != 0) {
        return false;
    }
    if (format == 2 && std::abs(parts.whole) > 999999 && (isDecimal || parts.numerator != 0)) {
        return false;
    }
    return format != 3 || !isDecimal || std::int64_t{parts.numerator} * 100 % parts.denominator == 0;
}

void CheckText(const _money& money, short format) {
    TextBuffer text(kMoneyTextSize);
    if (ZELMoneyToStr(&money, text.data(), format) != 0) {
        Check(text.Text().empty(), "a failed rendering leaves an empty text");
        Check(GetDenominatorType(money.displayCode) == kInvalidType, "what has a display code renders");
        return;
    }
    const MoneyParts parts = Split(money);
    _money read{};
    if (IsToldInFull(money, parts, format)) {
        Check(ZELStrToMoney(ExactText(text.Text()).get(), &read) == 0, "a text of money parses");
        Check(HasSameValue(parts, Split(read)), "a text of money tells its value");
    }
}

// Whether the number prints in at most ten characters, with at most five decimals.
bool IsShortNumber(const _money& money, const MoneyParts& parts) {
    const std::int64_t scaled = std::int64_t{std::abs(parts.numerator)} * 100000;
    if (!HasOneSign(money, parts) || scaled % parts.denominator != 0) {
        return false;
    }
    std::size_t length = std::to_string(std::int64_t{parts.whole}).size();
    length += parts.whole == 0 && parts.numerator < 0 ? 1 : 0;
    std::int64_t decimals = scaled / parts.denominator;
    if (decimals != 0) {
        length += 6;
        for (; decimals % 10 == 0; decimals /= 10) {
            --length;
        }
    }
    return length <= 10;
}

void CheckNumbers(const _money& money) {
    double value = 0;
    TextBuffer text(std::size_t{kDecimalTextSize});
    if (MoneyToDouble(&money, &value) != 0) {
        Check(MoneyToDecimalStr(&money, text.data()) == -1, "what has no value has no decimals");
        return;
    }
    Check(MoneyToDecimalStr(&money, text.data()) == 0, "what has a value has decimals");
    const std::string_view told = text.Text();
    double back = 0;
    const auto result = std::from_chars(told.data(), told.data() + told.size(), back);
    Check(result.ec == std::errc{} && result.ptr == told.data() + told.size() && std::fabs(back - value) < 5.1e-9,
          "eight decimals tell the value to eight decimals");
    const MoneyParts parts = Split(money);
    _money read{};
    if (IsShortNumber(money, parts)) {
        Check(DoubleToMoney(value, &read) == 0 && HasSameValue(parts, Split(read)), "a short number keeps its value");
    }
    read = money;
    if (MoneyToBinaryMoney(&read) != 0) {
        Check(IsSame(read, money), "what has no binary fraction stays");
    } else if (FitsReduced(parts)) {
        Check(HasSameValue(parts, Split(read)), "a binary fraction keeps the value");
    }
}

void CheckParts(const _money& money) {
    long whole = -7;
    long numerator = -7;
    long denominator = -7;
    MoneyParts parts{-7, -7, -7};
    const int result = ZELUnformatMoney(&money, &whole, &numerator, &denominator);
    Check(result == SplitMoney(&money, parts), "both take a record apart or none");
    Check(parts.whole == whole && parts.numerator == numerator && parts.denominator == denominator,
          "both take a record apart alike");
    Check(result == 0 || denominator == 0, "an invalid display code has no denominator");
    Check(result != 0 || GetDenominatorType(money.displayCode) != kInvalidType || money.displayCode < 0,
          "the valid display codes are those of denominators");
    _money built = UntouchedMoney();
    if (result == 0 && parts.whole >= -kLargestWhole && parts.whole <= kLargestWhole && HasOneSign(money, parts)) {
        Check(ZELFormatMoney(whole, numerator, denominator, &built) == 0 && HasSameValue(parts, Split(built)),
              "a record is built from its parts");
    }
}

void CheckMoney(Input& input, const _money& money) {
    for (short format = 0; format < 5; ++format) {
        CheckText(money, format);
    }
    CheckText(money, static_cast<short>(input.Short()));
    CheckNumbers(money);
    CheckParts(money);
}

void MoneyRecord(Input& input) {
    constexpr short kCodes[] = {1, 2, 4, 8, 16, 32, 64, 128, 256, 10, 20, 30, 40, 50, 512, 0};
    short code = kCodes[input.Below(16)];
    if (code == 512) {
        code = static_cast<short>(code + input.Below(110));
    } else if (code == 0) {
        code = static_cast<short>(input.Short());
    }
    const auto amount = static_cast<std::int32_t>(input.Long());
    const int scale = input.Below(32);
    CheckMoney(input, {amount >> scale, code});
}

void CheckFraction(const char* text, const _money& money) {
    char* fraction = ConvertDecimalToFraction(text);
    if (fraction == nullptr) {
        return;
    }
    Check(std::memchr(fraction, '\0', kFractionTextSize) != nullptr, "a fraction ends within its block");
    const MoneyParts parts = Split(money);
    Check(GetDenominatorType(money.displayCode) == kDecimalType, "decimals alone become fractions");
    _money read{};
    if (parts.whole >= 0 && parts.numerator >= 0 && FitsReduced(parts)) {
        Check(ZELStrToMoney(fraction, &read) == 0 && HasSameValue(parts, Split(read)), "a fraction tells the value");
    }
    ZELFree(fraction);
}

void MoneyText(Input& input) {
    const auto text = ExactText(MakeText(input));
    _money money = UntouchedMoney();
    const bool isMoney = ZELStrToMoney(text.get(), &money) == 0;
    Check(ZELStrToMoney(text.get(), nullptr) == -1, "there is no parsing into nowhere");
    _money strict = UntouchedMoney();
    const bool isStrict = ZELStrToMoneyStrict(text.get(), &strict) == 0;
    if (!isMoney) {
        Check(IsSame(money, UntouchedMoney()) && !isStrict, "what does not parse changes nothing");
        Check(ConvertDecimalToFraction(text.get()) == nullptr, "what does not parse is no fraction");
    }
    Check(IsSame(strict, isStrict ? money : UntouchedMoney()), "the stricter parser reads the same");

    const auto other = ExactText(MakeText(input));
    _money otherMoney{};
    MoneyParts parts{};
    const bool isOther = ZELStrToMoney(other.get(), &otherMoney) == 0 && SplitMoney(&otherMoney, parts) == 0;
    const int order = ZELCompareMoneyStr(text.get(), other.get());
    Check((order != -2) == (isOther && isMoney && SplitMoney(&money, parts) == 0), "values alone compare");
    Check(order >= -2 && order <= 1, "an order is one of four");
    if (isMoney) {
        CheckMoney(input, money);
        CheckFraction(text.get(), money);
    }
}

void Doubles(Input& input) {
    const std::uint64_t high = input.Long();
    const std::uint64_t bits = high << 32U | input.Long();
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    if (!input.OneIn(4)) {
        value = static_cast<double>(static_cast<std::int64_t>(bits)) / (1 << input.Below(20)) / 1e10;
    }
    _money money = UntouchedMoney();
    if (DoubleToMoney(value, &money) == 0) {
        CheckMoney(input, money);
    } else {
        Check(IsSame(money, UntouchedMoney()), "what is no money changes nothing");
    }
    if (DoubleToBinaryMoney(value, &money) == 0) {
        CheckMoney(input, money);
    }
}

void Numbers(Input& input) {
    const auto a = static_cast<std::int32_t>(input.Long()) >> input.Below(32);
    const auto b = static_cast<std::int32_t>(input.Long()) >> input.Below(32);
    const long factor = FindGCF(a, b);
    Check(factor == (b < 1 ? a : a < 1 ? b : std::gcd(a, b)), "the greatest common factor");
    const long denominator = DisplayCodeToDenominator(static_cast<short>(a));
    Check(denominator == 0 || DenominatorToDisplayCode(denominator) == static_cast<short>(a),
          "a denominator has its display code");
    TextBuffer text(kShortTextSize);
    Check(ShortToStr(static_cast<short>(b), text.data()) == 0 && text.Text() == std::to_string(static_cast<short>(b)),
          "a number as text");
}

// ---- Dates and times ------------------------------------------------------------------------------------------------

_datetime UntouchedDateTime() {
    _datetime value;
    std::memset(&value, kUntouched, sizeof value);
    return value;
}

bool IsSame(const _datetime& a, const _datetime& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool IsWithinBounds(const _datetime& value) {
    return value.day >= 0 && value.day <= 31 && value.month >= 0 && value.month <= 12 && value.year <= 254 &&
           value.hour >= 0 && value.hour <= 24 && value.minute >= 0 && value.minute <= 59 && value.second >= 0 &&
           value.second <= 59;
}

_datetime DateOf(const _datetime& value, bool hasDay) {
    return {hasDay ? value.day : static_cast<signed char>(0), value.month, value.year, 0, 0, 0, 0, kDateKind};
}

_datetime TimeOf(const _datetime& value, bool hasSecond) {
    return {0, 0, 0, value.hour, value.minute, hasSecond ? value.second : static_cast<signed char>(0), 0, kTimeKind};
}

_datetime ReadDate(std::string_view text, short format) {
    _datetime read = UntouchedDateTime();
    Check(ZELStrToDate(ExactText(text).get(), &read, format) == 0, "a text of a date parses");
    return read;
}

_datetime ReadTime(std::string_view text) {
    _datetime read = UntouchedDateTime();
    Check(ZELStrToTime(ExactText(text).get(), &read) == 0, "a text of a time parses");
    return read;
}

void CheckDate(const _datetime& value) {
    struct Format {
        short written;
        short read;
        bool hasCentury;
        bool hasDay;
    };
    constexpr Format kFormats[] = {{0, 0, false, true},    {1, 1, false, true},  {2, 2, false, true},
                                   {7, 1, false, true},    {9, 0, false, true},  {10, 8, false, false},
                                   {10, 10, false, false}, {11, 11, true, true}, {12, 12, true, true},
                                   {14, 14, true, true},   {15, 15, true, false}};
    for (const Format& format : kFormats) {
        TextBuffer text(kDateTimeTextSize);
        Check(ZELDateToStr(&value, text.data(), format.written) == 0, "every record has a date's text");
        if (!HasDate(value)) {
            Check(text.Text() == "00/00/1900", "the text of no date");
        } else if (IsWithinBounds(value) && (format.hasCentury || value.year < 100)) {
            Check(IsSame(ReadDate(text.Text(), format.read), DateOf(value, format.hasDay)), "a text tells its date");
        }
    }
}

void CheckTime(const _datetime& value) {
    for (short format = 3; format <= 6; ++format) {
        TextBuffer text(kDateTimeTextSize);
        Check(ZELTimeToStr(&value, text.data(), format) == 0, "every record has a time's text");
        if (!HasTime(value)) {
            Check(text.Text() == "00:00:00", "the text of no time");
        } else if (IsWithinBounds(value)) {
            Check(IsSame(ReadTime(text.Text()), TimeOf(value, format % 2 != 0)), "a text tells its time");
        }
    }
}

void CheckBoth(const _datetime& value) {
    TextBuffer text(kDateTimeTextSize);
    Check(ZELDateTimeToStr(&value, text.data()) == 0, "every record has a text");
    if (!IsWithinBounds(value) || value.year >= 100) {
        return;
    }
    const std::string_view told = text.Text();
    if (!HasDate(value)) {
        Check(IsSame(ReadTime(told), HasTime(value) ? TimeOf(value, true) : TimeOf({}, true)), "a text tells its time");
        return;
    }
    _datetime read = ReadDate(told, 1);
    Check(IsSame(read, DateOf(value, true)), "a text tells its date");
    if (HasTime(value)) {
        _datetime expected = value;
        expected.extra = 0;
        Check(
            told.size() == 17 && ZELAddStrToTime(ExactText(told.substr(9)).get(), &read) == 0 && IsSame(read, expected),
            "a text tells date and time");
    }
}

void CheckDateTime(Input& input, const _datetime& value) {
    CheckDate(value);
    CheckTime(value);
    CheckBoth(value);
    const auto dateFormat = static_cast<short>(input.OneIn(4) ? input.Short() : input.Below(20));
    const auto timeFormat = static_cast<short>(input.Below(20));
    TextBuffer date(kDateTimeTextSize);
    TextBuffer time(kDateTimeTextSize);
    TextBuffer both(kInFormatsTextSize);
    TextBuffer yearFirst(kInFormatsTextSize);
    Check(ZELDateToStr(&value, date.data(), dateFormat) == 0 && ZELTimeToStr(&value, time.data(), timeFormat) == 0 &&
              ZELDateTimeToStrInFormats(&value, both.data(), dateFormat, timeFormat) == 0 &&
              ZELDateTimeToStrYearFirst(&value, yearFirst.data()) == 0,
          "every record has a text");
    Check(both.Text() == std::string(date.Text()) + ' ' + std::string(time.Text()), "two texts in one");
    Check(yearFirst.Text().size() >= 8, "a date or a time");
}

void DateTimeRecord(Input& input) {
    _datetime value;
    if (input.OneIn(4)) {
        std::memcpy(&value, input.Bytes(sizeof value).data(), sizeof value);
    } else {
        value.day = static_cast<signed char>(input.Below(32));
        value.month = static_cast<signed char>(input.Below(13));
        value.year = input.Byte();
        value.hour = static_cast<signed char>(input.Below(25));
        value.minute = static_cast<signed char>(input.Below(60));
        value.second = static_cast<signed char>(input.Below(60));
        value.extra = input.Byte();
        value.kind = static_cast<unsigned char>(input.Below(4));
    }
    CheckDateTime(input, value);
    Check(DateTimeToTimeT(&value) == -1 || value.kind == kDateTimeKind, "half a record has no seconds");
}

void DateText(Input& input) {
    const auto text = ExactText(MakeText(input));
    const auto format = static_cast<short>(input.OneIn(8) ? input.Short() : input.Below(17));
    _datetime value = UntouchedDateTime();
    Check(ZELStrToDate(text.get(), nullptr, format) == -1, "there is no parsing into nowhere");
    if (ZELStrToDate(text.get(), &value, format) != 0) {
        Check(IsSame(value, UntouchedDateTime()), "what is no date changes nothing");
        return;
    }
    Check(value.kind == kDateKind && value.hour == 0 && value.minute == 0 && value.second == 0 && value.extra == 0,
          "a date has no time");
    CheckDateTime(input, value);
}

void TimeText(Input& input) {
    const auto text = ExactText(MakeText(input));
    _datetime value = UntouchedDateTime();
    _datetime both = UntouchedDateTime();
    const int result = ZELStrToTime(text.get(), &value);
    Check(ZELStrToTime(text.get(), nullptr) == -1, "there is no parsing into nowhere");
    Check(ZELAddStrToTime(text.get(), &both) == result, "both read a time or none");
    if (result != 0) {
        Check(IsSame(value, UntouchedDateTime()) && IsSame(both, value), "what is no time changes nothing");
        return;
    }
    Check(value.day == 0 && value.month == 0 && value.year == 0 && value.kind == kTimeKind, "a time has no date");
    _datetime expected = value;
    expected.day = expected.month = kUntouched;
    expected.year = kUntouched;
    expected.kind = kDateTimeKind;
    Check(IsSame(both, expected), "an added time leaves the date");
    CheckDateTime(input, value);
    CheckDateTime(input, both);
}

void Builder(Input& input) {
    int parts[8];
    for (int& part : parts) {
        part = input.OneIn(8) ? static_cast<std::int32_t>(input.Long()) : input.Below(26) - 1;
    }
    _datetime value = UntouchedDateTime();
    if (ZELFormatDateTime(parts[0], parts[1], parts[2], parts[3], parts[4], parts[5], parts[6], parts[7], &value) ==
        0) {
        CheckDateTime(input, value);
    } else {
        Check(IsSame(value, UntouchedDateTime()), "what is out of bounds changes nothing");
    }
    const int century = ExpandTwoDigitYear(parts[0], parts[1] % 5);
    Check(century == -1 || (century >= 1951 && century <= 2090 && century % 100 == parts[0]), "two digits of a year");
}

void Texts(Input& input) {
    const auto text = ExactText(MakeText(input));
    const std::size_t size = std::strlen(text.get());
    TextBuffer trimmed(size + 2);
    TrimSpaces(text.get(), trimmed.data());
    const std::string once(trimmed.Text());
    Check(once == Trimmed(text.get()) && (once.empty() || (once.front() != ' ' && once.back() != ' ')),
          "a trimmed text has no spaces around it");
    AppendChar(trimmed.data(), '.');
    Check(trimmed.Text() == once + '.', "a character more");
    TrimSpaces(text.get(), text.get());
    Check(once == text.get(), "a text can be trimmed where it lies");
    std::int32_t value = 0;
    Check((IsSignedNumber(once) == 1) == ReadSignedNumber(once, value), "what is a number can be read");
}

void Step(Input& input) {
    switch (input.Below(12)) {
        case 0:
        case 1:
            return MoneyRecord(input);
        case 2:
        case 3:
        case 4:
            return MoneyText(input);
        case 5:
            return Doubles(input);
        case 6:
            return DateTimeRecord(input);
        case 7:
        case 8:
            return DateText(input);
        case 9:
            return TimeText(input);
        case 10:
            return Builder(input);
        default:
            Numbers(input);
            return Texts(input);
    }
}

}  // namespace

}  // namespace zel::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::Input input(data, size);
    ZELSetErrorSink(&zel::fuzz::ReadReport, nullptr);
    for (int step = 0; step < zel::fuzz::kMostSteps && !input.IsEmpty(); ++step) {
        zel::fuzz::Step(input);
    }
    ZELSetErrorSink(nullptr, nullptr);
    return 0;
}
