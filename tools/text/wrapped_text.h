// Texts in columns: how many they take, and how they are broken. Texts are UTF-8.
#ifndef ZEL_TOOLS_TEXT_WRAPPED_TEXT_H
#define ZEL_TOOLS_TEXT_WRAPPED_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zel::tools {

// One for each character.
[[nodiscard]] std::size_t Columns(std::string_view text);

// Breaks a paragraph at blanks. A word that is longer than the line stays whole.
[[nodiscard]] std::string Wrap(const std::string& paragraph, std::size_t width);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_WRAPPED_TEXT_H
