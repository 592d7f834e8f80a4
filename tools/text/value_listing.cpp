#include "tools/text/value_listing.h"

#include <bit>
#include <cstring>

#include "include/zelprovider.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_text.h"
#include "tools/text/value_text.h"

namespace zel::tools {

namespace {

void AppendBytes(std::string& out, std::string_view bytes) {
    if (bytes.empty()) {
        out += "(no bytes)";
        return;
    }
    AppendSpacedHex(out, bytes.data(), bytes.size());
}

}  // namespace

void AppendQuoted(std::string& out, std::string_view text) {
    out += '"';
    if (IsUtf8(text)) {
        AppendEscaped(out, text);
        out += '"';
        return;
    }
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x80) {
            AppendEscaped(out, {&c, 1});
            continue;
        }
        out += "\\x";
        AppendHex(out, &c, 1);
    }
    out += '"';
}

// Where the text alone would not tell the record, both are shown.
void AppendMoneyListing(std::string& out, const _money& money) {
    if (AppendMoneyText(out, money)) {
        return;
    }
    char text[24] = "";
    const bool isText = GetDenominatorType(money.displayCode) != 0 && ZELMoneyToStr(&money, text, 0) == 0;
    const std::string record =
        "amount " + std::to_string(money.amount) + ", display code " + std::to_string(money.displayCode);
    out += isText ? std::string(text) + " (" + record + ')' : record;
}

void AppendDateTimeListing(std::string& out, const _datetime& value) {
    const std::size_t before = out.size();
    if (AppendDateTimeText(out, value)) {
        out += out.size() == before ? "(none)" : "";
        return;
    }
    const int numbers[] = {value.day,    value.month,  value.year,  value.hour,
                           value.minute, value.second, value.extra, value.kind};
    const char* const names[] = {"day ",      ", month ",  ", year 1900 + ", ", hour ",
                                 ", minute ", ", second ", ", extra ",       ", kind "};
    for (std::size_t i = 0; i < std::size(numbers); ++i) {
        out += names[i];
        AppendNumber(out, numbers[i]);
    }
}

void AppendRealListing(std::string& out, float number) {
    AppendFloat(out, std::bit_cast<std::uint32_t>(number));
}

void AppendRealListing(std::string& out, double number) {
    AppendDouble(out, std::bit_cast<std::uint64_t>(number));
}

void AppendValueListing(std::string& out, const ValueType& type, const _field_data& slot) {
    const auto* bytes = static_cast<const char*>(slot.value);
    const std::string_view all(bytes, bytes != nullptr ? slot.length : std::size_t{0});
    switch (bytes != nullptr ? type.type : 0) {
        case kZELChars:
            return AppendQuoted(out, WithoutPadding(all));
        case kZELText:
            return AppendQuoted(out, all);
        case kZELDateTime:
            return AppendDateTimeListing(out, ValueAt<_datetime>(bytes));
        case kZELMoney:
            return AppendMoneyListing(out, ValueAt<_money>(bytes));
        case kZELShort:
        case kZELLong:
        case kZELInt:
        case kZELFloat:
        case kZELDouble:
            return AppendValueJson(out, type, slot);
        default:
            return AppendBytes(out, all);
    }
}

}  // namespace zel::tools
