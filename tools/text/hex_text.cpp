#include "tools/text/hex_text.h"

#include <algorithm>

#include "runtime/digits.h"

namespace zel::tools {

namespace {

void AppendPairs(std::string& out, const char* bytes, std::size_t size, const char* digits, bool spaced) {
    std::size_t at = out.size();
    out.resize(at + size * (spaced ? 3 : 2), ' ');
    for (std::size_t i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        out[at++] = digits[byte >> 4U];
        out[at++] = digits[byte & 15U];
        at += spaced ? 1 : 0;
    }
    if (spaced && size != 0) {
        out.pop_back();
    }
}

}  // namespace

int HexDigit(char digit) noexcept {
    if (IsDigit(digit)) {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

bool IsHex(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return HexDigit(c) >= 0; });
}

void AppendHex(std::string& out, const char* bytes, std::size_t size) {
    AppendPairs(out, bytes, size, kLowerHex, false);
}

void AppendSpacedHex(std::string& out, const char* bytes, std::size_t size, const char* digits) {
    AppendPairs(out, bytes, size, digits, true);
}

bool ParseHex(std::string_view digits, std::string& bytes) {
    if (digits.size() % 2 != 0 || (!digits.empty() && !IsHex(digits))) {
        return false;
    }
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(HexDigit(digits[i]) * 16 + HexDigit(digits[i + 1]));
    }
    return true;
}

}  // namespace zel::tools
