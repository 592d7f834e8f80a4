// Compressed payloads, expanded to be looked at.
#ifndef ZEL_TOOLS_MESSAGE_EXPANDED_PAYLOAD_H
#define ZEL_TOOLS_MESSAGE_EXPANDED_PAYLOAD_H

#include <optional>

#include "include/zelmessage.h"
#include "runtime/bounded.h"

namespace zel::tools {

struct ExpandedPayload {
    char bytes[kZELMaxPayload];
};

// The fields of the compressed payload after that header, which stand in `room` then; nothing when it cannot be
// expanded. Ends the process when memory is out.
[[nodiscard]] std::optional<Reader> Expand(const ZelMsgStruct& header, const Reader& payload, ExpandedPayload& room);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_EXPANDED_PAYLOAD_H
