#include "tools/message/message_json.h"

#include <algorithm>

#include "tools/message/header_json.h"
#include "tools/message/stream_json.h"
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

// What is shown of a message.
struct ShownSlots {
    const Catalog& catalog;
    const MessageJsonView& view;
    PlacedSlots placed;
};

bool AppendOpened(std::string& out, const Catalog& catalog, const _field_data& slot) {
    return slot.value != nullptr && AppendStreamJson(out, catalog, {static_cast<const char*>(slot.value), slot.length});
}

// The members of the slots [first, last).
void AppendSlots(std::string& out, const CatalogMessage& kind, const ShownSlots& shown, std::size_t first,
                 std::size_t last, bool& isFirst) {
    const PlacedSlots& placed = shown.placed;
    for (std::size_t index = first; index < last; ++index) {
        const _field_data& slot = placed.slots[index];
        if (slot.isSet == 0 || !(shown.view.fields.empty() || shown.view.fields.contains(slot.id))) {
            continue;
        }
        const CatalogEntry& entry = kind.entries[placed.places[index].entry];
        out.append(entry.memberText, isFirst ? 1 : 0);
        isFirst = false;
        if (!shown.view.streams.contains(slot.id) || !AppendOpened(out, shown.catalog, slot)) {
            AppendValueJson(out, {entry.field->type, entry.field->length}, slot);
        }
    }
}

void AppendGroup(std::string& out, const CatalogMessage& kind, const ShownSlots& shown) {
    const PlacedSlots& placed = shown.placed;
    out += ",\"group\":[";
    for (std::size_t first = placed.groupFirst; first < placed.groupLast; first += kind.groupSize) {
        if (first != placed.groupFirst) {
            out += ',';
        }
        bool isFirst = true;
        out += '{';
        AppendSlots(out, kind, shown, first, std::min(first + kind.groupSize, placed.groupLast), isFirst);
        out += '}';
    }
    out += ']';
}

}  // namespace

PlacedSlots PlaceContent(const CatalogMessage& kind, const ZelMsgStruct& content) {
    PlacedSlots placed{content.dataBuf->fields, PlaceSlots(kind, *content.dataBuf), 0, 0};
    const auto isInGroup = [](const SlotPlace& place) { return place.repetition != 0; };
    const auto first = std::find_if(placed.places.begin(), placed.places.end(), isInGroup);
    const auto last = std::find_if_not(first, placed.places.end(), isInGroup);
    placed.groupFirst = static_cast<std::size_t>(first - placed.places.begin());
    placed.groupLast = static_cast<std::size_t>(last - placed.places.begin());
    while (content.repeatCount <= 0 && placed.groupLast > placed.groupFirst &&
           placed.slots[placed.groupLast - 1].isSet == 0) {
        --placed.groupLast;
    }
    return placed;
}

void AppendMessageJson(std::string& out, const Catalog& catalog, const ReceivedMessage& message,
                       const MessageJsonView& view) {
    const CatalogMessage& kind = *message.kind;
    const ZELDataBuf& buffer = *message.content->dataBuf;
    out += '{';
    if (message.offset) {
        out += "\"offset\":";
        AppendNumber(out, *message.offset);
        out += ',';
    }
    AppendFrameJson(out, message.frame);
    out += ',';
    out += kind.jsonText;
    out += ',';
    AppendHeaderJson(out, message.header);
    const ShownSlots shown{catalog, view, PlaceContent(kind, *message.content)};
    const PlacedSlots& placed = shown.placed;
    if (kind.groupSize != 0 && !TellsRepeatCount(kind, buffer)) {
        out += ",\"repeatCount\":";
        AppendNumber(out, message.content->repeatCount);
    }
    if (!message.order->empty() && view.fields.empty()) {
        out += ",\"order\":[";
        for (const std::uint16_t id : *message.order) {
            AppendNumber(out, id);
            out += ',';
        }
        out.back() = ']';
    }
    out += ",\"fields\":{";
    bool isFirst = true;
    AppendSlots(out, kind, shown, 0, placed.groupFirst, isFirst);
    AppendSlots(out, kind, shown, placed.groupLast, placed.places.size(), isFirst);
    out += '}';
    if (placed.groupFirst != placed.groupLast) {
        AppendGroup(out, kind, shown);
    }
    out += "}\n";
}

}  // namespace zel::tools
