// The whole command, but for the process that it runs in.
#ifndef ZEL_TOOLS_VERBS_COMMAND_H
#define ZEL_TOOLS_VERBS_COMMAND_H

#include "tools/verbs/about.h"

namespace zel::tools {

// Runs the verb that the arguments name, after PrepareStreams and EndWhenMemoryIsOut: the exit status. Everything is
// written when it returns; nothing is thrown.
[[nodiscard]] int RunCommand(int argc, const char* const* argv, const BuildInfo& build) noexcept;

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_COMMAND_H
