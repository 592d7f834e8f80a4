// What shells complete, made from the verbs' records. Names of messages and fields come from the command itself, which
// reads the dictionary that is named on the line, or else the provider's.
#ifndef ZEL_TOOLS_VERBS_COMPLETION_H
#define ZEL_TOOLS_VERBS_COMPLETION_H

#include <string>

#include "tools/verbs/verb.h"

namespace zel::tools {

[[nodiscard]] std::string BashCompletion(const Verb& command);
[[nodiscard]] std::string ZshCompletion(const Verb& command);
[[nodiscard]] std::string FishCompletion(const Verb& command);

// The hidden verb `names`, which lists the names of a dictionary.
[[nodiscard]] Verb NamesVerb();

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_COMPLETION_H
