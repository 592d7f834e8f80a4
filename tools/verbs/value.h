// The verbs of `zel value`: texts as the records that travel, and every way in which those are shown.
#ifndef ZEL_TOOLS_VERBS_VALUE_H
#define ZEL_TOOLS_VERBS_VALUE_H

#include <CLI/CLI.hpp>

namespace zel::tools {

// Adds the verbs; the one that the arguments choose runs while they are parsed and sets the exit status.
void AddValueCommand(CLI::App& app, int& status);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_VALUE_H
