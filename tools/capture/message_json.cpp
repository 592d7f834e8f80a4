#include "tools/capture/message_json.h"

#include <algorithm>

#include "tools/capture/header_json.h"
#include "tools/text/json_text.h"
#include "tools/text/value_json.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

// Whether the field that counts the repetitions tells their number.
bool TellsRepeatCount(const CatalogMessage& kind, const ZELDataBuf& buffer) {
    const std::size_t index = kind.groupStart - 1;
    return index < static_cast<std::size_t>(buffer.count) && buffer.fields[index].isSet != 0 &&
           image::IsInteger(kind.entries[index].field->type);
}

// The members of the slots [range.first, range.last), of which the first is that of `entry`.
void AppendSlots(std::string& out, const CatalogMessage& kind, const ZELDataBuf& buffer, SlotRange range,
                 std::size_t entry, bool& isFirst) {
    for (std::size_t index = range.first; index < range.last; ++index, ++entry) {
        const _field_data& slot = buffer.fields[index];
        if (slot.isSet == 0) {
            continue;
        }
        out.append(kind.entries[entry].memberText, isFirst ? 1 : 0);
        isFirst = false;
        const CatalogField& field = *kind.entries[entry].field;
        AppendValueJson(out, {field.type, field.length}, slot);
    }
}

void AppendGroup(std::string& out, const CatalogMessage& kind, const ZELDataBuf& buffer, SlotRange range) {
    out += ",\"group\":[";
    for (std::size_t first = range.first; first < range.last; first += kind.groupSize) {
        if (first != range.first) {
            out += ',';
        }
        bool isFirst = true;
        out += '{';
        AppendSlots(out, kind, buffer, {first, std::min(first + kind.groupSize, range.last)}, kind.groupStart, isFirst);
        out += '}';
    }
    out += ']';
}

}  // namespace

SlotRange GroupSlots(const CatalogMessage& kind, const ZelMsgStruct& content) {
    const auto count = static_cast<std::size_t>(content.dataBuf->count);
    const std::size_t first = std::min(kind.groupStart, count);
    if (content.repeatCount > 0) {
        return {first, std::min(count, first + static_cast<std::size_t>(content.repeatCount) * kind.groupSize)};
    }
    std::size_t last = kind.groupSize == 0 ? first : count;
    while (last > first && content.dataBuf->fields[last - 1].isSet == 0) {
        --last;
    }
    return {first, last};
}

void AppendMessageJson(std::string& out, const ReceivedMessage& message) {
    const CatalogMessage& kind = *message.kind;
    const ZELDataBuf& buffer = *message.content->dataBuf;
    out += "{\"offset\":";
    AppendNumber(out, message.offset);
    out += ',';
    AppendFrameJson(out, message.frame);
    out += ',';
    out += kind.jsonText;
    out += ',';
    AppendHeaderJson(out, message.header);
    const SlotRange group = GroupSlots(kind, *message.content);
    if (kind.groupSize != 0 && !TellsRepeatCount(kind, buffer)) {
        out += ",\"repeatCount\":";
        AppendNumber(out, message.content->repeatCount);
    }
    if (!message.order->empty()) {
        out += ",\"order\":[";
        for (const std::uint16_t id : *message.order) {
            AppendNumber(out, id);
            out += ',';
        }
        out.back() = ']';
    }
    out += ",\"fields\":{";
    bool isFirst = true;
    AppendSlots(out, kind, buffer, {0, group.first}, 0, isFirst);
    if (message.content->repeatCount > 0 && kind.groupSize != 0) {
        AppendSlots(out, kind, buffer, {group.last, static_cast<std::size_t>(buffer.count)},
                    kind.groupStart + kind.groupSize, isFirst);
    }
    out += '}';
    if (group.first != group.last) {
        AppendGroup(out, kind, buffer, group);
    }
    out += "}\n";
}

}  // namespace zel::tools
