#include "tools/capture/message_listing.h"

#include <algorithm>
#include <optional>

#include "core/wire/compression.h"
#include "tools/capture/stream_listing.h"
#include "tools/message/payload_walk.h"
#include "tools/text/findings.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_text.h"
#include "tools/text/value_listing.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

constexpr const char* kFrameTexts[] = {"no frame", "short frame", "long frame"};

// Without a header, the numbers are those of nobody.
void AppendTitle(std::string& out, const ReceivedMessage& message) {
    const ZelMsgStruct& header = message.header.numbers;
    out += "message " + std::to_string(message.number);
    out += message.offset ? " at offset " + std::to_string(*message.offset) + ": " : ": ";
    if (message.hasHeader) {
        out += message.kind == nullptr || message.kind->name.empty() ? "" : message.kind->name + ", ";
        out += "type " + std::to_string(header.msgType) + ", sub-type " + std::to_string(header.subType) + ", ";
    }
    out += Counted(message.size, "byte") + '\n';
}

void AppendHeading(std::string& out, const ReceivedMessage& message) {
    const ZelMsgStruct& header = message.header.numbers;
    AppendTitle(out, message);
    out += "  service " + std::to_string(static_cast<std::uint16_t>(header.serviceIdHigh)) + '.' +
           std::to_string(static_cast<std::uint16_t>(header.serviceIdLow)) + ", message id " +
           std::to_string(header.msgIdSeq) + '.' + std::to_string(header.msgIdPart2) + '.' +
           std::to_string(header.msgIdPart3) + ", user data ";
    if (message.header.varUserData == nullptr) {
        AppendNumber(out, header.userData);
    } else {
        AppendQuoted(out, {message.header.varUserData, header.varUserDataLen});
    }
    out += "\n  ";
    out += kFrameTexts[static_cast<std::size_t>(message.frame)];
    out += ", format " + std::to_string(header.format) + ", version " + std::to_string(header.version) +
           ", encryption " + std::to_string(header.encryptFlag) + ", packing " + std::to_string(header.packFlags) +
           (IsCompressed(header.packFlags) ? " (compressed), " : ", ") +
           Counted(static_cast<std::uint16_t>(header.numFields), "field") + '\n';
}

void AppendPadded(std::string& out, const std::string& text, std::size_t width, bool right) {
    const std::string blanks(width - std::min(width, text.size()), ' ');
    out += right ? blanks + text : text + blanks;
}

// Where the columns of a message begin.
struct Columns {
    std::size_t name;
    std::size_t type;
};

Columns ColumnsOf(const CatalogMessage& kind) {
    constexpr std::size_t kLongestType = 8;
    std::size_t name = 0;
    for (const CatalogEntry& entry : kind.entries) {
        name = std::max(name, entry.field->name.size());
    }
    return {name, kLongestType};
}

void AppendField(std::string& out, const Catalog& catalog, const CatalogField& field, const _field_data& slot,
                 const Columns& columns, std::string indent, bool asStream) {
    constexpr std::size_t kLongestId = 5;
    const image::FieldTypeRule* rule = image::FindFieldTypeRule(field.type);
    out += indent;
    AppendPadded(out, std::to_string(slot.id), kLongestId, true);
    out += "  ";
    AppendPadded(out, field.name, columns.name, false);
    out += "  ";
    AppendPadded(out, rule != nullptr ? rule->name : "?", columns.type, false);
    out += "  ";
    AppendValueListing(out, {field.type, field.length}, slot);
    out += '\n';
    if (asStream && slot.value != nullptr) {
        AppendStream(out, catalog, {static_cast<const char*>(slot.value), slot.length},
                     indent.append(kLongestId + 2, ' '));
    }
}

// The index of the slot after the repetitions without values that begin with the one at `first`.
std::size_t EndOfEmpty(const CatalogMessage& kind, const PlacedSlots& placed, std::size_t first) {
    std::size_t end = first;
    while (end < placed.groupLast && placed.slots[end].isSet == 0) {
        ++end;
    }
    return end == placed.groupLast ? end : end - (end - placed.groupFirst) % kind.groupSize;
}

// One line for the repetition whose first slot has the place; for all that are empty up to the slot `end`, if any are.
void AppendRepetition(std::string& out, const PlacedSlots& placed, std::size_t index, std::size_t end) {
    const std::size_t first = placed.places[index].repetition;
    const std::size_t last = end == index ? first : placed.places[end - 1].repetition;
    out += first == last ? "    repetition " : "    repetitions ";
    AppendNumber(out, first);
    if (first != last) {
        out += " to ";
        AppendNumber(out, last);
    }
    out += end == index ? "\n" : first == last ? " is empty\n" : " are empty\n";
}

}  // namespace

void AppendListing(std::string& out, const Catalog& catalog, const ReceivedMessage& message,
                   const std::set<std::uint16_t>& streams) {
    const CatalogMessage& kind = *message.kind;
    const Columns columns = ColumnsOf(kind);
    const PlacedSlots placed = PlaceContent(kind, *message.content);
    AppendHeading(out, message);
    for (std::size_t index = 0; index < placed.places.size(); ++index) {
        const bool inGroup = index >= placed.groupFirst && index < placed.groupLast;
        if (inGroup && placed.places[index].entry == kind.groupStart) {
            const std::size_t end = EndOfEmpty(kind, placed, index);
            AppendRepetition(out, placed, index, end);
            index = end == index ? index : end - 1;
        }
        const _field_data& slot = placed.slots[index];
        if (slot.isSet != 0) {
            AppendField(out, catalog, catalog.Field(slot.id), slot, columns, inGroup ? "    " : "  ",
                        streams.contains(slot.id));
        }
    }
    out += '\n';
}

void AppendRawListing(std::string& out, const ReceivedMessage& message, Reader payload, ExpandedPayload& room) {
    constexpr std::size_t kBytesPerLine = 16;
    const ZelMsgStruct& header = message.header.numbers;
    AppendHeading(out, message);
    bool isPlain = true;
    if (IsCompressed(header.packFlags)) {
        const std::optional<Reader> expanded = Expand(header, payload, room);
        out += "  compressed payload, " + Counted(Remaining(payload), "byte") +
               (expanded ? ", expanded\n" : ", cannot be expanded\n");
        isPlain = expanded.has_value();
        payload = expanded.value_or(payload);
    }
    const bool hasFields = header.format == kIdLengthAndValue && isPlain;
    WireField field{};
    for (int left = hasFields ? static_cast<std::uint16_t>(header.numFields) : 0;
         left > 0 && NextCountedField(payload, field); --left) {
        out += "  field " + std::to_string(field.id) + ", " + Counted(field.value.length, "byte") + "  ";
        AppendSpacedHex(out, field.value.bytes, field.value.length);
        out += '\n';
    }
    if (Remaining(payload) != 0) {
        out += "  " + std::string(hasFields ? "rest of the payload" : "payload") + ", " +
               Counted(Remaining(payload), "byte") + '\n';
    }
    const char* bytes = nullptr;
    for (std::size_t size = 0; Remaining(payload) != 0;) {
        size = std::min(kBytesPerLine, Remaining(payload));
        (void)Take(payload, size, bytes);
        out += "    ";
        AppendSpacedHex(out, bytes, size);
        out += '\n';
    }
    out += '\n';
}

void AppendAnnotated(std::string& out, const ReceivedMessage& message, const std::vector<WirePart>& parts) {
    AppendTitle(out, message);
    AppendParts(out, parts);
    out += '\n';
}

}  // namespace zel::tools
