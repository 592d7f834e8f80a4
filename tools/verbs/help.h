// How the command's help looks, for every verb alike. A footer is made of paragraphs, a line each; lines that begin
// with two spaces are examples to type.
#ifndef ZEL_TOOLS_VERBS_HELP_H
#define ZEL_TOOLS_VERBS_HELP_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace zel::tools {

// Sets how help is laid out and arguments are read. Before the first verb is added: verbs inherit both.
void ConfigureApp(CLI::App& app);

// A verb or option that help, manual and completion leave out.
[[nodiscard]] bool IsHidden(const CLI::App& verb);
[[nodiscard]] bool IsHidden(const CLI::Option& option);

[[nodiscard]] bool IsExample(const std::string& line);

// The lines of a text, without their ends.
[[nodiscard]] std::vector<std::string> Lines(const std::string& text);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_HELP_H
