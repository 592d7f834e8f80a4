// Unpacking: the second pass over a received message, which fills the slots.
#ifndef ZEL_CORE_MESSAGE_UNPACK_H
#define ZEL_CORE_MESSAGE_UNPACK_H

#include "include/zelmessage.h"
#include "runtime/bounded.h"

namespace zel {

// Fills `message`, just created for the type, sub-type and repeat count of the message at `in`: 0, or -1, reported,
// with the slots filled that were read before. A field without a free slot is reported (1425) and passed over.
int UnpackZELMessage(const char* in, long length, ZelMsgStruct* message) noexcept;

// The same for a message that has its header, from the payload after it, of which so many fields were seen to be the
// first of the list.
int ReceiveZELPayload(ZelMsgStruct& message, const Reader& payload, int inOrder) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_UNPACK_H
