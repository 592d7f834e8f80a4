#include "tools/text/value_json.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

#include "tools/text/hex_text.h"
#include "tools/text/json_members.h"
#include "tools/text/json_text.h"
#include "tools/text/message_error.h"
#include "tools/text/value_text.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

[[noreturn]] void Refuse(const JsonValue& json, const std::string& expected) {
    throw MessageError("is " + Shown(json) + "; expected " + expected);
}

void RefuseText(const JsonValue& json, TextFault fault, const std::string& expected) {
    if (fault != nullptr) {
        throw MessageError("is " + Shown(json) + ", which " + fault + "; expected " + expected);
    }
}

template <typename T>
std::string BytesOf(const T& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::int64_t ReadInteger(const JsonValue& json, std::int64_t least, std::int64_t most) {
    const std::optional<std::int64_t> number = json.WholeNumber();
    if (!number || *number < least || *number > most) {
        Refuse(json, "a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return *number;
}

// The bytes of {"hex":"..."}, or nothing for other values.
std::optional<std::string> ReadHexObject(const JsonValue& json) {
    const JsonValue digits = json.Find("hex");
    if (!digits || json.size() != 1) {
        return std::nullopt;
    }
    std::string bytes;
    if (!digits.Is(JsonKind::kText) || !ParseHex(digits.Text(), bytes)) {
        Refuse(json, "pairs of hex digits");
    }
    return bytes;
}

template <typename Real, typename Bits>
std::string ReadReal(const JsonValue& json) {
    if (const std::optional<std::string> bytes = ReadHexObject(json); bytes && bytes->size() == sizeof(Bits)) {
        Bits bits = 0;
        for (const char byte : *bytes) {
            bits = static_cast<Bits>(bits << 8U) | static_cast<unsigned char>(byte);
        }
        return BytesOf(bits);
    }
    using Limits = std::numeric_limits<Real>;
    const std::string_view text = json.Text();
    if (text == "NaN") {
        return BytesOf(Limits::quiet_NaN());
    }
    if (text == "Infinity" || text == "-Infinity") {
        return BytesOf(text[0] == '-' ? -Limits::infinity() : Limits::infinity());
    }
    const std::optional<double> number = json.Number();
    if (!number || std::isinf(static_cast<Real>(*number))) {
        Refuse(json, R"(a number that fits, "NaN", "Infinity", "-Infinity", or {"hex": ...} with its bytes)");
    }
    return BytesOf(static_cast<Real>(*number));
}

void AppendMoney(std::string& out, const _money& money) {
    const std::size_t before = out.size();
    out += '"';
    if (AppendMoneyText(out, money)) {
        out += '"';
        return;
    }
    out.resize(before);
    out += "{\"amount\":";
    AppendNumber(out, money.amount);
    out += ",\"displayCode\":";
    AppendNumber(out, money.displayCode);
    out += '}';
}

// An object with these members, each of them a number in its range; members that are missing are 0.
struct NumberMember {
    const char* name;
    std::int64_t least;
    std::int64_t most;
    std::int64_t value;
};

template <std::size_t Count>
void ReadNumbers(const JsonValue& json, NumberMember (&members)[Count], const std::string& expected) {
    if (!json.Is(JsonKind::kObject)) {
        Refuse(json, expected);
    }
    for (const JsonValue::Member& given : json) {
        auto* const member = std::find_if(std::begin(members), std::end(members),
                                          [&given](const NumberMember& each) { return given.key == each.name; });
        if (member == std::end(members)) {
            Refuse(json, expected);
        }
        member->value = ReadInteger(given.value, member->least, member->most);
    }
}

std::string ReadMoney(const JsonValue& json, Reading reading) {
    static const std::string kExpected =
        R"(money as text such as "12.50" or "101'16", or {"amount": ..., "displayCode": ...})";
    _money money{};
    if (json.Is(JsonKind::kText)) {
        RefuseText(json, ReadMoneyText(std::string(json.Text()), reading, money), kExpected);
        return BytesOf(money);
    }
    NumberMember members[] = {{"amount", INT32_MIN, INT32_MAX, 0}, {"displayCode", INT16_MIN, INT16_MAX, 0}};
    ReadNumbers(json, members, kExpected);
    money.amount = static_cast<ZELLong>(members[0].value);
    money.displayCode = static_cast<short>(members[1].value);
    return BytesOf(money);
}

void AppendDateTime(std::string& out, const _datetime& value) {
    const std::size_t before = out.size();
    out += '"';
    if (AppendDateTimeText(out, value)) {
        out += '"';
        return;
    }
    out.resize(before);
    const struct {
        const char* key;
        int number;
    } members[] = {{"{\"day\":", value.day},     {",\"month\":", value.month},   {",\"year\":", value.year},
                   {",\"hour\":", value.hour},   {",\"minute\":", value.minute}, {",\"second\":", value.second},
                   {",\"extra\":", value.extra}, {",\"kind\":", value.kind}};
    for (const auto& member : members) {
        out += member.key;
        AppendNumber(out, member.number);
    }
    out += '}';
}

std::string ReadDateTime(const JsonValue& json, Reading reading) {
    static const std::string kExpected =
        R"("1999-11-30", "09:05:07", "1999-11-30T09:05:07", "" or an object with the record's members)";
    _datetime value{};
    if (json.Is(JsonKind::kText)) {
        RefuseText(json, ReadDateTimeText(json.Text(), reading, value), kExpected);
        return BytesOf(value);
    }
    NumberMember members[] = {{"day", INT8_MIN, INT8_MAX, 0},    {"month", INT8_MIN, INT8_MAX, 0},
                              {"year", 0, UINT8_MAX, 0},         {"hour", INT8_MIN, INT8_MAX, 0},
                              {"minute", INT8_MIN, INT8_MAX, 0}, {"second", INT8_MIN, INT8_MAX, 0},
                              {"extra", 0, UINT8_MAX, 0},        {"kind", 0, UINT8_MAX, 0}};
    ReadNumbers(json, members, kExpected);
    std::string bytes;
    for (const NumberMember& member : members) {
        bytes += static_cast<char>(member.value);
    }
    return bytes;
}

// Characters of fixed length: a text is filled up with zero bytes; {"hex": ...} is taken as it is, for values of
// format 2 that have another length than the dictionary says.
void AppendChars(std::string& out, const ValueType& type, std::string_view bytes) {
    if (bytes.size() != static_cast<std::size_t>(type.length) || !IsUtf8(bytes)) {
        return AppendHexObject(out, bytes);
    }
    AppendText(out, WithoutPadding(bytes));
}

std::string ReadChars(const JsonValue& json, const ValueType& type) {
    if (std::optional<std::string> bytes = ReadHexObject(json)) {
        return *bytes;
    }
    const auto length = static_cast<std::size_t>(type.length);
    if (!json.Is(JsonKind::kText) || json.Text().size() > length) {
        Refuse(json, "a text of at most " + std::to_string(length) + " bytes");
    }
    std::string text(json.Text());
    text.resize(length, '\0');
    return text;
}

std::string ReadText(const JsonValue& json) {
    if (std::optional<std::string> bytes = ReadHexObject(json)) {
        return *bytes;
    }
    if (!json.Is(JsonKind::kText)) {
        Refuse(json, R"(a text, or {"hex": ...} with its bytes)");
    }
    return std::string(json.Text());
}

std::string ReadBytes(const JsonValue& json) {
    std::string bytes;
    if (!json.Is(JsonKind::kText) || !ParseHex(json.Text(), bytes)) {
        Refuse(json, "pairs of hex digits in quotes");
    }
    return bytes;
}

}  // namespace

void AppendValueJson(std::string& out, const ValueType& type, const _field_data& slot) {
    const auto* bytes = static_cast<const char*>(slot.value);
    switch (bytes != nullptr ? type.type : 0) {
        case kZELShort:
            return AppendNumber(out, ValueAt<short>(bytes));
        case kZELLong:
        case kZELInt:
            return AppendNumber(out, ValueAt<std::int32_t>(bytes));
        case kZELChars:
            return AppendChars(out, type, {bytes, slot.length});
        case kZELText:
            return AppendText(out, {bytes, slot.length});
        case kZELFloat:
            return AppendFloat(out, ValueAt<std::uint32_t>(bytes));
        case kZELDouble:
            return AppendDouble(out, ValueAt<std::uint64_t>(bytes));
        case kZELDateTime:
            return AppendDateTime(out, ValueAt<_datetime>(bytes));
        case kZELMoney:
            return AppendMoney(out, ValueAt<_money>(bytes));
        case kZELBytes10:
        case kZELBytes11:
            out += '"';
            AppendHex(out, bytes, slot.length);
            out += '"';
            return;
        default:
            return AppendHexObject(out, {bytes, bytes != nullptr ? slot.length : std::size_t{0}});
    }
}

std::string ReadValueJson(const JsonValue& json, const ValueType& type, Reading reading) {
    switch (type.type) {
        case kZELShort:
            return BytesOf(static_cast<std::int16_t>(ReadInteger(json, INT16_MIN, INT16_MAX)));
        case kZELLong:
        case kZELInt:
            return BytesOf(static_cast<std::int32_t>(ReadInteger(json, INT32_MIN, INT32_MAX)));
        case kZELChars:
            return ReadChars(json, type);
        case kZELText:
            return ReadText(json);
        case kZELFloat:
            return ReadReal<float, std::uint32_t>(json);
        case kZELDouble:
            return ReadReal<double, std::uint64_t>(json);
        case kZELDateTime:
            return ReadDateTime(json, reading);
        case kZELMoney:
            return ReadMoney(json, reading);
        case kZELBytes10:
        case kZELBytes11:
            return ReadBytes(json);
        default:
            throw MessageError("has the type " + std::to_string(type.type) + ", which cannot be written");
    }
}

}  // namespace zel::tools
