// Frame and header as they stand on the wire, where a verb has to look at them without the library: to find the frames
// of a capture, to show a message without a dictionary, and to put numbers into a header that a sender would choose.
#ifndef ZEL_TOOLS_CAPTURE_HEADER_BYTES_H
#define ZEL_TOOLS_CAPTURE_HEADER_BYTES_H

#include <cstddef>
#include <cstdint>

namespace zel::tools {

enum class FrameKind { kNone, kShort, kLong };

inline constexpr std::size_t kShortFrameSize = 4;
inline constexpr std::size_t kLongFrameSize = 6;

struct FrameHead {
    int format;           // 1 or 3
    std::size_t size;     // of the frame itself
    std::int32_t length;  // of what is behind it
};

enum class FrameHeadState { kGood, kNoSoh, kShort, kUnknownFormat };

// `size` is at least 1. The head is set when it is good, and its format when that is unknown.
[[nodiscard]] FrameHeadState ReadFrameHead(const char* bytes, std::size_t size, FrameHead& head) noexcept;

// What LooksLikeFrame wants to see: a frame and the first two fields of a header.
inline constexpr std::size_t kFrameStartSize = kLongFrameSize + 10;

[[nodiscard]] bool LooksLikeFrame(const char* bytes, std::size_t size) noexcept;

// Numbers of the wire.
inline std::uint16_t LoadU16(const char* bytes) noexcept {
    return static_cast<std::uint16_t>(std::uint32_t{static_cast<unsigned char>(bytes[0])} << 8U |
                                      static_cast<unsigned char>(bytes[1]));
}
inline std::uint32_t LoadU32(const char* bytes) noexcept {
    return std::uint32_t{LoadU16(bytes)} << 16U | LoadU16(bytes + 2);
}

// The numbers of a header, as its fields carry them.
struct HeaderNumbers {
    std::uint16_t flags;
    std::uint32_t msgType;
    std::uint32_t serviceId;
    std::uint32_t msgId;
    std::uint16_t numFields;
    std::int32_t userData;
    const char* varUserData;  // null: the header has userData
    std::uint16_t varUserDataLength;
    std::size_t size;  // of the header
};

constexpr unsigned EncryptFlag(std::uint16_t flags) noexcept {
    return flags >> 12U;
}
constexpr unsigned PackFlags(std::uint16_t flags) noexcept {
    return flags >> 8U & 0xFU;
}
constexpr unsigned FieldFormat(std::uint16_t flags) noexcept {
    return flags >> 4U & 0xFU;
}
constexpr unsigned Version(std::uint16_t flags) noexcept {
    return flags & 0xFU;
}
constexpr std::uint16_t HighHalf(std::uint32_t number) noexcept {
    return static_cast<std::uint16_t>(number >> 16U);
}
constexpr std::uint16_t LowHalf(std::uint32_t number) noexcept {
    return static_cast<std::uint16_t>(number);
}

// Flags of a payload: 4 says that it is compressed, unless 8 says that it is plain.
inline constexpr unsigned kPackCompressed = 4;
inline constexpr unsigned kPackMarked = 8;
constexpr bool IsCompressed(unsigned packFlags) noexcept {
    return (packFlags & (kPackCompressed | kPackMarked)) == kPackCompressed;
}

// The header at the start of a message; false when there is none.
[[nodiscard]] bool ReadHeader(const char* message, std::size_t size, HeaderNumbers& header) noexcept;

// Writes flags, type, service id and message id over those of a message that the library packed. The library takes
// them from elsewhere in part: it sets packing flags by its own rules, joins negative halves with a borrow, and gives
// a message without a sequence number a new id.
void StampHeader(char* message, const HeaderNumbers& header) noexcept;

}  // namespace zel::tools

#endif  // ZEL_TOOLS_CAPTURE_HEADER_BYTES_H
