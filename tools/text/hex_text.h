// Bytes as hex digits: written as a line of pairs, and read from dumps as they stand in logs.
#ifndef ZEL_TOOLS_TEXT_HEX_TEXT_H
#define ZEL_TOOLS_TEXT_HEX_TEXT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "tools/io/byte_input.h"

namespace zel::tools {

// The value of a digit, or -1.
[[nodiscard]] int HexDigit(char digit) noexcept;

inline constexpr char kLowerHex[] = "0123456789abcdef";
inline constexpr char kUpperHex[] = "0123456789ABCDEF";

// "01302d"
void AppendHex(std::string& out, const char* bytes, std::size_t size);
// "01 30 2D"
void AppendSpacedHex(std::string& out, const char* bytes, std::size_t size, const char* digits = kUpperHex);

// The reverse of AppendHex, in either case of letters: false, with `bytes` unchanged, for anything else.
[[nodiscard]] bool ParseHex(std::string_view digits, std::string& bytes);

// Reads one line of a dump after the other. A line is an offset (optional), groups of digits, and a column of text
// (optional, after two spaces or between "|"). Empty lines and those that start with "#" hold nothing.
class HexLines {
public:
    // Appends the line's bytes. False with `fault` set and nothing appended when the line cannot be read.
    bool Read(std::string_view line, std::string& bytes, std::string& fault);

private:
    [[nodiscard]] bool IsCount(std::string_view token) const;
    std::string_view SkipOffset(std::string_view line);

    std::uint64_t count_ = 0;  // bytes since the dump's start
};

// The bytes of a hex text. Lines that cannot be read are left out and told to `complain`.
[[nodiscard]] ByteInput HexInput(ByteInput text, std::function<void(const std::string&)> complain);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_HEX_TEXT_H
