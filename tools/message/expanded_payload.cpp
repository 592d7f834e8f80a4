#include "tools/message/expanded_payload.h"

#include "core/wire/compression.h"
#include "tools/io/out_of_memory.h"

namespace zel::tools {

std::optional<Reader> Expand(const ZelMsgStruct& header, const Reader& payload, ExpandedPayload& room) {
    if (Remaining(payload) > kMaxCompressedPayload) {
        return std::nullopt;
    }
    short size = 0;
    const long result = WithMemory([&] {
        return zelExpandPayload(static_cast<unsigned char>(header.packFlags), payload.next,
                                static_cast<short>(Remaining(payload)), room.bytes, &size);
    });
    return result == 0 ? std::optional(Reader{room.bytes, room.bytes + size}) : std::nullopt;
}

}  // namespace zel::tools
