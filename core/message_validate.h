// Validation: the first pass over a received message, which learns what structure it needs.
#ifndef ZEL_CORE_MESSAGE_VALIDATE_H
#define ZEL_CORE_MESSAGE_VALIDATE_H

#include <algorithm>
#include <cstddef>

#include "core/slots/message_block.h"
#include "core/wire/payload.h"

namespace zel {

// A message that validation has looked into. The header owns its variable user data.
struct ReceivedMessage {
    ZelMsgStruct header{};
    Reader payload{};
    const MessagePlan* plan = nullptr;  // of its type; null without memory
    int inOrder = 0;                    // so many fields were seen to be the first of the list
    PayloadBuffers buffers;             // not initialised
};

// Reads the header and looks into the payload for the repeat count: 0, or -1, reported, with nothing owned.
int OpenZELMessage(const char* in, long length, ReceivedMessage& received, short* repeatCount) noexcept;

// Room for the values that the payload can hold.
inline std::size_t ValueRoom(const ReceivedMessage& received) noexcept {
    // A field takes 2 bytes at least; longer payloads than peers send make do with what they find.
    const std::size_t bytes = std::min<std::size_t>(Remaining(received.payload), kZELMaxPayload);
    const auto fields = static_cast<std::size_t>(std::max<short>(received.header.numFields, 0));
    return bytes + std::min(fields, bytes / 2) * kValueOverhead;
}

// OpenZELMessage for the outputs alone: 0 with all of them set, or -1, reported, with none but *repeatCount touched.
// *repeatCount: -1 when the message type has no repeating group, 0 when the message lacks the field that counts it.
// `in` is the message after its frame; null outputs are not allowed.
int ValidateZELMsg(const char* in, long length, short* format, short* serviceIdHigh, short* serviceIdLow,
                   short* msgType, short* subType, short* repeatCount) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_VALIDATE_H
