// Heap copies of exactly the given size, so that the sanitizer sees the first byte read after them.
#ifndef ZEL_FUZZ_EXACT_COPY_H
#define ZEL_FUZZ_EXACT_COPY_H

#include <memory>
#include <string_view>

namespace zel::fuzz {

inline std::unique_ptr<char[]> ExactCopy(std::string_view bytes) {
    auto copy = std::make_unique<char[]>(bytes.size());
    bytes.copy(copy.get(), bytes.size());
    return copy;
}

// A text up to and including its first zero byte.
inline std::unique_ptr<char[]> ExactText(std::string_view bytes) {
    const std::string_view text = bytes.substr(0, bytes.find('\0'));
    auto copy = std::make_unique<char[]>(text.size() + 1);
    text.copy(copy.get(), text.size());
    return copy;
}

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_EXACT_COPY_H
