// What the user may have meant by a verb that there is not.
#ifndef ZEL_TOOLS_VERBS_NEAREST_VERB_H
#define ZEL_TOOLS_VERBS_NEAREST_VERB_H

#include <string>

#include "tools/verbs/verb.h"

namespace zel::tools {

// What is wrong with the first words of the arguments: "there is no verb 'zel dceode'; did you mean 'zel decode'?", or
// that they name none. Empty when they do, or when an option stands before it.
[[nodiscard]] std::string VerbFault(const Verb& command, int argc, const char* const* argv);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_NEAREST_VERB_H
