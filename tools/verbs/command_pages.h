// The manual page and the shell completion, made from the command's own verbs, options and help.
#ifndef ZEL_TOOLS_VERBS_COMMAND_PAGES_H
#define ZEL_TOOLS_VERBS_COMMAND_PAGES_H

#include <CLI/CLI.hpp>
#include <string>

namespace zel::tools {

// The page in the language of man(7), all verbs in it.
[[nodiscard]] std::string ManualPage(const CLI::App& app, const std::string& version);

// A script for bash.
[[nodiscard]] std::string BashCompletion(const CLI::App& app);

// Adds the hidden verb `pages`, which the build runs; it covers every verb that `app` has by then.
void AddPagesCommand(CLI::App& app, const std::string& version);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_COMMAND_PAGES_H
