// Bounded reading and writing. All bounds arithmetic on wire bytes is in Take and Reserve; a failed call moves neither
// cursor nor output.
#ifndef ZEL_RUNTIME_BOUNDED_H
#define ZEL_RUNTIME_BOUNDED_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "runtime/byte_order.h"

namespace zel {

// Invariant: next <= end, both in one buffer, or both null.
struct Reader {
    const char* next;
    const char* end;
};

inline std::size_t Remaining(const Reader& reader) noexcept {
    return static_cast<std::size_t>(reader.end - reader.next);
}

// The next `size` bytes, or null when fewer are left.
[[nodiscard]] inline const char* Take(Reader& reader, std::size_t size) noexcept {
    if (size > Remaining(reader)) {
        return nullptr;
    }
    const char* bytes = reader.next;
    reader.next += size;
    return bytes;
}

[[nodiscard]] inline bool ReadU16Be(Reader& reader, std::uint16_t& value) noexcept {
    const char* bytes = Take(reader, 2);
    if (bytes != nullptr) {
        value = LoadU16Be(bytes);
    }
    return bytes != nullptr;
}

// Invariant: next <= end, both in one buffer.
struct Writer {
    char* next;
    char* end;
};

// Room for the next `size` bytes, or null when less is left.
[[nodiscard]] inline char* Reserve(Writer& writer, std::size_t size) noexcept {
    if (size > static_cast<std::size_t>(writer.end - writer.next)) {
        return nullptr;
    }
    char* bytes = writer.next;
    writer.next += size;
    return bytes;
}

[[nodiscard]] inline bool WriteU16Be(Writer& writer, std::uint16_t value) noexcept {
    char* bytes = Reserve(writer, 2);
    if (bytes != nullptr) {
        StoreU16Be(bytes, value);
    }
    return bytes != nullptr;
}

[[nodiscard]] inline bool WriteU32Be(Writer& writer, std::uint32_t value) noexcept {
    char* bytes = Reserve(writer, 4);
    if (bytes != nullptr) {
        StoreU32Be(bytes, value);
    }
    return bytes != nullptr;
}

[[nodiscard]] inline bool WriteU64Be(Writer& writer, std::uint64_t value) noexcept {
    char* bytes = Reserve(writer, 8);
    if (bytes != nullptr) {
        StoreU64Be(bytes, value);
    }
    return bytes != nullptr;
}

[[nodiscard]] inline bool WriteBytes(Writer& writer, const void* source, std::size_t size) noexcept {
    char* bytes = Reserve(writer, size);
    if (bytes != nullptr && size != 0) {
        std::memcpy(bytes, source, size);
    }
    return bytes != nullptr;
}

[[nodiscard]] inline bool WriteZeros(Writer& writer, std::size_t size) noexcept {
    char* bytes = Reserve(writer, size);
    if (bytes != nullptr) {
        std::memset(bytes, 0, size);
    }
    return bytes != nullptr;
}

}  // namespace zel

#endif  // ZEL_RUNTIME_BOUNDED_H
