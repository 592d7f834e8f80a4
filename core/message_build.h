// Building: a filled message becomes the bytes of its header and payload.
#ifndef ZEL_CORE_MESSAGE_BUILD_H
#define ZEL_CORE_MESSAGE_BUILD_H

#include "include/zelmessage.h"

namespace zel {

// Writes the message at `out` and its length to *outLength: 0, or -1, reported. `sequence` becomes the message id of a
// message that has none. Also after -1 the message keeps what building has written into it: numFields, the id, cleared
// compression flags.
int BuildZELMessage(ZelMsgStruct* message, char* out, long* outLength, unsigned short sequence) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_BUILD_H
