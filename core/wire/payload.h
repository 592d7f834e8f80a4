// What happens to a payload between the fields and the wire: the transform and the compression, in this order when it
// is sent and in the reverse order when it is received.
#ifndef ZEL_CORE_WIRE_PAYLOAD_H
#define ZEL_CORE_WIRE_PAYLOAD_H

#include "core/wire/compression.h"
#include "include/zelmessage.h"
#include "runtime/bounded.h"

namespace zel {

// Room for what is transformed and compressed, or expanded; a plain payload lies where it is.
struct PayloadBuffers {
    char first[kZELMaxPayload];
    char second[kZELMaxPayload];
};

// Whether the payload goes out as it is packed.
inline bool IsSentPlain(const ZelMsgStruct& message) noexcept {
    return message.encryptFlag == 0 && !IsCompressed(message.packFlags);
}

// Processes the payload of `length` bytes in `buffers.first` as the message's flags say. Returns what is to be sent, in
// one of the buffers; or a null reader, reported (1419, 1001). A payload that cannot be compressed goes out plain, and
// its flags are cleared.
[[nodiscard]] Reader ClosePayload(ZelMsgStruct& message, PayloadBuffers& buffers, int length) noexcept;

enum class Unwrapped { kDone, kNotExpanded, kNotTransformed };

// Points `payload`, which follows that header, at what was packed: there, or in `buffers`. Reports nothing.
[[nodiscard]] Unwrapped UnwrapPayload(const ZelMsgStruct& header, PayloadBuffers& buffers, Reader& payload) noexcept;

// Reads the header of the message at `in` into `header` and points `payload` at its payload, in `in` or in `buffers`.
// Reports 1423, 1422 or 1420.
[[nodiscard]] bool OpenPayload(const char* in, long length, ZelMsgStruct* header, PayloadBuffers& buffers,
                               Reader& payload) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_WIRE_PAYLOAD_H
