// A message as one line of JSON.
#ifndef ZEL_TOOLS_MESSAGE_MESSAGE_JSON_H
#define ZEL_TOOLS_MESSAGE_MESSAGE_JSON_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/wire/header_numbers.h"
#include "include/zelmessage.h"
#include "tools/dictionary/catalog.h"
#include "tools/message/frame_kind.h"

namespace zel::tools {

// A message that was received, and what stood around it.
struct ReceivedMessage {
    std::optional<std::uint64_t> offset;  // in the capture; none: it is not to be shown
    std::uint64_t number;
    std::size_t size;  // with its frame
    FrameKind frame;
    bool hasHeader;
    HeaderView header;
    const CatalogMessage* kind;  // null: the dictionary has none
    const ZelMsgStruct* content;
    const std::vector<std::uint16_t>* order;  // empty: that in which the fields are packed
};

// The slots of a message with their places. Those of the group are [groupFirst, groupLast); without a repeat count, the
// ones at the end that have no value are not counted.
struct PlacedSlots {
    const _field_data* slots;
    std::vector<SlotPlace> places;
    std::size_t groupFirst;
    std::size_t groupLast;
};
[[nodiscard]] PlacedSlots PlaceContent(const CatalogMessage& kind, const ZelMsgStruct& content);

// Sets of fields by their ids.
struct MessageJsonView {
    const std::set<std::uint16_t>& fields;   // whose values are written; empty: of all
    const std::set<std::uint16_t>& streams;  // whose filter or sort data is opened, as AppendStreamJson does
};

void AppendMessageJson(std::string& out, const Catalog& catalog, const ReceivedMessage& message,
                       const MessageJsonView& view);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_MESSAGE_JSON_H
