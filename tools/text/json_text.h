// JSON written straight into a buffer: texts, numbers and bytes, each so that reading gives back the same.
#ifndef ZEL_TOOLS_TEXT_JSON_TEXT_H
#define ZEL_TOOLS_TEXT_JSON_TEXT_H

#include <array>
#include <charconv>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace zel::tools {

template <std::integral Number>
void AppendNumber(std::string& out, Number number) {
    std::array<char, 24> digits;
    const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    out.append(digits.data(), static_cast<std::size_t>(end - digits.data()));
}

// The fewest digits that mean this number and no other; "NaN", "Infinity" or "-Infinity" in quotes for what JSON has
// no number for; and {"hex":...} with its bits for a NaN other than the one that arithmetic gives. They take bits
// because a NaN may change when it is handed on as a number.
void AppendFloat(std::string& out, std::uint32_t bits);
void AppendDouble(std::string& out, std::uint64_t bits);

// How many bytes the character at the start of a text has; 0: it is none of UTF-8.
[[nodiscard]] std::size_t CharacterSize(std::string_view text);

[[nodiscard]] bool IsUtf8(std::string_view text);

// A text in quotes; {"hex":...} with its bytes when they are not UTF-8.
void AppendText(std::string& out, std::string_view text);

// {"hex":"01302d"}
void AppendHexObject(std::string& out, std::string_view bytes);

// What stands between the quotes: for UTF-8 texts.
void AppendEscaped(std::string& out, std::string_view text);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_JSON_TEXT_H
