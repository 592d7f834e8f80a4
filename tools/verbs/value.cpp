#include <array>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "core/wire/value_bytes.h"
#include "include/zelmessage.h"
#include "tools/capture/library_reports.h"
#include "tools/io/status.h"
#include "tools/text/hex_text.h"
#include "tools/verbs/all_verbs.h"

namespace zel::tools {

namespace {

struct ValueOptions {
    std::string text;
    std::optional<short> format;
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

bool ShowMoney(const ValueOptions& options) {
    _money money{};
    if (ZELStrToMoney(options.text.c_str(), &money) != 0) {
        return false;
    }
    if (options.format) {
        std::cout << Rendered(ZELMoneyToStr, money, *options.format) << '\n';
        return true;
    }
    if (ShowMoneyRecord(money)) {
        // Every number above 3 shows alike.
        ShowFormats(ZELMoneyToStr, money, std::array<short, 5>{0, 1, 2, 3, 4});
    }
    return true;
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
}

bool ShowDate(const ValueOptions& options) {
    _datetime value{};
    if (ZELStrToDate(options.text.c_str(), &value, options.format.value_or(0)) != 0) {
        return false;
    }
    ShowDateTimeRecord(value);
    ShowDateFormats(value);
    return true;
}

bool ShowTime(const ValueOptions& options) {
    _datetime value{};
    if (ZELStrToTime(options.text.c_str(), &value) != 0) {
        return false;
    }
    if (options.format) {
        std::cout << Rendered(ZELTimeToStr, value, *options.format) << '\n';
        return true;
    }
    ShowDateTimeRecord(value);
    ShowTimeFormats(value);
    return true;
}

// A date, blanks, and a time.
bool ShowDateTime(const ValueOptions& options) {
    const std::size_t last = options.text.find_last_not_of(' ');
    const std::size_t gap = last == std::string::npos ? last : options.text.find_last_of(' ', last);
    if (gap == std::string::npos) {
        return false;
    }
    _datetime value{};
    constexpr short kFormatThatIsWritten = 1;
    if (ZELStrToDate(options.text.substr(0, gap).c_str(), &value, options.format.value_or(kFormatThatIsWritten)) != 0 ||
        ZELAddStrToTime(options.text.substr(gap + 1).c_str(), &value) != 0) {
        return false;
    }
    ShowDateTimeRecord(value);
    TextBuffer text{};
    (void)ZELDateTimeToStr(&value, text.data());
    ShowLine("date and time", text.data());
    ShowDateFormats(value);
    ShowTimeFormats(value);
    return true;
}

bool ShowFraction(const ValueOptions& options) {
    const std::unique_ptr<char, void (*)(void*)> fraction(ConvertDecimalToFraction(options.text.c_str()),
                                                          [](void* block) { ZELFree(block); });
    if (fraction == nullptr) {
        return false;
    }
    ShowLine("fraction", fraction.get());
    _money money{};
    if (ZELStrToMoney(fraction.get(), &money) == 0) {
        (void)ShowMoneyRecord(money);
    }
    return true;
}

constexpr char kExitStatus[] =
    "Put '--' in front of a text that begins with '-' and no digit.\n"
    "Exit status: 0 read, 1 the library refused or reported it, 2 wrong usage.";

struct Conversion {
    const char* name;
    const char* summary;
    const char* formatHelp;  // null: takes no format
    const char* examples;
    bool (*show)(const ValueOptions&);  // false: the library refuses the text
};

constexpr Conversion kConversions[] = {
    {"money", "Read an amount and show its record and renderings",
     "Show the rendering in this format alone: 0 to 3, or any other number for both signs",
     "Examples:\n"
     "  zel value money \"101'16\"\n"
     "  zel value money -1234.56 --format 1\n",
     ShowMoney},
    {"date", "Read a date and show its record and renderings",
     "Format that the text is in: 0 MM/DD/YY, 1 YY/MM/DD, 2 DD/MM/YY, 8 and 10 MM/YY, 11 YYYYMMDD, 12 MMDDYYYY, "
     "14 MM/DD/YYYY, 15 MM/YYYY. Without it, 0",
     "Examples:\n"
     "  zel value date 11/30/99\n"
     "  zel value date 19991130 --format 11\n",
     ShowDate},
    {"time", "Read a time and show its record and renderings", "Show the rendering in this format alone: 3 to 6",
     "Examples:\n"
     "  zel value time 09:05:07\n"
     "  zel value time 0905 --format 3\n",
     ShowTime},
    {"datetime", "Read a date and a time and show their record and renderings",
     "Format that the date is in, as for 'zel value date'. Without it, 1",
     "Examples:\n"
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
    const bool isRead = conversion.show(options);
    for (const LibraryReport& report : collector.reports()) {
        std::cerr << "zel: error " << report.code << ": " << report.text << '\n';
    }
    if (!isRead && collector.reports().empty()) {
        std::cerr << "zel: '" << options.text << "': the library refuses it without a report; 'zel value "
                  << conversion.name << " --help' shows texts that it reads\n";
    }
    return isRead && collector.reports().empty() ? kStatusGood : kStatusDiffers;
}

}  // namespace

Verb ValueVerb() {
    Verb value{.name = "value",
               .summary = "Convert money, dates, times and fractions",
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
        }
        value.verbs.push_back(std::move(verb));
    }
    return value;
}

}  // namespace zel::tools
