// A walk over a payload's fields as they stand on the wire, beside the message that the library made of it: what the
// library does not keep, and the order of the fields.
#ifndef ZEL_TOOLS_MESSAGE_PAYLOAD_WALK_H
#define ZEL_TOOLS_MESSAGE_PAYLOAD_WALK_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/wire/field_codec.h"
#include "tools/dictionary/catalog.h"

namespace zel::tools {

struct WireField {
    std::uint16_t id;
    WireValue value;
    std::string_view bytes;  // id and length included
};

// Reads the next field in format 0 or 2. False: there is none, or none of which the catalog knows the length; the
// reader stays where it is.
[[nodiscard]] bool NextWireField(const Catalog& catalog, unsigned format, Reader& payload, WireField& field);

// Reads the next field in format 2, for which no catalog is needed.
[[nodiscard]] bool NextCountedField(Reader& payload, WireField& field);

// Reads the value of that field in format 1. False: it runs past the end, or the field has no type.
[[nodiscard]] bool NextValue(const CatalogField& field, Reader& payload, WireValue& value);

struct PayloadFindings {
    std::vector<std::uint16_t> order;  // the ids as received, when that is not the order in which they are packed
    std::string lost;                  // what the library has passed over; empty: nothing
};

// `message` was unpacked from the `payload` after this header, and nothing was reported. Of a compressed payload only
// the end is looked at.
void WalkPayload(const Catalog& catalog, const ZelMsgStruct& header, Reader payload, const ZelMsgStruct& message,
                 PayloadFindings& findings);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_PAYLOAD_WALK_H
