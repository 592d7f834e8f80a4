// Arithmetic on amounts: 32 bits, two's complement, wrapping round on overflow.
#ifndef ZEL_CONVERT_WRAP_H
#define ZEL_CONVERT_WRAP_H

#include <cstdint>

namespace zel {

// A long in a signature carries 32 bits; higher ones are dropped.
inline std::int32_t Low32(long value) noexcept {
    return static_cast<std::int32_t>(value);
}

// The most negative number stays negative.
inline std::int32_t Negated(std::int32_t value) noexcept {
    return static_cast<std::int32_t>(0U - static_cast<std::uint32_t>(value));
}

inline std::int32_t MultiplyAdd(std::int32_t factor, std::int32_t other, std::int32_t addend) noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(factor) * static_cast<std::uint32_t>(other) +
                                     static_cast<std::uint32_t>(addend));
}

}  // namespace zel

#endif  // ZEL_CONVERT_WRAP_H
