#include "tools/capture/message_listing.h"

#include <algorithm>

#include "tools/capture/stream_listing.h"
#include "tools/text/findings.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_text.h"
#include "tools/text/value_listing.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

constexpr const char* kFrameTexts[] = {"no frame", "short frame", "long frame"};

void AppendHeading(std::string& out, const ReceivedMessage& message, const std::string& name) {
    const HeaderNumbers& header = message.header;
    const auto type = static_cast<std::int16_t>(HighHalf(header.msgType));
    const auto subType = static_cast<std::int16_t>(LowHalf(header.msgType));
    out += "message " + std::to_string(message.number) + " at offset " + std::to_string(message.offset) + ": ";
    out += name.empty() ? "" : name + ", ";
    out += "type " + std::to_string(type) + ", sub-type " + std::to_string(subType) + ", ";
    out += Counted(message.size, "byte") + '\n';

    out += "  service " + std::to_string(HighHalf(header.serviceId)) + '.' + std::to_string(LowHalf(header.serviceId)) +
           ", message id " + std::to_string(HighHalf(header.msgId)) + '.' + std::to_string(header.msgId >> 8U & 0xFFU) +
           '.' + std::to_string(header.msgId & 0xFFU) + ", user data ";
    if (header.varUserData == nullptr) {
        AppendNumber(out, header.userData);
    } else {
        AppendQuoted(out, {header.varUserData, header.varUserDataLength});
    }
    out += "\n  ";
    out += kFrameTexts[static_cast<std::size_t>(message.frame)];
    out += ", format " + std::to_string(FieldFormat(header.flags)) + ", version " +
           std::to_string(Version(header.flags)) + ", encryption " + std::to_string(EncryptFlag(header.flags)) +
           ", packing " + std::to_string(PackFlags(header.flags)) +
           (IsCompressed(PackFlags(header.flags)) ? " (compressed), " : ", ") + Counted(header.numFields, "field") +
           '\n';
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

}  // namespace

void AppendListing(std::string& out, const Catalog& catalog, const ReceivedMessage& message,
                   const std::set<std::uint16_t>& streams) {
    const CatalogMessage& kind = *message.kind;
    const ZelMsgStruct& content = *message.content;
    const Columns columns = ColumnsOf(kind);
    const SlotRange group = GroupSlots(kind, content);
    AppendHeading(out, message, kind.name);
    for (std::size_t index = 0; index < static_cast<std::size_t>(content.dataBuf->count); ++index) {
        const bool inGroup = index >= group.first && index < group.last;
        if (inGroup && (index - group.first) % kind.groupSize == 0) {
            out += "    repetition " + std::to_string((index - group.first) / kind.groupSize + 1) + '\n';
        }
        const _field_data& slot = content.dataBuf->fields[index];
        if (slot.isSet != 0) {
            AppendField(out, catalog, catalog.Field(slot.id), slot, columns, inGroup ? "    " : "  ",
                        streams.contains(slot.id));
        }
    }
    out += '\n';
}

void AppendRawListing(std::string& out, const ReceivedMessage& message, std::string_view payload) {
    constexpr unsigned kIdLengthAndValue = 2;
    constexpr std::size_t kBytesPerLine = 16;
    AppendHeading(out, message, "");
    const bool hasFields =
        FieldFormat(message.header.flags) == kIdLengthAndValue && !IsCompressed(PackFlags(message.header.flags));
    int left = hasFields ? message.header.numFields : 0;
    for (; left > 0 && payload.size() >= 4; --left) {
        const std::size_t length = LoadU16(payload.data() + 2);
        if (payload.size() - 4 < length) {
            break;
        }
        out += "  field " + std::to_string(LoadU16(payload.data())) + ", " + Counted(length, "byte") + "  ";
        AppendSpacedHex(out, payload.data() + 4, length);
        out += '\n';
        payload.remove_prefix(4 + length);
    }
    if (!payload.empty()) {
        out += "  " + std::string(hasFields ? "rest of the payload" : "payload") + ", " +
               Counted(payload.size(), "byte") + '\n';
    }
    for (; !payload.empty(); payload.remove_prefix(std::min(kBytesPerLine, payload.size()))) {
        out += "    ";
        AppendSpacedHex(out, payload.data(), std::min(kBytesPerLine, payload.size()));
        out += '\n';
    }
    out += '\n';
}

}  // namespace zel::tools
