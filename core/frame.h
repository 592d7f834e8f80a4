// The frame in front of a message.
//
//   0x01 | format << 4 | length of what follows: 2 bytes in format 1, 4 bytes in every other, little-endian
#ifndef ZEL_CORE_FRAME_H
#define ZEL_CORE_FRAME_H

#include "runtime/byte_order.h"
#include "runtime/reports.h"

namespace zel {

inline constexpr char kSoh = 0x01;

enum FrameFormat : short { kShortFrame = 1, kLongFrame = 3 };

// Where the message begins behind a frame of this format: only the long frame is known to take 6 bytes.
inline int MessageOffset(short frameFormat) noexcept {
    return frameFormat == kLongFrame ? 6 : 4;
}

// Writes the frame: 0, or -1 when a short frame cannot hold the length (the bytes are written all the same).
int WriteFrame(long length, short frameFormat, char* out) noexcept;

// Reads the frame: 0, or -1 with report 1005 and both outputs untouched when there is no SOH. The length is signed.
inline int ReadFrame(const char* in, long* length, short* frameFormat) noexcept {
    if (in == nullptr || in[0] != kSoh) {
        SendReport(reports::kNoSoh);
        return -1;
    }
    *frameFormat = static_cast<short>(static_cast<unsigned char>(in[1]) >> 4);
    if (*frameFormat == kShortFrame) {
        *length = static_cast<std::int16_t>(LoadU16Le(in + 2));
    } else {
        *length = static_cast<std::int32_t>(LoadU32Le(in + 2));
    }
    return 0;
}

}  // namespace zel

#endif  // ZEL_CORE_FRAME_H
