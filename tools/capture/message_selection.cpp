#include "tools/capture/message_selection.h"

#include <algorithm>
#include <charconv>
#include <compare>
#include <tuple>

#include "tools/text/json_document.h"
#include "tools/text/json_text.h"
#include "tools/text/message_error.h"
#include "tools/text/value_json.h"
#include "tools/text/value_text.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

constexpr char kContains[] = "~";

bool IsText(std::uint16_t type) {
    return type == kZELText || type == kZELChars;
}

// The numbers of TYPE/SUBTYPE. False: it is something else.
bool ReadNumbers(const std::string& text, std::pair<int, int>& numbers) {
    const char* end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), end, numbers.first);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != '/') {
        return false;
    }
    const auto second = std::from_chars(first.ptr + 1, end, numbers.second);
    return second.ec == std::errc() && second.ptr == end;
}

// The value as a message holds it. Numbers are written as in JSON, all else without its quotes.
std::string ReadValue(const std::string& text, const CatalogField& field) {
    const bool isNumber = image::IsInteger(field.type) || field.type == kZELFloat || field.type == kZELDouble;
    Findings findings;
    JsonDocument json;
    if (isNumber) {
        json = ParseJson(text, findings);
    }
    if (!json.root()) {
        std::string quoted;
        AppendText(quoted, text);
        Findings none;
        json = ParseJson(quoted, none);
    }
    const std::string value = ReadValueJson(json.root(), {field.type, field.length}, Reading::kStrict);
    return field.type == kZELChars ? std::string(WithoutPadding(value)) : value;
}

// Compares by what both have: a date with the date of a record that has a time, too, and a time with its time.
std::partial_ordering CompareDates(const _datetime& left, const _datetime& right) {
    constexpr int kDate = 1;
    constexpr int kTime = 2;
    const auto date = [](const _datetime& value) { return std::tuple(value.year, value.month, value.day); };
    const auto time = [](const _datetime& value) { return std::tuple(value.hour, value.minute, value.second); };
    const int both = left.kind & right.kind & (kDate | kTime);
    if (both == 0) {
        return left.kind == right.kind ? std::partial_ordering::equivalent : std::partial_ordering::unordered;
    }
    const std::partial_ordering order = (both & kDate) != 0 ? date(left) <=> date(right) : std::strong_ordering::equal;
    return order != 0 || (both & kTime) == 0 ? order : time(left) <=> time(right);
}

// The amount in units of 1/denominator; a denominator of 0: the record is none.
std::pair<std::int64_t, std::int64_t> AmountOf(const _money& money) {
    long whole = 0;
    long numerator = 0;
    long denominator = 0;
    if (ZELUnformatMoney(&money, &whole, &numerator, &denominator) != 0) {
        return {0, 0};
    }
    // The hundredths of a large form have no sign of their own.
    const std::int64_t part = whole < 0 && numerator > 0 ? -std::int64_t{numerator} : numerator;
    return {std::int64_t{whole} * denominator + part, denominator};
}

std::partial_ordering CompareMoney(const _money& left, const _money& right) {
    const auto [amount, denominator] = AmountOf(left);
    const auto [otherAmount, otherDenominator] = AmountOf(right);
    if (denominator == 0 || otherDenominator == 0) {
        return std::partial_ordering::unordered;
    }
    return amount * otherDenominator <=> otherAmount * denominator;
}

template <typename Number>
std::partial_ordering CompareNumbers(const void* left, const std::string& right) {
    return ValueAt<Number>(left) <=> ValueAt<Number>(right.data());
}

// The field's value beside the condition's.
std::partial_ordering Compare(std::uint16_t type, const _field_data& slot, const std::string& value) {
    if (slot.value == nullptr) {
        return std::partial_ordering::unordered;
    }
    const std::string_view bytes(static_cast<const char*>(slot.value), slot.length);
    switch (type) {
        case kZELShort:
            return CompareNumbers<std::int16_t>(slot.value, value);
        case kZELLong:
        case kZELInt:
            return CompareNumbers<std::int32_t>(slot.value, value);
        case kZELFloat:
            return CompareNumbers<float>(slot.value, value);
        case kZELDouble:
            return CompareNumbers<double>(slot.value, value);
        case kZELDateTime:
            return CompareDates(ValueAt<_datetime>(slot.value), ValueAt<_datetime>(value.data()));
        case kZELMoney:
            return CompareMoney(ValueAt<_money>(slot.value), ValueAt<_money>(value.data()));
        case kZELChars:
            return WithoutPadding(bytes) <=> std::string_view(value);
        default:
            return bytes <=> std::string_view(value);
    }
}

bool IsSo(std::partial_ordering order, const std::string& comparison) {
    const bool isEqual = order == 0 && comparison.ends_with('=');
    return isEqual || (order < 0 && comparison.starts_with('<')) || (order > 0 && comparison.starts_with('>'));
}

}  // namespace

void MessageSelection::AddType(const std::string& text, const Catalog* catalog) {
    std::pair<int, int> numbers;
    if (ReadNumbers(text, numbers)) {
        types_.push_back(numbers);
        return;
    }
    const CatalogMessage* message = catalog != nullptr ? catalog->FindMessage(text) : nullptr;
    if (message == nullptr) {
        throw MessageError(catalog != nullptr ? "the dictionary has no message " + text
                                              : text + " is not TYPE/SUBTYPE, and no dictionary is in use");
    }
    types_.emplace_back(message->type, message->subType);
}

void MessageSelection::AddCondition(const std::string& text, const Catalog& catalog) {
    const std::size_t at = text.find_first_of("=!<>~");
    std::size_t end = at == std::string::npos ? at : at + 1;
    end += end < text.size() && text[end] == '=' && text[at] != '=' && text[at] != '~' ? 1U : 0U;
    const std::string comparison = at == std::string::npos ? "" : text.substr(at, end - at);
    if (comparison.empty() || comparison == "!") {
        throw MessageError(text + " is no condition; expected FIELD=VALUE, or !=, <, <=, >, >= or ~ in place of =");
    }
    const CatalogField* field = catalog.FindField(text.substr(0, at));
    if (field == nullptr) {
        throw MessageError("the dictionary has no field " + text.substr(0, at));
    }
    const std::string value = text.substr(end);
    if (comparison == kContains && !IsText(field->type)) {
        throw MessageError(field->name + " is no text; ~ looks into texts");
    }
    try {
        conditions_.push_back({field, comparison, comparison == kContains ? value : ReadValue(value, *field)});
    } catch (const MessageError& error) {
        throw MessageError(field->name + ": " + error.what());
    }
}

bool MessageSelection::WantsType(const ZelMsgStruct* header) const {
    if (types_.empty()) {
        return true;
    }
    return header != nullptr && std::find(types_.begin(), types_.end(),
                                          std::pair<int, int>(header->msgType, header->subType)) != types_.end();
}

bool MessageSelection::WantsContent(const ZelMsgStruct* content) const {
    return conditions_.empty() || (content != nullptr && std::all_of(conditions_.begin(), conditions_.end(),
                                                                     [content](const Condition& condition) {
                                                                         return Holds(condition, *content->dataBuf);
                                                                     }));
}

// Of a field that stands several times, one value is enough; for != none may be equal.
bool MessageSelection::Holds(const Condition& condition, const ZELDataBuf& fields) {
    const bool isUnequal = condition.comparison == "!=";
    const bool isFound = std::any_of(fields.fields, fields.fields + fields.count, [&](const _field_data& slot) {
        if (slot.isSet == 0 || slot.id != condition.field->id) {
            return false;
        }
        if (condition.comparison == kContains) {
            const std::string_view text(static_cast<const char*>(slot.value), slot.value != nullptr ? slot.length : 0U);
            return text.find(condition.value) != std::string_view::npos;
        }
        return IsSo(Compare(condition.field->type, slot, condition.value), isUnequal ? "=" : condition.comparison);
    });
    return isFound != isUnequal;
}

}  // namespace zel::tools
