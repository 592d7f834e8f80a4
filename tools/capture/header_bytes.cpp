#include "tools/capture/header_bytes.h"

namespace zel::tools {

namespace {

// Where the values of the first five fields stand, each behind its id; the sixth begins behind them.
constexpr std::size_t kFlagsAt = 2;
constexpr std::size_t kMsgTypeAt = 6;
constexpr std::size_t kServiceIdAt = 12;
constexpr std::size_t kMsgIdAt = 18;
constexpr std::size_t kNumFieldsAt = 24;
constexpr std::size_t kUserDataAt = 26;

constexpr std::size_t kFixedHeaderSize = 32;
constexpr std::size_t kVarHeaderSize = 30;

constexpr std::size_t kIdsAt[] = {0, 4, 10, 16, 22};

void StoreU16(char* bytes, std::uint16_t value) noexcept {
    bytes[0] = static_cast<char>(value >> 8U);
    bytes[1] = static_cast<char>(value);
}

void StoreU32(char* bytes, std::uint32_t value) noexcept {
    StoreU16(bytes, HighHalf(value));
    StoreU16(bytes + 2, LowHalf(value));
}

std::uint32_t LoadU16Le(const char* bytes) noexcept {
    return static_cast<unsigned char>(bytes[0]) | std::uint32_t{static_cast<unsigned char>(bytes[1])} << 8U;
}

}  // namespace

FrameHeadState ReadFrameHead(const char* bytes, std::size_t size, FrameHead& head) noexcept {
    if (bytes[0] != 1) {
        return FrameHeadState::kNoSoh;
    }
    head.format = size < 2 ? 3 : static_cast<unsigned char>(bytes[1]) >> 4U;
    if (head.format != 1 && head.format != 3) {
        return FrameHeadState::kUnknownFormat;
    }
    head.size = head.format == 1 ? kShortFrameSize : kLongFrameSize;
    if (size < head.size) {
        return FrameHeadState::kShort;
    }
    const std::uint32_t low = LoadU16Le(bytes + 2);
    head.length = head.format == 1 ? static_cast<std::int16_t>(low)
                                   : static_cast<std::int32_t>(low | LoadU16Le(bytes + 4) << 16U);
    return FrameHeadState::kGood;
}

bool LooksLikeFrame(const char* bytes, std::size_t size) noexcept {
    FrameHead head{};
    if (size < kFrameStartSize || ReadFrameHead(bytes, size, head) != FrameHeadState::kGood || head.length < 0) {
        return false;
    }
    const char* header = bytes + head.size;
    return LoadU16(header) == 1 && LoadU16(header + kIdsAt[1]) == 2;
}

bool ReadHeader(const char* message, std::size_t size, HeaderNumbers& header) noexcept {
    header = {};
    if (size < kVarHeaderSize) {
        return false;
    }
    for (std::uint16_t id = 1; const std::size_t at : kIdsAt) {
        if (LoadU16(message + at) != id++) {
            return false;
        }
    }
    header.flags = LoadU16(message + kFlagsAt);
    header.msgType = LoadU32(message + kMsgTypeAt);
    header.serviceId = LoadU32(message + kServiceIdAt);
    header.msgId = LoadU32(message + kMsgIdAt);
    header.numFields = LoadU16(message + kNumFieldsAt);
    const std::uint16_t id = LoadU16(message + kUserDataAt);
    if (id == 6 && size >= kFixedHeaderSize) {
        header.userData = static_cast<std::int32_t>(LoadU32(message + kUserDataAt + 2));
        header.size = kFixedHeaderSize;
        return true;
    }
    header.varUserDataLength = LoadU16(message + kUserDataAt + 2);
    if (id != 7 || size - kVarHeaderSize < header.varUserDataLength) {
        return false;
    }
    header.varUserData = message + kVarHeaderSize;
    header.size = kVarHeaderSize + header.varUserDataLength;
    return true;
}

void StampHeader(char* message, const HeaderNumbers& header) noexcept {
    StoreU16(message + kFlagsAt, header.flags);
    StoreU32(message + kMsgTypeAt, header.msgType);
    StoreU32(message + kServiceIdAt, header.serviceId);
    StoreU32(message + kMsgIdAt, header.msgId);
}

}  // namespace zel::tools
