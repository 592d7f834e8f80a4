// The frame in front of a message.
//
//   0x01 | format << 4 | length of what follows: 2 bytes in format 1, 4 bytes in every other, little-endian
#ifndef ZEL_CORE_WIRE_FRAME_H
#define ZEL_CORE_WIRE_FRAME_H

#include "runtime/byte_order.h"
#include "runtime/reports.h"

namespace zel {

inline constexpr char kSoh = 0x01;

enum FrameFormat : short { kShortFrame = 1, kLongFrame = 3 };

// Where the message begins after a frame of this format: only the long frame is known to take 6 bytes.
inline int MessageOffset(short frameFormat) noexcept {
    return frameFormat == kLongFrame ? 6 : 4;
}

// Writes the frame: 0, or -1 when a short frame cannot hold the length (the bytes are written all the same).
inline int WriteFrame(long length, short frameFormat, char* out) noexcept {
    out[0] = kSoh;
    out[1] = static_cast<char>(frameFormat << 4);
    if (frameFormat != kShortFrame) {
        StoreU32Le(out + 2, static_cast<std::uint32_t>(length));
        return 0;
    }
    StoreU16Le(out + 2, static_cast<std::uint16_t>(length));
    return length > INT16_MAX ? -1 : 0;
}

// The format that the frame at `in` says.
inline short FrameFormatOf(const char* in) noexcept {
    return static_cast<short>(static_cast<unsigned char>(in[1]) >> 4);
}

// The length that a frame of this format says, which is signed.
inline long FrameLengthOf(const char* in, short frameFormat) noexcept {
    if (frameFormat == kShortFrame) {
        return static_cast<std::int16_t>(LoadU16Le(in + 2));
    }
    return static_cast<std::int32_t>(LoadU32Le(in + 2));
}

// Reads the frame: 0, or -1 with report 1005 and both outputs untouched when there is no SOH. The length is signed.
inline int ReadFrame(const char* in, long* length, short* frameFormat) noexcept {
    if (in == nullptr || in[0] != kSoh) {
        SendReport(reports::kNoSoh);
        return -1;
    }
    *frameFormat = FrameFormatOf(in);
    *length = FrameLengthOf(in, *frameFormat);
    return 0;
}

// A received frame and where the message after it lies.
struct ReceivedFrame {
    const char* message;  // null for a null buffer
    long length;
};

// Without SOH, reported, the frame counts as one of format 0 with nothing after it.
inline ReceivedFrame OpenFrame(const char* buffer) noexcept {
    long length = 0;
    short format = 0;
    // A frame that is none has been reported; what follows then fails for want of a message.
    (void)ReadFrame(buffer, &length, &format);
    return {buffer != nullptr ? buffer + MessageOffset(format) : nullptr, length};
}

}  // namespace zel

#endif  // ZEL_CORE_WIRE_FRAME_H
