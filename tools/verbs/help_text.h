// The texts below a verb's options: paragraphs, a line each. Lines that begin with two spaces are examples to type.
#ifndef ZEL_TOOLS_VERBS_HELP_TEXT_H
#define ZEL_TOOLS_VERBS_HELP_TEXT_H

#include <cstddef>
#include <string>
#include <vector>

namespace zel::tools {

[[nodiscard]] bool IsExample(const std::string& line);

// The lines of a text, without their ends.
[[nodiscard]] std::vector<std::string> Lines(const std::string& text);

// Breaks a paragraph at blanks. A word that is longer than the line stays whole.
[[nodiscard]] std::string Wrap(const std::string& paragraph, std::size_t width);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_HELP_TEXT_H
