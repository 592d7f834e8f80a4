#include "tools/message/stream_json.h"

#include <cstring>
#include <new>

#include "include/zelstream.h"
#include "runtime/byte_order.h"
#include "tools/text/json_members.h"
#include "tools/text/json_text.h"
#include "tools/text/message_error.h"
#include "tools/text/value_json.h"

namespace zel::tools {

namespace {

// The field that a term or a key names. Throws MessageError.
const CatalogField& FieldOf(const JsonValue& item, const Catalog& catalog) {
    const JsonValue name = item.Find("field");
    const CatalogField* field = name.Is(JsonKind::kText) ? catalog.FindField(name.Text()) : nullptr;
    if (field == nullptr) {
        throw MessageError(name ? "field: the dictionary has no field " + Shown(name) : "field: missing");
    }
    return *field;
}

void ExpectKeys(const JsonValue& item, std::initializer_list<const char*> keys) {
    Findings findings;
    if (!ExpectObject(item, "", keys, findings) || !findings.empty()) {
        throw MessageError((findings[0].place.empty() ? "" : findings[0].place + ": ") + findings[0].text);
    }
}

int AddTerm(ZELFilter& filter, short id, const char* is, const CatalogField& field, const std::string& bytes) {
    const char* at = bytes.data();
    switch (field.type) {
        case kZELShort:
            return filter.AddFilter(id, is, ValueAt<short>(at));
        case kZELLong:
        case kZELInt:
            return filter.AddFilter(id, is, ValueAt<int>(at));
        case kZELFloat:
            return filter.AddFilter(id, is, ValueAt<float>(at));
        case kZELDouble:
            return filter.AddFilter(id, is, ValueAt<double>(at));
        case kZELDateTime:
            return filter.AddFilter(id, is, ValueAt<_datetime>(at));
        case kZELMoney:
            return filter.AddFilter(id, is, ValueAt<_money>(at));
        default:
            return filter.AddFilter(id, is, at, static_cast<int>(bytes.size()));
    }
}

void ReadTerm(ZELFilter& filter, const JsonValue& item, const Catalog& catalog, Reading reading) {
    ExpectKeys(item, {"field", "is", "value"});
    const CatalogField& field = FieldOf(item, catalog);
    const JsonValue is = item.Find("is");
    LogicOperator comparison;
    if (comparison.SetText(std::string(is.Text()).c_str()) != 0) {
        throw MessageError(R"(is: expected "=", "!=", ">", "<", ">=" or "<=")");
    }
    if (field.type == kZELBytes10 || field.type == kZELBytes11) {
        throw MessageError("field: " + field.name + " is a byte string, which no filter compares");
    }
    const JsonValue value = item.Find("value");
    if (!value) {
        throw MessageError("value: missing");
    }
    std::string bytes;
    try {
        // A filter compares characters as a text.
        const std::uint16_t type = field.type == kZELChars ? std::uint16_t{kZELText} : field.type;
        bytes = ReadValueJson(value, {type, field.length}, reading);
    } catch (const MessageError& error) {
        throw MessageError(std::string("value: ") + error.what());
    }
    if (bytes.size() >= FilterValue::kTextCapacity) {
        throw MessageError("value: is longer than receivers read");
    }
    if (AddTerm(filter, static_cast<short>(field.id), comparison.text, field, bytes) != 0) {
        throw std::bad_alloc();
    }
}

void ReadKey(ZELSortData& sort, const JsonValue& item, const Catalog& catalog) {
    ExpectKeys(item, {"field", "order"});
    const CatalogField& field = FieldOf(item, catalog);
    const std::int64_t order = item.Find("order").WholeNumber().value_or(INT64_MAX);
    if (order < INT16_MIN || order > INT16_MAX) {
        throw MessageError("order: expected a whole number from -32768 to 32767");
    }
    if (sort.AddSortData(static_cast<short>(field.id), static_cast<short>(order)) != 0) {
        throw std::bad_alloc();
    }
}

// Reads each element of the array with `read`, and takes the bytes.
template <typename Stream, typename Read>
std::string ReadItems(Stream& stream, const JsonValue& items, const char* key, Read read) {
    if (!items.Is(JsonKind::kArray)) {
        throw MessageError(std::string(key) + ": is " + Shown(items) + "; expected an array of objects");
    }
    std::size_t index = 0;
    for (const JsonValue::Member& item : items) {
        try {
            read(item.value);
        } catch (const MessageError& error) {
            throw MessageError(ElementPlace(key, index) + '.' + error.what());
        }
        ++index;
    }
    const char* bytes = stream.GetStream();
    return {bytes, static_cast<std::size_t>(stream.GetLength())};
}

void AppendFieldName(std::string& out, const CatalogField& field) {
    out += out.back() == '[' ? "{\"field\":" : ",{\"field\":";
    AppendText(out, field.name);
}

// The value as a message would hold it; false for one that the term does not have.
bool AppendTermValue(std::string& out, const CatalogField& field, const ZELFilterItem& item) {
    if (item.type == kZELText) {
        AppendText(out, item.value.text);
        return true;
    }
    _field_data slot{};
    FilterValue::Value value = item.value;
    slot.value = &value;
    AppendValueJson(out, {field.type, field.length}, slot);
    return field.type == item.type;
}

bool AppendFilter(std::string& out, const Catalog& catalog, std::string_view bytes) {
    ZELFilter filter;
    if (filter.SetStream(bytes.data(), static_cast<int>(bytes.size())) != 0) {
        throw std::bad_alloc();
    }
    filter.Rewind();
    out += "{\"filter\":[";
    for (;;) {
        // A new one each time: a term without a comparison would keep the last.
        ZELFilterItem item;
        if (filter.GetFilterItem(item) != 0) {
            break;
        }
        const CatalogField& field = catalog.Field(static_cast<std::uint16_t>(item.fieldId));
        AppendFieldName(out, field);
        out += ",\"is\":\"" + std::string(item.logicOperator.text) + "\",\"value\":";
        if (!AppendTermValue(out, field, item)) {
            return false;
        }
        out += '}';
    }
    out += "]}";
    return true;
}

bool AppendSort(std::string& out, const Catalog& catalog, std::string_view bytes) {
    ZELSortData sort;
    if (sort.SetStream(bytes.data(), static_cast<int>(bytes.size())) != 0) {
        throw std::bad_alloc();
    }
    sort.Rewind();
    out += "{\"sort\":[";
    for (SortItem item; sort.GetSortItem(item) == 0;) {
        AppendFieldName(out, catalog.Field(static_cast<std::uint16_t>(item.fieldId)));
        out += ",\"order\":";
        AppendNumber(out, item.sortOrder);
        out += '}';
    }
    out += "]}";
    return true;
}

}  // namespace

// What does not read back as the same bytes is none: padding, unknown fields, terms that are cut.
bool AppendStreamJson(std::string& out, const Catalog& catalog, std::string_view bytes) {
    constexpr std::size_t kHeader = 4;
    constexpr std::size_t kKey = 4;
    if (bytes.size() < kHeader) {
        return false;
    }
    const bool isSort = bytes.size() - kHeader == LoadU16Be(bytes.data() + 2) * kKey;
    std::string json;
    if (!(isSort ? AppendSort(json, catalog, bytes) : AppendFilter(json, catalog, bytes))) {
        return false;
    }
    Findings findings;
    const JsonDocument document = ParseJson(json, findings);
    try {
        if (ReadStreamJson(document.root(), catalog, Reading::kStrict) != bytes) {
            return false;
        }
    } catch (const MessageError&) {
        return false;
    }
    out += json;
    return true;
}

bool IsStreamJson(const JsonValue& json) {
    return json.Find("filter") || json.Find("sort");
}

std::string ReadStreamJson(const JsonValue& json, const Catalog& catalog, Reading reading) {
    if (json.size() != 1 || !IsStreamJson(json)) {
        throw MessageError("is " + Shown(json) + R"(; expected {"filter": [...]} or {"sort": [...]})");
    }
    if (const JsonValue terms = json.Find("filter")) {
        ZELFilter filter;
        return ReadItems(filter, terms, "filter",
                         [&](const JsonValue& item) { ReadTerm(filter, item, catalog, reading); });
    }
    ZELSortData sort;
    return ReadItems(sort, json.Find("sort"), "sort", [&](const JsonValue& item) { ReadKey(sort, item, catalog); });
}

}  // namespace zel::tools
