// The bytes of values: those of one size turned between memory and wire, the others copied. Nothing here checks a
// bound: the field codec has checked that the wire holds, or has room for, what is read or written.
#ifndef ZEL_CORE_WIRE_VALUE_BYTES_H
#define ZEL_CORE_WIRE_VALUE_BYTES_H

#include <bit>
#include <cstdint>
#include <cstring>

#include "core/tables/field_shape.h"
#include "include/zelmessage.h"
#include "runtime/byte_order.h"

namespace zel {

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

template <Shape shape>
inline void EncodeFixed(const void* value, char* out) noexcept {
    static_assert(IsFixed(shape));
    if constexpr (shape == Shape::kShort) {
        StoreU16Be(out, LoadHost<std::uint16_t>(value));
    } else if constexpr (shape == Shape::kLong) {
        StoreU32Be(out, LoadHost<std::uint32_t>(value));
    } else if constexpr (shape == Shape::kDouble) {
        StoreU64Be(out, LoadHost<std::uint64_t>(value));
    } else if constexpr (shape == Shape::kDateTime) {
        StoreHost(out, LoadHost<std::uint64_t>(value));
    } else {
        const auto* displayCode = static_cast<const char*>(value) + offsetof(_money, displayCode);
        StoreU32Be(out, LoadHost<std::uint32_t>(value));
        StoreU16Be(out + 4, LoadHost<std::uint16_t>(displayCode));
    }
}

// `out` holds FixedMemorySize bytes.
template <Shape shape>
inline void DecodeFixed(const char* bytes, void* out) noexcept {
    static_assert(IsFixed(shape));
    if constexpr (shape == Shape::kShort) {
        StoreHost(out, LoadU16Be(bytes));
    } else if constexpr (shape == Shape::kLong) {
        StoreHost(out, LoadU32Be(bytes));
    } else if constexpr (shape == Shape::kDouble) {
        StoreHost(out, LoadU64Be(bytes));
    } else if constexpr (shape == Shape::kDateTime) {
        StoreHost(out, LoadHost<std::uint64_t>(bytes));
    } else {
        // Stored at once, so that it can be loaded at once; the lower half lies first.
        static_assert(std::endian::native == std::endian::little && offsetof(_money, displayCode) == 4);
        StoreHost(out, std::uint64_t{LoadU16Be(bytes + 4)} << 32 | LoadU32Be(bytes));
    }
}

// One or two words' bytes as the first and the last word, which meet or overlap.
template <typename Word>
inline void CopyEnds(char* to, const char* from, std::size_t length) noexcept {
    const auto last = LoadHost<Word>(from + length - sizeof(Word));
    StoreHost(to, LoadHost<Word>(from));
    StoreHost(to + length - sizeof(Word), last);
}

// memcpy of at most 8 bytes.
inline void CopySmall(void* out, const void* value, std::size_t length) noexcept {
    auto* to = static_cast<char*>(out);
    const auto* from = static_cast<const char*>(value);
    if (length >= 4) {
        CopyEnds<std::uint32_t>(to, from, length);
    } else if (length >= 2) {
        CopyEnds<std::uint16_t>(to, from, length);
    } else if (length == 1) {
        *to = *from;
    }
}

// memcpy. Values are mostly short, and then no call is made.
inline void CopyValue(void* out, const void* value, std::size_t length) noexcept {
    struct Sixteen {
        std::uint64_t halves[2];
    };
    auto* to = static_cast<char*>(out);
    const auto* from = static_cast<const char*>(value);
    if (length < 8) {
        CopySmall(to, from, length);
    } else if (length <= 16) {
        CopyEnds<std::uint64_t>(to, from, length);
    } else if (length <= 32) {
        CopyEnds<Sixteen>(to, from, length);
    } else {
        std::memcpy(to, from, length);
    }
}

// Copies the `held` bytes that there are of `length`; zero bytes stand for the others.
inline void CopyHeld(void* out, const void* value, std::size_t held, std::size_t length) noexcept {
    if (held >= length) [[likely]] {
        return CopyValue(out, value, length);
    }
    std::memcpy(out, value, held);
    std::memset(static_cast<char*>(out) + held, 0, length - held);
}

}  // namespace zel

#endif  // ZEL_CORE_WIRE_VALUE_BYTES_H
