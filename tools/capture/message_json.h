// A message as one line of JSON.
#ifndef ZEL_TOOLS_CAPTURE_MESSAGE_JSON_H
#define ZEL_TOOLS_CAPTURE_MESSAGE_JSON_H

#include <cstdint>
#include <string>
#include <vector>

#include "include/zelmessage.h"
#include "tools/capture/header_bytes.h"
#include "tools/dictionary/catalog.h"

namespace zel::tools {

// A message that was received, and what stood around it.
struct ReceivedMessage {
    std::uint64_t offset;  // in the capture
    std::uint64_t number;
    std::size_t size;  // with its frame
    FrameKind frame;
    HeaderNumbers header;
    const CatalogMessage* kind;
    const ZelMsgStruct* content;
    const std::vector<std::uint16_t>* order;  // empty: that in which the fields are packed
};

// The group's slots are [first, last); a repeat count of 0 leaves those that have no value at the end out.
struct SlotRange {
    std::size_t first;
    std::size_t last;
};
[[nodiscard]] SlotRange GroupSlots(const CatalogMessage& kind, const ZelMsgStruct& content);

void AppendMessageJson(std::string& out, const ReceivedMessage& message);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_MESSAGE_JSON_H
