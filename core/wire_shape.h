// How the values of each type lie on the wire and in memory; encoding and decoding of the types that have one size.
// Nothing here checks a bound: callers have checked that the wire holds, or has room for, FixedWireSize bytes.
#ifndef ZEL_CORE_WIRE_SHAPE_H
#define ZEL_CORE_WIRE_SHAPE_H

#include <bit>
#include <cstdint>
#include <cstring>

#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "runtime/byte_order.h"

namespace zel {

enum class Shape : std::uint8_t {
    kShort,     // 2 bytes
    kLong,      // 4 bytes, whole numbers and floats alike
    kDouble,    // 8 bytes
    kDateTime,  // 8 bytes as they lie in memory, in no byte order: peers exchange it so
    kMoney,     // 6 bytes; 8 in memory
    kChars,     // as many bytes as the dictionary says
    kCounted,   // 2 bytes of length, then the bytes
    kNone       // no type that the core knows
};

constexpr Shape ShapeOf(std::uint16_t type) noexcept {
    switch (type) {
        case kZELShort:
            return Shape::kShort;
        case kZELLong:
        case kZELInt:
        case kZELFloat:
            return Shape::kLong;
        case kZELDouble:
            return Shape::kDouble;
        case kZELDateTime:
            return Shape::kDateTime;
        case kZELMoney:
            return Shape::kMoney;
        case kZELChars:
            return Shape::kChars;
        case kZELText:
        case kZELBytes10:
        case kZELBytes11:
            return Shape::kCounted;
        default:
            return Shape::kNone;
    }
}

// The shapes of one size come first.
constexpr bool IsFixed(Shape shape) noexcept {
    return shape <= Shape::kMoney;
}

// Bytes on the wire and in memory; 0 for the shapes without one size.
inline constexpr std::uint16_t kWireSizes[] = {2, 4, 8, 8, 6, 0, 0, 0};
inline constexpr std::uint16_t kMemorySizes[] = {2, 4, 8, 8, 8, 0, 0, 0};

constexpr std::uint16_t FixedWireSize(Shape shape) noexcept {
    return kWireSizes[static_cast<int>(shape)];
}

constexpr std::uint16_t FixedMemorySize(Shape shape) noexcept {
    return kMemorySizes[static_cast<int>(shape)];
}

template <typename T>
T LoadHost(const void* value) noexcept {
    T result;
    std::memcpy(&result, value, sizeof result);
    return result;
}

template <typename T>
void StoreHost(void* out, T value) noexcept {
    std::memcpy(out, &value, sizeof value);
}

// `shape` is a fixed one.
inline void EncodeFixed(Shape shape, const void* value, char* out) noexcept {
    switch (shape) {
        case Shape::kShort:
            return StoreU16Be(out, LoadHost<std::uint16_t>(value));
        case Shape::kLong:
            return StoreU32Be(out, LoadHost<std::uint32_t>(value));
        case Shape::kDouble:
            return StoreU64Be(out, LoadHost<std::uint64_t>(value));
        case Shape::kDateTime:
            return StoreHost(out, LoadHost<std::uint64_t>(value));
        default:
            StoreU32Be(out, LoadHost<std::uint32_t>(value));
            StoreU16Be(out + 4,
                       LoadHost<std::uint16_t>(static_cast<const char*>(value) + offsetof(_money, displayCode)));
    }
}

// `shape` is a fixed one; `out` holds FixedMemorySize bytes.
inline void DecodeFixed(Shape shape, const char* bytes, void* out) noexcept {
    switch (shape) {
        case Shape::kShort:
            return StoreHost(out, LoadU16Be(bytes));
        case Shape::kLong:
            return StoreHost(out, LoadU32Be(bytes));
        case Shape::kDouble:
            return StoreHost(out, LoadU64Be(bytes));
        case Shape::kDateTime:
            return StoreHost(out, LoadHost<std::uint64_t>(bytes));
        default: {
            // Stored at once, so that it can be loaded at once; the lower half lies first.
            static_assert(std::endian::native == std::endian::little && offsetof(_money, displayCode) == 4);
            StoreHost(out, std::uint64_t{LoadU16Be(bytes + 4)} << 32 | LoadU32Be(bytes));
        }
    }
}

struct Sixteen {
    std::uint64_t halves[2];
};

// The same as memcpy; values are mostly short, and then no call is made.
inline void CopyValue(void* out, const void* value, std::size_t length) noexcept {
    auto* to = static_cast<char*>(out);
    const auto* from = static_cast<const char*>(value);
    if (length >= sizeof(Sixteen)) {
        if (length > 2 * sizeof(Sixteen)) {
            std::memcpy(to, from, length);
            return;
        }
        const auto last = LoadHost<Sixteen>(from + length - sizeof(Sixteen));
        StoreHost(to, LoadHost<Sixteen>(from));
        StoreHost(to + length - sizeof(Sixteen), last);
    } else if (length >= 8) {
        const auto last = LoadHost<std::uint64_t>(from + length - 8);
        StoreHost(to, LoadHost<std::uint64_t>(from));
        StoreHost(to + length - 8, last);
    } else if (length >= 4) {
        const auto last = LoadHost<std::uint32_t>(from + length - 4);
        StoreHost(to, LoadHost<std::uint32_t>(from));
        StoreHost(to + length - 4, last);
    } else if (length >= 2) {
        const auto last = LoadHost<std::uint16_t>(from + length - 2);
        StoreHost(to, LoadHost<std::uint16_t>(from));
        StoreHost(to + length - 2, last);
    } else if (length == 1) {
        *to = *from;
    }
}

// Copies fewer than 16 bytes and lets zero bytes follow to 16: without a branch, because lengths vary from value to
// value. 16 bytes can be read at `value`.
inline void CopyShortValue(void* out, const void* value, std::size_t length) noexcept {
    // The mask of each length begins as many bytes in front of the zeros.
    static constexpr Sixteen kOnesThenZeros[] = {{{UINT64_MAX, UINT64_MAX}}, {{0, 0}}};
    const auto mask = LoadHost<Sixteen>(reinterpret_cast<const char*>(&kOnesThenZeros[1]) - length);
    const auto bytes = LoadHost<Sixteen>(value);
    StoreHost(out, Sixteen{{bytes.halves[0] & mask.halves[0], bytes.halves[1] & mask.halves[1]}});
}

}  // namespace zel

#endif  // ZEL_CORE_WIRE_SHAPE_H
