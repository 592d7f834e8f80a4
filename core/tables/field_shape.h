// What the values of each type look like: how many bytes they take, on the wire and in memory.
#ifndef ZEL_CORE_TABLES_FIELD_SHAPE_H
#define ZEL_CORE_TABLES_FIELD_SHAPE_H

#include <cstdint>
#include <type_traits>

#include "include/zelprovider.h"

namespace zel {

enum class Shape : std::uint8_t {
    kShort,     // 2 bytes
    kLong,      // 4 bytes, whole numbers and floats alike
    kDouble,    // 8 bytes
    kDateTime,  // 8 bytes as they lie in memory, in no byte order: peers exchange them so
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

// Calls `handle` with the shape as a constant, a std::integral_constant: one switch for whoever does a thing shape by
// shape.
template <typename Handle>
[[gnu::always_inline]] inline auto WithShape(Shape shape, const Handle& handle) noexcept {
    // All values of three bits are shapes: the switch is one indexed step.
    switch (static_cast<Shape>(static_cast<unsigned>(shape) & 7)) {
        case Shape::kShort:
            return handle(std::integral_constant<Shape, Shape::kShort>{});
        case Shape::kLong:
            return handle(std::integral_constant<Shape, Shape::kLong>{});
        case Shape::kDouble:
            return handle(std::integral_constant<Shape, Shape::kDouble>{});
        case Shape::kDateTime:
            return handle(std::integral_constant<Shape, Shape::kDateTime>{});
        case Shape::kMoney:
            return handle(std::integral_constant<Shape, Shape::kMoney>{});
        case Shape::kChars:
            return handle(std::integral_constant<Shape, Shape::kChars>{});
        case Shape::kCounted:
            return handle(std::integral_constant<Shape, Shape::kCounted>{});
        case Shape::kNone:
            return handle(std::integral_constant<Shape, Shape::kNone>{});
    }
    __builtin_unreachable();
}

}  // namespace zel

#endif  // ZEL_CORE_TABLES_FIELD_SHAPE_H
