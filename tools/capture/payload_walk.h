// A walk over a payload's fields as they stand on the wire, beside the message that the library made of it: what the
// library does not keep, and the order of the fields.
#ifndef ZEL_TOOLS_CAPTURE_PAYLOAD_WALK_H
#define ZEL_TOOLS_CAPTURE_PAYLOAD_WALK_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/capture/header_bytes.h"
#include "tools/dictionary/catalog.h"

namespace zel::tools {

// One field of a payload, the bytes in front of its value included.
struct WireField {
    std::uint16_t id;
    std::size_t size;
};

// The field at the start of `rest` in format 0 or 2; false when it has none that the catalog can step over.
[[nodiscard]] bool NextWireField(const Catalog& catalog, unsigned format, std::string_view rest, WireField& field);

struct PayloadFindings {
    std::vector<std::uint16_t> order;  // the ids as received, when that is not the order in which they are packed
    std::string lost;                  // what the library has passed over; empty: nothing
};

// `message` was unpacked from the plain `payload` behind this header, and nothing was reported.
void WalkPayload(const Catalog& catalog, const HeaderNumbers& header, std::string_view payload,
                 const ZelMsgStruct& message, PayloadFindings& findings);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_PAYLOAD_WALK_H
