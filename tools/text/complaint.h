// What the command says on standard error. Whatever a complaint quotes comes from outside: it is escaped here, and here
// alone.
#ifndef ZEL_TOOLS_TEXT_COMPLAINT_H
#define ZEL_TOOLS_TEXT_COMPLAINT_H

#include <string>
#include <string_view>

namespace zel::tools {

// The text with an escape, such as \u001b or \xff, for each character that a terminal would obey and for bytes that are
// not UTF-8.
[[nodiscard]] std::string Printable(std::string_view text);

// Writes one line, printable, cut when it is very long.
void Complain(std::string_view text);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_COMPLAINT_H
