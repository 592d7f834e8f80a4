// Building: a filled message becomes the bytes of its header and payload.
#ifndef ZEL_CORE_MESSAGE_BUILD_H
#define ZEL_CORE_MESSAGE_BUILD_H

#include "core/wire/header.h"
#include "core/wire/payload.h"
#include "include/zelmessage.h"

namespace zel {

// Writes the message at `out` and its length to *outLength: 0, or -1, reported. `sequence` becomes the message id of a
// message that has none. Also after -1 the message keeps what building has written into it: numFields, the id, cleared
// compression flags.
int BuildZELMessage(ZelMsgStruct* message, char* out, long* outLength, unsigned short sequence) noexcept;

// The same into a buffer that may be too small. Then nothing is written and nothing reported.
enum class Built { kDone, kRefused, kNoRoom };
struct BuildRoom {
    char* out;
    std::size_t size;
};
[[nodiscard]] Built BuildZELMessageWithin(ZelMsgStruct* message, const BuildRoom& room, long* outLength,
                                          unsigned short sequence) noexcept;

// A message without an id gets one.
inline void GiveZELMessageId(ZelMsgStruct& message, unsigned short sequence) noexcept {
    if (message.msgIdSeq == 0) {
        message.msgIdSeq = sequence;
        message.msgIdPart2 = 1;
        message.msgIdPart3 = 1;
    }
}

// What building ends with, for payloads that are packed already: the `packedLength` bytes in `buffers.first` become
// header and payload. `message` may be a header alone. Of the variable user data there are `userDataHeld` bytes.
[[nodiscard]] Built SendZELPayload(const HeaderRules& rules, ZelMsgStruct& message, PayloadBuffers& buffers,
                                   int packedLength, std::size_t userDataHeld, const BuildRoom& room, long* outLength,
                                   unsigned short sequence) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_BUILD_H
