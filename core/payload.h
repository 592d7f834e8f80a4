// The payload behind a received header, made readable: expanded and transformed back, in the reverse order of building.
#ifndef ZEL_CORE_PAYLOAD_H
#define ZEL_CORE_PAYLOAD_H

#include "include/zelmessage.h"
#include "runtime/bounded.h"

namespace zel {

// Room for what has to be expanded or transformed; a plain payload is read where it lies.
struct PayloadBuffers {
    char expanded[kZELMaxPayload];
    char transformed[kZELMaxPayload];
};

// Reads the header of the message at `in` into `header` and points `payload` at its payload, in `in` or in `buffers`.
// Reports 1423, 1422 or 1420.
[[nodiscard]] bool OpenPayload(const char* in, long length, ZelMsgStruct* header, PayloadBuffers& buffers,
                               Reader& payload) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_PAYLOAD_H
