// The texts below a verb's options: paragraphs, a line each. Lines that begin with two spaces are examples to type.
#ifndef ZEL_TOOLS_VERBS_HELP_TEXT_H
#define ZEL_TOOLS_VERBS_HELP_TEXT_H

#include <string>
#include <vector>

namespace zel::tools {

[[nodiscard]] bool IsExample(const std::string& line);

// The lines of a text, without their ends.
[[nodiscard]] std::vector<std::string> Lines(const std::string& text);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_HELP_TEXT_H
