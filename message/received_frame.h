// A received frame and where the message behind it lies.
#ifndef ZEL_MESSAGE_RECEIVED_FRAME_H
#define ZEL_MESSAGE_RECEIVED_FRAME_H

#include "core/frame.h"

namespace zel {

struct ReceivedFrame {
    const char* message;  // null for a null buffer
    long length;
};

// Without SOH, reported, the frame counts as one of format 0 with nothing behind it.
inline ReceivedFrame OpenFrame(const char* buffer) noexcept {
    long length = 0;
    short format = 0;
    // A frame that is none has been reported; what follows then fails for want of a message.
    (void)ReadFrame(buffer, &length, &format);
    return {buffer != nullptr ? buffer + MessageOffset(format) : nullptr, length};
}

}  // namespace zel

#endif  // ZEL_MESSAGE_RECEIVED_FRAME_H
