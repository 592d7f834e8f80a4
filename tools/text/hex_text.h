// Bytes as hex digits and back.
#ifndef ZEL_TOOLS_TEXT_HEX_TEXT_H
#define ZEL_TOOLS_TEXT_HEX_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zel::tools {

// The value of a digit, or -1.
[[nodiscard]] int HexDigit(char digit) noexcept;
// Whether there are digits and nothing else.
[[nodiscard]] bool IsHex(std::string_view text);

inline constexpr char kLowerHex[] = "0123456789abcdef";
inline constexpr char kUpperHex[] = "0123456789ABCDEF";

// "01302d"
void AppendHex(std::string& out, const char* bytes, std::size_t size);
// "01 30 2D"
void AppendSpacedHex(std::string& out, const char* bytes, std::size_t size, const char* digits = kUpperHex);

// The reverse of AppendHex, in either case of letters: false, with `bytes` unchanged, for anything else.
[[nodiscard]] bool ParseHex(std::string_view digits, std::string& bytes);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_HEX_TEXT_H
