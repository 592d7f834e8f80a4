// The stream's values: how each is appended and read back. Every bound of a stream is checked in Append and Take.
// Integers are big-endian; float, double and date-time values travel as they lie in memory, little-endian on every
// platform that peers run on.
#ifndef ZEL_STREAM_STREAM_BUFFER_H
#define ZEL_STREAM_STREAM_BUFFER_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "include/zelstream.h"
#include "runtime/byte_order.h"
#include "stream/short_copy.h"

namespace zel {

static_assert(std::endian::native == std::endian::little, "values in host order are little-endian");

// What filters and sort data start with and grow by.
inline constexpr int kStreamBlock = 16384;

// The header: the length word, then in filters and sort data the count word.
inline constexpr int kLengthSize = 2;
inline constexpr int kCountedHeaderSize = 4;

// What a stream may hold, so that every length fits an int and no size wraps where addresses have 32 bits.
inline constexpr std::uint64_t kMaxStream = INT32_MAX;

// Whether `length` bytes hold a header of `headerSize` whose length word does not contradict them. The word has 16 bits
// and is compared with as many of the length.
inline bool HeaderHolds(const char* bytes, int length, int headerSize) noexcept {
    return bytes != nullptr && length >= headerSize && LoadU16Be(bytes) == static_cast<std::uint16_t>(length);
}

// The count word of a header that holds.
inline std::uint16_t CountWord(const char* header) noexcept {
    return LoadU16Be(header + kLengthSize);
}

struct StreamLayout {
    static_assert(offsetof(ZELStream, buffer) == 0 && offsetof(ZELStream, start) == sizeof(void*));
    static_assert(offsetof(ZELStream, writePos) == 2 * sizeof(void*) && offsetof(ZELStream, end) == 3 * sizeof(void*));
    static_assert(offsetof(ZELStream, readPos) == 4 * sizeof(void*));
    static_assert(offsetof(ZELStream, blockSize) == 5 * sizeof(void*));
    static_assert(offsetof(ZELStream, blockCount) == 5 * sizeof(void*) + 4);
};

}  // namespace zel

// Room for the next `size` bytes, which then count as written; null when it cannot be had.
inline char* ZELStream::Append(std::size_t size) noexcept {
    if (buffer == nullptr) {
        return nullptr;
    }
    while (size > static_cast<std::size_t>(end - writePos)) {
        if (Grow() != 0) {
            return nullptr;
        }
    }
    char* bytes = writePos;
    writePos += size;
    return bytes;
}

// The next `size` bytes, or null when fewer are left. The read position may lie behind the data: loading a shorter
// stream does not move it.
inline const char* ZELStream::Take(std::size_t size) noexcept {
    if (buffer == nullptr || readPos > writePos || size > static_cast<std::size_t>(writePos - readPos)) {
        return nullptr;
    }
    const char* bytes = readPos;
    readPos += size;
    return bytes;
}

inline int ZELStream::PutShort(short value) noexcept {
    char* bytes = Append(2);
    if (bytes == nullptr) {
        return -1;
    }
    zel::StoreU16Be(bytes, static_cast<std::uint16_t>(value));
    return 0;
}

inline int ZELStream::GetShort(short& value) noexcept {
    const char* bytes = Take(2);
    if (bytes == nullptr) {
        return -1;
    }
    value = static_cast<short>(zel::LoadU16Be(bytes));
    return 0;
}

inline int ZELStream::PutInt(int value) noexcept {
    char* bytes = Append(4);
    if (bytes == nullptr) {
        return -1;
    }
    zel::StoreU32Be(bytes, static_cast<std::uint32_t>(value));
    return 0;
}

inline int ZELStream::GetInt(int& value) noexcept {
    const char* bytes = Take(4);
    if (bytes == nullptr) {
        return -1;
    }
    value = static_cast<int>(zel::LoadU32Be(bytes));
    return 0;
}

inline int ZELStream::PutLong(long value) noexcept {
    return PutInt(static_cast<int>(value));
}

inline int ZELStream::GetLong(long& value) noexcept {
    int number = 0;
    const int result = GetInt(number);
    if (result == 0) {
        value = number;
    }
    return result;
}

inline int ZELStream::PutFloat(float value) noexcept {
    char* bytes = Append(sizeof value);
    if (bytes == nullptr) {
        return -1;
    }
    std::memcpy(bytes, &value, sizeof value);
    return 0;
}

inline int ZELStream::GetFloat(float& value) noexcept {
    const char* bytes = Take(sizeof value);
    if (bytes == nullptr) {
        return -1;
    }
    std::memcpy(&value, bytes, sizeof value);
    return 0;
}

inline int ZELStream::PutDouble(double value) noexcept {
    char* bytes = Append(sizeof value);
    if (bytes == nullptr) {
        return -1;
    }
    std::memcpy(bytes, &value, sizeof value);
    return 0;
}

inline int ZELStream::GetDouble(double& value) noexcept {
    const char* bytes = Take(sizeof value);
    if (bytes == nullptr) {
        return -1;
    }
    std::memcpy(&value, bytes, sizeof value);
    return 0;
}

inline int ZELStream::PutDateTime(const _datetime& value) noexcept {
    char* bytes = Append(sizeof value);
    if (bytes == nullptr) {
        return -1;
    }
    std::memcpy(bytes, &value, sizeof value);
    return 0;
}

inline int ZELStream::GetDateTime(_datetime& value) noexcept {
    const char* bytes = Take(sizeof value);
    if (bytes == nullptr) {
        return -1;
    }
    std::memcpy(&value, bytes, sizeof value);
    return 0;
}

inline int ZELStream::PutMoney(const _money& value) noexcept {
    char* bytes = Append(6);
    if (bytes == nullptr) {
        return -1;
    }
    zel::StoreU32Be(bytes, static_cast<std::uint32_t>(value.amount));
    zel::StoreU16Be(bytes + 4, static_cast<std::uint16_t>(value.displayCode));
    return 0;
}

inline int ZELStream::GetMoney(_money& value) noexcept {
    const char* bytes = Take(6);
    if (bytes == nullptr) {
        return -1;
    }
    value.amount = static_cast<ZELLong>(zel::LoadU32Be(bytes));
    value.displayCode = static_cast<short>(zel::LoadU16Be(bytes + 4));
    return 0;
}

inline int ZELStream::PutString(const char* bytes, int length) noexcept {
    if (length < 0 || (bytes == nullptr && length != 0)) {
        return -1;
    }
    const auto size = static_cast<std::size_t>(length);
    char* room = Append(2 + size);
    if (room == nullptr) {
        return -1;
    }
    zel::StoreU16Be(room, static_cast<std::uint16_t>(length));
    if (size != 0) {
        zel::CopyText(room + 2, bytes, size);
    }
    return 0;
}

// The length is read also when its bytes are missing; the read position is behind it then.
inline int ZELStream::GetString(const char*& bytes, int& length) noexcept {
    const char* word = Take(2);
    if (word == nullptr) {
        return -1;
    }
    length = zel::LoadU16Be(word);
    const char* counted = Take(static_cast<std::size_t>(length));
    if (counted == nullptr) {
        return -1;
    }
    bytes = counted;
    return 0;
}

#endif  // ZEL_STREAM_STREAM_BUFFER_H
