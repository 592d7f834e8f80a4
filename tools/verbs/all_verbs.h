// The verbs of the command. To add one, write a file with its function, declare the function here, and list it in
// all_verbs.cpp or in its group.
#ifndef ZEL_TOOLS_VERBS_ALL_VERBS_H
#define ZEL_TOOLS_VERBS_ALL_VERBS_H

#include "tools/verbs/verb.h"

namespace zel::tools {

// `zel` itself, with every verb that users see.
[[nodiscard]] Verb ZelCommand();

[[nodiscard]] Verb DecodeVerb();
[[nodiscard]] Verb EncodeVerb();
[[nodiscard]] Verb DictVerb();
[[nodiscard]] Verb DictBuildVerb();
[[nodiscard]] Verb DictCheckVerb();
[[nodiscard]] Verb DictShowVerb();
[[nodiscard]] Verb DictDiffVerb();
[[nodiscard]] Verb DictHeaderVerb();
[[nodiscard]] Verb DictWiresharkVerb();
[[nodiscard]] Verb DiffVerb();
[[nodiscard]] Verb ExplainVerb();
[[nodiscard]] Verb SampleVerb();
[[nodiscard]] Verb ValueVerb();
[[nodiscard]] Verb ValueStreamVerb();

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_ALL_VERBS_H
