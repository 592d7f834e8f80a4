// The buffer of filters and sort data: the encoding of each type of value, and the library's operations. All bounds are
// checked in Append and Take.
#ifndef ZEL_STREAM_STREAM_BUFFER_H
#define ZEL_STREAM_STREAM_BUFFER_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "include/zelstream.h"
#include "runtime/byte_order.h"

namespace zel {

static_assert(std::endian::native == std::endian::little, "values in host order are little-endian");

// What filters and sort data start with and grow by.
inline constexpr int kStreamBlock = 16384;

// The header: the length word, then in filters and sort data the count word.
inline constexpr int kLengthSize = 2;
inline constexpr int kHeaderSize = 4;

// The most bytes in a stream, so that every length fits an int and no size wraps where addresses have 32 bits.
inline constexpr std::uint64_t kMaxStream = INT32_MAX;

// ---- Values ---------------------------------------------------------------------------------------------------------

// Float, double and date-time values are stored as they are in memory: little-endian on every platform of peers.
template <typename Value>
struct Encoding {
    static_assert(std::is_same_v<Value, float> || std::is_same_v<Value, double> || std::is_same_v<Value, _datetime>);
    static constexpr std::size_t kSize = sizeof(Value);
    static void Store(char* at, const Value& value) noexcept { std::memcpy(at, &value, kSize); }
    static void Load(const char* at, Value& value) noexcept { std::memcpy(&value, at, kSize); }
};

// Whole numbers are big-endian.
template <>
struct Encoding<short> {
    static constexpr std::size_t kSize = 2;
    static void Store(char* at, short value) noexcept { StoreU16Be(at, static_cast<std::uint16_t>(value)); }
    static void Load(const char* at, short& value) noexcept { value = static_cast<short>(LoadU16Be(at)); }
};

template <typename Number>
struct Encoding32 {
    static constexpr std::size_t kSize = 4;
    static void Store(char* at, Number value) noexcept { StoreU32Be(at, static_cast<std::uint32_t>(value)); }
    static void Load(const char* at, Number& value) noexcept { value = static_cast<std::int32_t>(LoadU32Be(at)); }
};

template <>
struct Encoding<int> : Encoding32<int> {};

// The low 32 bits.
template <>
struct Encoding<long> : Encoding32<long> {};

// Written as an int. Never read: characters of the dictionary are read as texts.
template <>
struct Encoding<char> : Encoding32<char> {};

template <>
struct Encoding<_money> {
    static constexpr std::size_t kSize = 6;
    static void Store(char* at, const _money& value) noexcept {
        StoreU32Be(at, static_cast<std::uint32_t>(value.amount));
        StoreU16Be(at + 4, static_cast<std::uint16_t>(value.displayCode));
    }
    static void Load(const char* at, _money& value) noexcept {
        value.amount = static_cast<ZELLong>(LoadU32Be(at));
        value.displayCode = static_cast<short>(LoadU16Be(at + 4));
    }
};

// ---- The buffer -----------------------------------------------------------------------------------------------------

// Results are 0, or -1 with the stream unchanged; a copy without memory has no stream and no positions.
struct StreamBuffer {
    template <typename Value>
    static int Put(ZELStream& to, const Value& value) noexcept;
    // A text: the low 16 bits of its length, then its bytes. -1 also for a negative length and for null with a length
    // other than 0.
    static int Put(ZELStream& to, const char* bytes, int length) noexcept;

    template <typename Value>
    static int Get(ZELStream& from, Value& value) noexcept;
    // A text, in place. When only its length can be read, `length` is set and the read position is after it.
    static int Get(ZELStream& from, const char*& bytes, int& length) noexcept;

    // Two numbers: the start of a term, or a key.
    static int PutPair(ZELStream& to, short first, short second) noexcept;

    // Adds one block. The read position goes to byte 2.
    static int Grow(ZELStream& stream) noexcept;

    // Removes the last `n` bytes, unless nothing would be left after the length word.
    static void Unwrite(ZELStream& stream, int n) noexcept;

    // Writes the length word, and the count word where there is one, and returns the stream, or null without one.
    static char* GetStream(ZELStream& stream) noexcept;
    static char* GetStream(ZELStream& stream, std::uint32_t count) noexcept;

    // Moves both positions past the count word, which filters and sort data have.
    static void ReserveCount(ZELStream& stream) noexcept;

    // Replaces the stream by `length` bytes, at least a header of 4, and sets the count from it. The contents are not
    // checked. The read position does not move.
    static int SetStream(ZELStream& stream, std::uint32_t& count, const char* bytes, int length) noexcept;

    // Copies bytes and positions to another stream. The header is copied as it is.
    static int Copy(ZELStream& to, const ZELStream& from) noexcept;

private:
    static char* Append(ZELStream& to, std::size_t size) noexcept;
    static const char* Take(ZELStream& from, std::size_t size) noexcept;
    static void Hold(ZELStream& stream, char* block, std::size_t size, std::size_t writeAt,
                     std::size_t readAt) noexcept;

    static_assert(offsetof(ZELStream, buffer) == 0 && offsetof(ZELStream, start) == sizeof(void*));
    static_assert(offsetof(ZELStream, writePos) == 2 * sizeof(void*) && offsetof(ZELStream, end) == 3 * sizeof(void*));
    static_assert(offsetof(ZELStream, readPos) == 4 * sizeof(void*));
    static_assert(offsetof(ZELStream, blockSize) == 5 * sizeof(void*));
    static_assert(offsetof(ZELStream, blockCount) == 5 * sizeof(void*) + 4);
};

// Room for the next `size` bytes, which then count as written; null without memory.
inline char* StreamBuffer::Append(ZELStream& to, std::size_t size) noexcept {
    if (to.buffer == nullptr) {
        return nullptr;
    }
    while (size > static_cast<std::size_t>(to.end - to.writePos)) {
        if (Grow(to) != 0) {
            return nullptr;
        }
    }
    char* bytes = to.writePos;
    to.writePos += size;
    return bytes;
}

// The next `size` bytes, or null when fewer are left. The read position may be after the end of the data, because
// loading a shorter stream does not move it.
inline const char* StreamBuffer::Take(ZELStream& from, std::size_t size) noexcept {
    if (from.buffer == nullptr || from.readPos > from.writePos ||
        size > static_cast<std::size_t>(from.writePos - from.readPos)) {
        return nullptr;
    }
    const char* bytes = from.readPos;
    from.readPos += size;
    return bytes;
}

template <typename Value>
int StreamBuffer::Put(ZELStream& to, const Value& value) noexcept {
    char* bytes = Append(to, Encoding<Value>::kSize);
    if (bytes == nullptr) {
        return -1;
    }
    Encoding<Value>::Store(bytes, value);
    return 0;
}

template <typename Value>
int StreamBuffer::Get(ZELStream& from, Value& value) noexcept {
    const char* bytes = Take(from, Encoding<Value>::kSize);
    if (bytes == nullptr) {
        return -1;
    }
    Encoding<Value>::Load(bytes, value);
    return 0;
}

inline int StreamBuffer::Put(ZELStream& to, const char* bytes, int length) noexcept {
    if (length < 0 || (bytes == nullptr && length != 0)) {
        return -1;
    }
    const auto size = static_cast<std::size_t>(length);
    char* room = Append(to, kLengthSize + size);
    if (room == nullptr) {
        return -1;
    }
    StoreU16Be(room, static_cast<std::uint16_t>(length));
    if (size != 0) {
        std::memcpy(room + kLengthSize, bytes, size);
    }
    return 0;
}

inline int StreamBuffer::Get(ZELStream& from, const char*& bytes, int& length) noexcept {
    const char* word = Take(from, kLengthSize);
    if (word == nullptr) {
        return -1;
    }
    length = LoadU16Be(word);
    const char* counted = Take(from, static_cast<std::size_t>(length));
    if (counted == nullptr) {
        return -1;
    }
    bytes = counted;
    return 0;
}

inline int StreamBuffer::PutPair(ZELStream& to, short first, short second) noexcept {
    if (Put(to, first) != 0) {
        return -1;
    }
    if (Put(to, second) != 0) {
        Unwrite(to, Encoding<short>::kSize);
        return -1;
    }
    return 0;
}

}  // namespace zel

#endif  // ZEL_STREAM_STREAM_BUFFER_H
