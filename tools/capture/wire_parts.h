// A message's bytes taken apart, each piece beside what it says: the frame, the fields of the header, those of the
// payload, up to where they can no longer be read.
#ifndef ZEL_TOOLS_CAPTURE_WIRE_PARTS_H
#define ZEL_TOOLS_CAPTURE_WIRE_PARTS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/dictionary/catalog.h"
#include "tools/message/expanded_payload.h"
#include "tools/message/frame_kind.h"

namespace zel::tools {

struct WirePart {
    std::size_t offset;  // in the frame, or in the expanded payload
    bool isExpanded;
    bool isFault;  // what cannot be read, and why
    std::string_view bytes;
    std::string name;
    std::string meaning;
};

// Without a catalog, only fields of format 2 can be told apart. `room` has to stay as long as the parts, and so have
// the frame's bytes.
[[nodiscard]] std::vector<WirePart> TakeApart(const Catalog* catalog, std::string_view frame, FrameKind kind,
                                              ExpandedPayload& room);

// One table; ">" marks what cannot be read.
void AppendParts(std::string& out, const std::vector<WirePart>& parts);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_WIRE_PARTS_H
