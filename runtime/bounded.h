// Bounded reading and writing. All bounds arithmetic on wire bytes is in Take and Reserve. A failed call changes
// neither the cursor nor the output.
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

// Points `bytes` at the next `size` bytes and moves past them; false when fewer are left.
[[nodiscard]] inline bool Take(Reader& reader, std::size_t size, const char*& bytes) noexcept {
    if (size > Remaining(reader)) {
        return false;
    }
    bytes = reader.next;
    reader.next += size;
    return true;
}

[[nodiscard]] inline bool Skip(Reader& reader, std::size_t size) noexcept {
    const char* bytes = nullptr;
    return Take(reader, size, bytes);
}

[[nodiscard]] inline bool ReadU16Be(Reader& reader, std::uint16_t& value) noexcept {
    const char* bytes = nullptr;
    if (!Take(reader, 2, bytes)) {
        return false;
    }
    value = LoadU16Be(bytes);
    return true;
}

// Invariant: next <= end, both in one buffer.
struct Writer {
    char* next;
    char* end;
};

// Points `bytes` at room for the next `size` bytes, which then count as written; false when less is left.
[[nodiscard]] inline bool Reserve(Writer& writer, std::size_t size, char*& bytes) noexcept {
    if (size > static_cast<std::size_t>(writer.end - writer.next)) {
        return false;
    }
    bytes = writer.next;
    writer.next += size;
    return true;
}

[[nodiscard]] inline bool WriteU16Be(Writer& writer, std::uint16_t value) noexcept {
    char* bytes = nullptr;
    if (!Reserve(writer, 2, bytes)) {
        return false;
    }
    StoreU16Be(bytes, value);
    return true;
}

[[nodiscard]] inline bool WriteZeros(Writer& writer, std::size_t size) noexcept {
    char* bytes = nullptr;
    if (!Reserve(writer, size, bytes)) {
        return false;
    }
    std::memset(bytes, 0, size);
    return true;
}

}  // namespace zel

#endif  // ZEL_RUNTIME_BOUNDED_H
