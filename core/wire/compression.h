// Payload compression: the framing around the compression library's data.
//
//   length before compression, 4 bytes | length of the data, 4 bytes | data      (big-endian)
#ifndef ZEL_CORE_WIRE_COMPRESSION_H
#define ZEL_CORE_WIRE_COMPRESSION_H

#include "core/wire/header.h"
#include "crush32/crush32.h"

namespace zel {

// Payload lengths cross these routines as signed 16-bit numbers.
inline constexpr int kMaxCompressedPayload = 32767;

// Whether a payload with these flags is compressed; marked payloads (8, with or without 4) are plain.
constexpr bool IsCompressed(unsigned short packFlags) noexcept {
    return (packFlags & (kPackCompressed | kPackMarked)) == kPackCompressed;
}

// compressMode of a message object.
enum CompressMode : int { kSendPlain = 0, kSendCompressed = 1, kSendMarked = 2 };

// The flags of a message that is sent in this mode, and the mode that gives a message these flags.
constexpr unsigned short PackFlagsOf(int compressMode) noexcept {
    if ((compressMode & kSendMarked) != 0) {
        return kPackSent + kPackMarked;
    }
    return (compressMode & kSendCompressed) != 0 ? kPackSent + kPackCompressed : kPackSent;
}
constexpr CompressMode CompressModeOf(unsigned short packFlags) noexcept {
    if ((packFlags & kPackMarked) != 0) {
        return kSendMarked;
    }
    return (packFlags & kPackCompressed) != 0 ? kSendCompressed : kSendPlain;
}

// The bytes of a payload after its compressed data, as its lengths tell; 0 where these do not fit.
inline std::size_t BytesAfterCompressed(Reader payload) noexcept {
    const char* lengths = nullptr;
    const bool isFramed = Take(payload, crush::kFramingSize, lengths);
    return isFramed && Skip(payload, LoadU32Be(lengths + 4)) ? Remaining(payload) : 0;
}

// Both work into `destination` of kZELMaxPayload bytes; *resultLength is written, not read. 0, or -1.
//
// After -1 the destination of a compression holds the plain payload and *resultLength its length, so that the message
// can go out plain; sources longer than the destination leave both untouched.
int zelCompressPayload(unsigned char packFlags, const char* source, short sourceLength, char* destination,
                       short* resultLength) noexcept;

// After -1 the outputs hold nothing of use. Refused: lengths that do not fit the source or the destination.
int zelExpandPayload(unsigned char packFlags, const char* source, short sourceLength, char* destination,
                     short* resultLength) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_WIRE_COMPRESSION_H
