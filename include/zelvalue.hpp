// Values of fields: money, dates and times with their texts, and any value of a field. zel.hpp includes it.
#ifndef ZEL_ZELVALUE_HPP
#define ZEL_ZELVALUE_HPP

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "zelresult.hpp"
#include "zelvalues.h"

namespace zel {

namespace detail {

// Reads a text by a function that wants a zero byte behind it: its failure has the code of the first report, or `code`
// where there is none.
template <typename Value, typename Read>
[[nodiscard]] Result<Value> ReadText(std::string_view text, int code, Read read) noexcept {
    // Blanks around a text do not count, and no form has as many characters.
    constexpr std::size_t kLongest = 63;
    std::array<char, kLongest + 1> copy{};
    text.copy(copy.data(), kLongest);
    Value value{};
    const Reports heard;
    const bool isWhole = text.size() <= kLongest && text.find('\0') == std::string_view::npos;
    if (isWhole && read(copy.data(), &value) == 0 && heard.List().size() == 0) {
        return value;
    }
    Failure failure = FailureOf(heard.List().size() != 0 ? heard.List().begin()->code : code, copy.data());
    failure.reports = heard.List();
    return failure;
}

}  // namespace detail

// Money: `amount` units of 1/denominator. zelvalues.h lists the display codes, the forms that Parse reads and the
// formats that Text writes.
struct Money : _money {
    constexpr Money() noexcept : _money{} {}
    constexpr Money(const _money& money) noexcept : _money(money) {}
    constexpr Money(ZELLong units, short code) noexcept : _money{units, code} {}

    [[nodiscard]] static Result<Money> Parse(std::string_view text) noexcept {
        return detail::ReadText<Money>(text, ZEL_BAD_MONEY, ZELStrToMoney);
    }
    // Empty for an invalid display code.
    [[nodiscard]] std::string Text(short format = 0) const {
        std::array<char, 24> text{};
        return ZELMoneyToStr(this, text.data(), format) == 0 ? text.data() : "";
    }

    // Whether both are written alike: 1/2 is not 2/4.
    friend constexpr bool operator==(const Money& one, const Money& other) noexcept {
        return one.amount == other.amount && one.displayCode == other.displayCode;
    }
};

// A date, a time or both. zelvalues.h lists the formats.
struct DateTime : _datetime {
    constexpr DateTime() noexcept : _datetime{} {}
    constexpr DateTime(const _datetime& value) noexcept : _datetime(value) {}

    // From year 1900 to 2155.
    [[nodiscard]] static constexpr DateTime Date(int year, int month, int day) noexcept {
        return At(year, month, day, 0, 0, 0, 1);
    }
    [[nodiscard]] static constexpr DateTime Time(int hour, int minute, int second) noexcept {
        return At(1900, 0, 0, hour, minute, second, 2);
    }
    [[nodiscard]] static constexpr DateTime At(int year, int month, int day, int hour, int minute, int second,
                                               int kind = 3) noexcept {
        return _datetime{static_cast<signed char>(day),
                         static_cast<signed char>(month),
                         static_cast<unsigned char>(year - 1900),
                         static_cast<signed char>(hour),
                         static_cast<signed char>(minute),
                         static_cast<signed char>(second),
                         0,
                         static_cast<unsigned char>(kind)};
    }

    // Format 14 is MM/DD/YYYY.
    [[nodiscard]] static Result<DateTime> ParseDate(std::string_view text, short format = 14) noexcept {
        return detail::ReadText<DateTime>(
            text, ZEL_BAD_DATE, [format](const char* from, _datetime* to) { return ZELStrToDate(from, to, format); });
    }
    [[nodiscard]] static Result<DateTime> ParseTime(std::string_view text) noexcept {
        return detail::ReadText<DateTime>(text, ZEL_BAD_TIME, ZELStrToTime);
    }
    // Format 14 is MM/DD/YYYY, format 0 MM/DD/YY.
    [[nodiscard]] std::string DateText(short format = 14) const { return Written(ZELDateToStr, format); }
    // Format 0 is hh:mm:ss, format 4 hh:mm.
    [[nodiscard]] std::string TimeText(short format = 0) const { return Written(ZELTimeToStr, format); }
    // Date and time, YY/MM/DD hh:mm:ss, or what it has of both.
    [[nodiscard]] std::string Text() const {
        std::array<char, 18> text{};
        return ZELDateTimeToStr(this, text.data()) == 0 ? text.data() : "";
    }

    friend constexpr bool operator==(const DateTime& one, const DateTime& other) noexcept {
        return one.day == other.day && one.month == other.month && one.year == other.year && one.hour == other.hour &&
               one.minute == other.minute && one.second == other.second && one.kind == other.kind;
    }

private:
    template <typename Write>
    [[nodiscard]] std::string Written(Write write, short format) const {
        std::array<char, 18> text{};
        return write(this, text.data(), format) == 0 ? text.data() : "";
    }
};

// The value of a field whose type the program does not know: none for a field that is not set; numbers of the types
// short, long and int; texts and bytes where they lie.
using Value =
    std::variant<std::monostate, ZELLong, float, double, Money, DateTime, std::string_view, std::span<const std::byte>>;

namespace detail {

struct ValueWriter {
    std::string operator()(std::monostate /*none*/) const { return ""; }
    template <typename Number>
    std::string operator()(Number number) const {
        std::array<char, 32> text{};
        return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
    }
    std::string operator()(const Money& money) const { return money.Text(); }
    std::string operator()(const DateTime& dateTime) const { return dateTime.Text(); }
    std::string operator()(std::string_view text) const { return std::string(text); }
    std::string operator()(std::span<const std::byte> bytes) const {
        constexpr char kDigits[] = "0123456789abcdef";
        std::string text;
        for (const std::byte byte : bytes) {
            const auto number = std::to_integer<unsigned>(byte);
            text += kDigits[number >> 4U];
            text += kDigits[number & 15U];
        }
        return text;
    }
};

}  // namespace detail

// For people: money in its format 0, bytes as hex.
[[nodiscard]] inline std::string ToText(const Value& value) {
    return std::visit(detail::ValueWriter{}, value);
}

}  // namespace zel

#endif  // ZEL_ZELVALUE_HPP
