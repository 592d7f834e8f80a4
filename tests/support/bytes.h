// Bytes as annotated hex: "00 0C | 12 34" and back.
#ifndef ZEL_TESTS_SUPPORT_BYTES_H
#define ZEL_TESTS_SUPPORT_BYTES_H

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace zel::test {

inline std::string FromHex(std::string_view text) {
    std::string bytes;
    std::string digits;
    for (const char c : text) {
        if (std::strchr("0123456789ABCDEFabcdef", c) != nullptr) {
            digits += c;
        }
        if (digits.size() == 2) {
            bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
            digits.clear();
        }
    }
    return bytes;
}

inline std::string ToHex(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        constexpr char kDigits[] = "0123456789ABCDEF";
        text += text.empty() ? "" : " ";
        text += kDigits[static_cast<unsigned char>(c) >> 4];
        text += kDigits[static_cast<unsigned char>(c) & 0xF];
    }
    return text;
}

// A heap copy of exactly this size, so that a sanitizer sees a read after it.
struct ExactCopy {
    explicit ExactCopy(std::string_view bytes) : data(new char[bytes.size()]), size(bytes.size()) {
        std::memcpy(data.get(), bytes.data(), size);
    }
    std::unique_ptr<char[]> data;
    std::size_t size;
};

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_BYTES_H
