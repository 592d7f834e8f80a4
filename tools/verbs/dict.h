// The verbs of `zel dict`: build, check, show, diff, wireshark.
#ifndef ZEL_TOOLS_VERBS_DICT_H
#define ZEL_TOOLS_VERBS_DICT_H

#include <CLI/CLI.hpp>

namespace zel::tools {

// Adds the verbs; the one that the arguments choose runs while they are parsed and sets the exit status.
void AddDictCommand(CLI::App& app, int& status);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_DICT_H
