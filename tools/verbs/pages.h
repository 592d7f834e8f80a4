// The manual page, made from the verbs' records.
#ifndef ZEL_TOOLS_VERBS_PAGES_H
#define ZEL_TOOLS_VERBS_PAGES_H

#include <string>

#include "tools/verbs/verb.h"

namespace zel::tools {

// In the language of man(7), all verbs on one page.
[[nodiscard]] std::string ManualPage(const Verb& command, const std::string& version);

// The hidden verb `pages`, which the build runs to write it, and the completions, for this command.
[[nodiscard]] Verb PagesVerb(const Verb& command, const std::string& version);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_PAGES_H
