// A received frame and where the message behind it lies.
#ifndef ZEL_MESSAGE_RECEIVED_FRAME_H
#define ZEL_MESSAGE_RECEIVED_FRAME_H

namespace zel {

struct ReceivedFrame {
    const char* message;  // null for a null buffer
    long length;
};

// Without SOH, reported, the frame counts as one of format 0 with nothing behind it.
ReceivedFrame OpenFrame(const char* buffer) noexcept;

}  // namespace zel

#endif  // ZEL_MESSAGE_RECEIVED_FRAME_H
