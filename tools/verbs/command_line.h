// The arguments of the command, parsed by the verbs' records, and the help. The one file that includes the parser's
// library, which takes the compiler seconds.
#ifndef ZEL_TOOLS_VERBS_COMMAND_LINE_H
#define ZEL_TOOLS_VERBS_COMMAND_LINE_H

#include <functional>
#include <string>

#include "tools/verbs/verb.h"

namespace zel::tools {

// The options that every verb has, and `zel` itself.
inline constexpr char kHelpNames[] = "-h,--help";
inline constexpr char kHelpDescription[] = "Show this help";
inline constexpr char kVersionNames[] = "--version";
inline constexpr char kVersionDescription[] = "Show the version, and what the command finds here";

// The end of what is said about wrong usage.
inline constexpr char kSeeHelp[] = "Run with --help for more information.";

// What the arguments ask for: a verb, whose options are set; or, without one, an exit status: all is said then.
struct ParsedCommand {
    const Verb* verb;
    int status;
};

// `version` is called when it is asked for.
[[nodiscard]] ParsedCommand ParseCommandLine(const Verb& command, const std::function<std::string()>& version, int argc,
                                             const char* const* argv);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_COMMAND_LINE_H
