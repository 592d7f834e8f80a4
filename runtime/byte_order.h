// Numbers in memory with a fixed byte order; width and order are in the name. Nothing here checks bounds: callers other
// than the bounded reader and writer say where the check is.
#ifndef ZEL_RUNTIME_BYTE_ORDER_H
#define ZEL_RUNTIME_BYTE_ORDER_H

#include <cstdint>

namespace zel {

inline std::uint16_t LoadU16Be(const char* at) noexcept {
    const auto* bytes = reinterpret_cast<const unsigned char*>(at);
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

inline std::uint32_t LoadU32Be(const char* at) noexcept {
    const auto* bytes = reinterpret_cast<const unsigned char*>(at);
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

inline std::uint64_t LoadU64Be(const char* at) noexcept {
    return std::uint64_t{LoadU32Be(at)} << 32 | LoadU32Be(at + 4);
}

inline std::uint16_t LoadU16Le(const char* at) noexcept {
    const auto* bytes = reinterpret_cast<const unsigned char*>(at);
    return static_cast<std::uint16_t>(bytes[1] << 8 | bytes[0]);
}

inline std::uint32_t LoadU32Le(const char* at) noexcept {
    const auto* bytes = reinterpret_cast<const unsigned char*>(at);
    return std::uint32_t{bytes[3]} << 24 | std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[1]} << 8 | bytes[0];
}

inline void StoreU16Be(char* at, std::uint16_t value) noexcept {
    at[0] = static_cast<char>(value >> 8);
    at[1] = static_cast<char>(value);
}

inline void StoreU32Be(char* at, std::uint32_t value) noexcept {
    at[0] = static_cast<char>(value >> 24);
    at[1] = static_cast<char>(value >> 16);
    at[2] = static_cast<char>(value >> 8);
    at[3] = static_cast<char>(value);
}

inline void StoreU64Be(char* at, std::uint64_t value) noexcept {
    StoreU32Be(at, static_cast<std::uint32_t>(value >> 32));
    StoreU32Be(at + 4, static_cast<std::uint32_t>(value));
}

inline void StoreU16Le(char* at, std::uint16_t value) noexcept {
    at[0] = static_cast<char>(value);
    at[1] = static_cast<char>(value >> 8);
}

inline void StoreU32Le(char* at, std::uint32_t value) noexcept {
    at[0] = static_cast<char>(value);
    at[1] = static_cast<char>(value >> 8);
    at[2] = static_cast<char>(value >> 16);
    at[3] = static_cast<char>(value >> 24);
}

}  // namespace zel

#endif  // ZEL_RUNTIME_BYTE_ORDER_H
