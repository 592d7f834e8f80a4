// The verb `zel decode`.
#ifndef ZEL_TOOLS_VERBS_DECODE_H
#define ZEL_TOOLS_VERBS_DECODE_H

#include <CLI/CLI.hpp>

namespace zel::tools {

// Adds the verb; it runs while the arguments are parsed, when they choose it, and sets the exit status.
void AddDecodeCommand(CLI::App& app, int& status);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_DECODE_H
