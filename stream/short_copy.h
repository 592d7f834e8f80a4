// Copying texts, most of which are shorter than what a call costs.
#ifndef ZEL_STREAM_SHORT_COPY_H
#define ZEL_STREAM_SHORT_COPY_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zel {

// One or two words' bytes as the first and the last word, which meet or overlap; both are loaded before one is stored.
template <typename Word>
inline void CopyEnds(char* to, const char* from, std::size_t size) noexcept {
    Word first = 0;
    Word last = 0;
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&last, from + size - sizeof last, sizeof last);
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + size - sizeof last, &last, sizeof last);
}

// memmove.
inline void CopyText(char* to, const char* from, std::size_t size) noexcept {
    if (size >= 8 && size <= 16) {
        return CopyEnds<std::uint64_t>(to, from, size);
    }
    if (size >= 4 && size < 8) {
        return CopyEnds<std::uint32_t>(to, from, size);
    }
    std::memmove(to, from, size);
}

}  // namespace zel

#endif  // ZEL_STREAM_SHORT_COPY_H
