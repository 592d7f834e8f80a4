#include "tools/capture/message_csv.h"

#include <algorithm>
#include <initializer_list>

#include "tools/text/json_text.h"
#include "tools/text/value_json.h"

namespace zel::tools {

namespace {

// The text in quotes where it needs them. Control characters stand as in JSON: a terminal would obey them.
void AppendCell(std::string& out, std::string_view text) {
    const bool isQuoted = text.find_first_of(",\"") != std::string_view::npos;
    out += isQuoted ? "\"" : "";
    while (!text.empty()) {
        const char c = text.front();
        // Those beyond ASCII have two bytes in UTF-8.
        const bool isWide = text.size() > 1 && c == '\xC2' && (text[1] & 0xE0) == 0x80;
        const std::size_t size = isWide ? 2 : 1;
        if (isWide || static_cast<unsigned char>(c) < ' ' || c == 0x7f) {
            AppendEscaped(out, text.substr(0, size));
        } else {
            out.append(c == '"' ? 2 : 1, c);
        }
        text.remove_prefix(size);
    }
    out += isQuoted ? "\"" : "";
}

// As in JSON; texts without their quotes.
void AppendValue(std::string& out, const CatalogField& field, const _field_data& slot) {
    const std::string_view bytes(static_cast<const char*>(slot.value), slot.value != nullptr ? slot.length : 0U);
    if (field.type == kZELText && IsUtf8(bytes)) {
        return AppendCell(out, bytes);
    }
    std::string json;
    AppendValueJson(json, {field.type, field.length}, slot);
    const bool isText = json.starts_with('"') && json.find('\\') == std::string::npos;
    AppendCell(out, isText ? std::string_view(json).substr(1, json.size() - 2) : std::string_view(json));
}

// The slots [first, last) of a message.
struct SlotRange {
    const _field_data* first;
    const _field_data* last;
};

// The field's first value in the ranges, or null.
const _field_data* FindValue(const CatalogField& field, std::initializer_list<SlotRange> ranges) {
    for (const SlotRange& range : ranges) {
        const auto* found = std::find_if(range.first, range.last, [&field](const _field_data& slot) {
            return slot.isSet != 0 && slot.id == field.id;
        });
        if (found != range.last) {
            return found;
        }
    }
    return nullptr;
}

}  // namespace

void AppendCsvHead(std::string& out, const std::vector<const CatalogField*>& fields, bool hasFile, bool hasOffset) {
    out += hasFile ? "file," : "";
    out += hasOffset ? "offset," : "";
    out += "message";
    for (const CatalogField* field : fields) {
        out += ',';
        AppendCell(out, field->name);
    }
    out += '\n';
}

void AppendCsvRows(std::string& out, const ReceivedMessage& message, const std::vector<const CatalogField*>& fields,
                   const std::string& file) {
    const PlacedSlots placed = PlaceContent(*message.kind, *message.content);
    const _field_data* groupLast = placed.slots + placed.groupLast;
    const SlotRange before{placed.slots, placed.slots + placed.groupFirst};
    const SlotRange after{groupLast, placed.slots + placed.places.size()};
    bool isWritten = false;
    for (const _field_data* next = before.last; next != groupLast || !isWritten;) {
        const auto size =
            std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(message.kind->groupSize), groupLast - next);
        const SlotRange repetition{next, next + size};
        next = repetition.last;
        const bool isWanted = std::any_of(fields.begin(), fields.end(), [&repetition](const CatalogField* field) {
            return FindValue(*field, {repetition}) != nullptr;
        });
        if (!isWanted && (next != groupLast || isWritten)) {
            continue;
        }
        isWritten = true;
        if (!file.empty()) {
            AppendCell(out, file);
            out += ',';
        }
        if (message.offset) {
            AppendNumber(out, *message.offset);
            out += ',';
        }
        AppendCell(out, message.kind->name.empty()
                            ? std::to_string(message.kind->type) + '/' + std::to_string(message.kind->subType)
                            : message.kind->name);
        for (const CatalogField* field : fields) {
            out += ',';
            if (const _field_data* slot = FindValue(*field, {before, repetition, after}); slot != nullptr) {
                AppendValue(out, *field, *slot);
            }
        }
        out += '\n';
    }
}

}  // namespace zel::tools
