#include <array>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "core/wire/value_bytes.h"
#include "include/zelmessage.h"
#include "tools/io/status.h"
#include "tools/message/library_reports.h"
#include "tools/text/complaint.h"
#include "tools/text/hex_text.h"
#include "tools/text/value_text.h"
#include "tools/verbs/all_verbs.h"

namespace zel::tools {

namespace {

struct ValueOptions {
    std::string text;
    std::optional<short> format;
    bool hex = false;
    bool lenient = false;
};

// Room for every text that the library writes, and filled with zero bytes as it asks.
using TextBuffer = std::array<char, 64>;

// Above the longest name.
constexpr std::size_t kNameWidth = 15;

void ShowLine(const std::string& name, const std::string& value) {
    std::cout << name << std::string(kNameWidth - name.size(), ' ') << value << '\n';
}

// One rendering, empty when the library refuses the record.
template <typename Record>
std::string Rendered(int (*render)(const Record*, char*, short) noexcept, const Record& record, short format) {
    TextBuffer text{};
    return render(&record, text.data(), format) == 0 ? text.data() : "";
}

template <typename Record, std::size_t Count>
void ShowFormats(int (*render)(const Record*, char*, short) noexcept, const Record& record,
                 const std::array<short, Count>& formats) {
    for (const short format : formats) {
        ShowLine("format " + std::to_string(format), Rendered(render, record, format));
    }
}

// The record as it travels.
template <Shape shape, typename Record>
void ShowBytes(const Record& record) {
    char bytes[FixedWireSize(shape)];
    EncodeFixed<shape>(&record, bytes);
    std::string text;
    AppendSpacedHex(text, bytes, sizeof bytes, kLowerHex);
    ShowLine("bytes", text);
}

// False when the library cannot take the record apart, nor show it.
bool ShowMoneyRecord(const _money& money) {
    ShowBytes<Shape::kMoney>(money);
    ShowLine("amount", std::to_string(money.amount));
    ShowLine("display code", std::to_string(money.displayCode));
    long whole = 0;
    long numerator = 0;
    long denominator = 0;
    if (ZELUnformatMoney(&money, &whole, &numerator, &denominator) != 0) {
        return false;
    }
    ShowLine("parts", std::to_string(whole) + " and " + std::to_string(numerator) + '/' + std::to_string(denominator));
    return true;
}

// The record whose bytes the text gives as hex digits.
template <Shape shape, typename Record>
TextFault ReadBytes(const std::string& text, Record& record) {
    static_assert(sizeof record == FixedMemorySize(shape));
    std::string digits = text;
    std::erase(digits, ' ');
    std::string bytes;
    if (!ParseHex(digits, bytes) || bytes.size() != FixedWireSize(shape)) {
        return shape == Shape::kMoney ? "is not 6 bytes in hex digits" : "is not 8 bytes in hex digits";
    }
    DecodeFixed<shape>(bytes.data(), &record);
    return nullptr;
}

TextFault ShowMoney(const ValueOptions& options) {
    _money money{};
    const TextFault fault =
        options.hex ? ReadBytes<Shape::kMoney>(options.text, money)
                    : ReadMoneyText(options.text, options.lenient ? Reading::kLenient : Reading::kStrict, money);
    if (fault != nullptr) {
        return fault;
    }
    if (options.format) {
        std::cout << Rendered(ZELMoneyToStr, money, *options.format) << '\n';
        return nullptr;
    }
    if (ShowMoneyRecord(money)) {
        // Every number above 3 shows alike.
        ShowFormats(ZELMoneyToStr, money, std::array<short, 5>{0, 1, 2, 3, 4});
    }
    return nullptr;
}

void ShowDateFormats(const _datetime& value) {
    ShowFormats(ZELDateToStr, value, std::array<short, 12>{0, 1, 2, 7, 9, 10, 11, 12, 13, 14, 15, 16});
}

void ShowTimeFormats(const _datetime& value) {
    ShowFormats(ZELTimeToStr, value, std::array<short, 4>{3, 4, 5, 6});
}

void ShowDateTimeRecord(const _datetime& value) {
    ShowBytes<Shape::kDateTime>(value);
    ShowLine("kind", std::to_string(value.kind));
    if (std::string text; AppendDateTimeText(text, value)) {
        ShowLine("ISO 8601", text);
    }
}

// From bytes, from the forms of ISO 8601, or as the library reads it: `read` is its function.
template <typename Read>
TextFault ReadDateTime(const ValueOptions& options, _datetime& value, Read read) {
    if (options.hex) {
        return ReadBytes<Shape::kDateTime>(options.text, value);
    }
    const bool isIso = options.text.find('-') == 4 && !options.format;
    if (isIso && !options.lenient) {
        return ReadDateTimeText(options.text, Reading::kStrict, value);
    }
    if (!read(options.text, value)) {
        return kRefusedByLibrary;
    }
    if (options.lenient) {
        return nullptr;
    }
    _datetime checked = value;
    // Formats of months have no day.
    const short format = options.format.value_or(0);
    if (checked.day == 0 && (format == 8 || format == 10 || format == 15)) {
        checked.day = 1;
    }
    return CheckDateTime(checked);
}

TextFault ShowDate(const ValueOptions& options) {
    _datetime value{};
    const TextFault fault = ReadDateTime(options, value, [&options](const std::string& text, _datetime& out) {
        return ZELStrToDate(text.c_str(), &out, options.format.value_or(0)) == 0;
    });
    if (fault == nullptr) {
        ShowDateTimeRecord(value);
        ShowDateFormats(value);
    }
    return fault;
}

TextFault ShowTime(const ValueOptions& options) {
    _datetime value{};
    ValueOptions reading = options;
    reading.format.reset();
    const TextFault fault = ReadDateTime(
        reading, value, [](const std::string& text, _datetime& out) { return ZELStrToTime(text.c_str(), &out) == 0; });
    if (fault != nullptr) {
        return fault;
    }
    if (options.format) {
        std::cout << Rendered(ZELTimeToStr, value, *options.format) << '\n';
        return nullptr;
    }
    ShowDateTimeRecord(value);
    ShowTimeFormats(value);
    return nullptr;
}

// A date, blanks, and a time.
bool ReadDateAndTime(const std::string& text, short format, _datetime& value) {
    const std::size_t last = text.find_last_not_of(' ');
    const std::size_t gap = last == std::string::npos ? last : text.find_last_of(' ', last);
    return gap != std::string::npos && ZELStrToDate(text.substr(0, gap).c_str(), &value, format) == 0 &&
           ZELAddStrToTime(text.substr(gap + 1).c_str(), &value) == 0;
}

TextFault ShowDateTime(const ValueOptions& options) {
    // The date as the library writes it.
    const short format = options.format.value_or(1);
    _datetime value{};
    const TextFault fault = ReadDateTime(options, value, [format](const std::string& text, _datetime& out) {
        return ReadDateAndTime(text, format, out);
    });
    if (fault != nullptr) {
        return fault;
    }
    ShowDateTimeRecord(value);
    TextBuffer text{};
    (void)ZELDateTimeToStr(&value, text.data());
    ShowLine("date and time", text.data());
    ShowDateFormats(value);
    ShowTimeFormats(value);
    return nullptr;
}

TextFault ShowFraction(const ValueOptions& options) {
    const std::unique_ptr<char, void (*)(void*)> fraction(ConvertDecimalToFraction(options.text.c_str()),
                                                          [](void* block) { ZELFree(block); });
    if (fraction == nullptr) {
        return kRefusedByLibrary;
    }
    ShowLine("fraction", fraction.get());
    _money money{};
    if (ZELStrToMoney(fraction.get(), &money) == 0) {
        (void)ShowMoneyRecord(money);
    }
    return nullptr;
}

constexpr char kExitStatus[] =
    "Put '--' in front of a text that begins with '-' and no digit.\n"
    "Exit status: 0 read, 1 the library refused or reported it, 2 wrong usage.";

struct Conversion {
    const char* name;
    const char* summary;
    const char* formatHelp;  // null: takes no format
    const char* examples;
    TextFault (*show)(const ValueOptions&);
};

constexpr Conversion kConversions[] = {
    {"money", "Read an amount and show its record and renderings",
     "Show the rendering in this format alone: 0 to 3, or any other number for both signs",
     "Examples:\n"
     "  zel value money \"101'16\"\n"
     "  zel value money -1234.56 --format 1\n"
     "  zel value money --hex 00000cb00020\n",
     ShowMoney},
    {"date", "Read a date and show its record and renderings",
     "Format that the text is in: 0 MM/DD/YY, 1 YY/MM/DD, 2 DD/MM/YY, 8 and 10 MM/YY, 11 YYYYMMDD, 12 MMDDYYYY, "
     "14 MM/DD/YYYY, 15 MM/YYYY. Without it, 0, or YYYY-MM-DD",
     "Examples:\n"
     "  zel value date 1999-11-30\n"
     "  zel value date 11/30/99\n"
     "  zel value date 19991130 --format 11\n",
     ShowDate},
    {"time", "Read a time and show its record and renderings", "Show the rendering in this format alone: 3 to 6",
     "Examples:\n"
     "  zel value time 09:05:07\n"
     "  zel value time 0905 --format 3\n",
     ShowTime},
    {"datetime", "Read a date and a time and show their record and renderings",
     "Format that the date is in, as for 'zel value date'. Without it, 1, or YYYY-MM-DDThh:mm:ss",
     "Examples:\n"
     "  zel value datetime 1999-11-30T09:05:07\n"
     "  zel value datetime \"99/11/30 09:05:07\"\n"
     "  zel value datetime \"11/30/1999 09:05\" --format 14\n",
     ShowDateTime},
    {"fraction", "Rewrite decimals as a fraction and show its record", nullptr,
     "Example:\n"
     "  zel value fraction 12.125\n",
     ShowFraction},
};

int Convert(const Conversion& conversion, const ValueOptions& options) {
    const ReportCollector collector;
    const TextFault fault = conversion.show(options);
    for (const LibraryReport& report : collector.reports()) {
        Complain("zel: error " + std::to_string(report.code) + ": " + report.text);
    }
    if (fault != nullptr && fault != kRefusedByLibrary) {
        Complain("zel: '" + options.text + "' " + fault +
                 (options.hex ? "" : "; --lenient shows what the library makes of it"));
    } else if (fault != nullptr && collector.reports().empty()) {
        Complain("zel: '" + options.text + "': the library refuses it without a report; 'zel value " + conversion.name +
                 " --help' shows texts that it reads");
    }
    return fault == nullptr && collector.reports().empty() ? kStatusGood : kStatusDiffers;
}

}  // namespace

Verb ValueVerb() {
    Verb value{.name = "value",
               .summary = "Convert money, dates, times, fractions, filters and sort data",
               .footer =
                   "Example:\n"
                   "  zel value money \"101'16\"\n"
                   "'zel value VERB --help' tells more."};
    for (const Conversion& conversion : kConversions) {
        auto options = std::make_shared<ValueOptions>();
        Verb verb{.name = conversion.name,
                  .summary = conversion.summary,
                  .options = {{"TEXT", &options->text, "Text to read", "", true}},
                  .footer = std::string(conversion.examples) + kExitStatus,
                  .run = [&conversion, options] { return Convert(conversion, *options); }};
        if (conversion.formatHelp != nullptr) {
            verb.options.push_back({"--format", &options->format, conversion.formatHelp, "N"});
            verb.options.push_back({"--hex", &options->hex, "TEXT is the bytes that travel, in hex digits"});
            verb.options.push_back({"--lenient", &options->lenient,
                                    "Take whatever the library takes, such as 12,5 or the 31st of February"});
            verb.exclusive = {{"--hex", "--lenient"}};
        }
        value.verbs.push_back(std::move(verb));
    }
    value.verbs.push_back(ValueStreamVerb());
    return value;
}

}  // namespace zel::tools
