// The verb `zel encode`.
#ifndef ZEL_TOOLS_VERBS_ENCODE_H
#define ZEL_TOOLS_VERBS_ENCODE_H

#include <CLI/CLI.hpp>

namespace zel::tools {

// Adds the verb; it runs while the arguments are parsed, when they choose it, and sets the exit status.
void AddEncodeCommand(CLI::App& app, int& status);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_ENCODE_H
