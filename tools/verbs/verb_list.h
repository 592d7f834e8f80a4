// All verbs that are shown, one after the other, and the names of their options: for the pages made of them.
#ifndef ZEL_TOOLS_VERBS_VERB_LIST_H
#define ZEL_TOOLS_VERBS_VERB_LIST_H

#include <cstddef>
#include <string>
#include <vector>

#include "tools/verbs/verb.h"

namespace zel::tools {

// A verb with its full name, "zel dict build".
struct NamedVerb {
    std::string name;
    const Verb* verb;
};

// Every verb that is shown, each before those below it.
[[nodiscard]] std::vector<NamedVerb> AllVerbs(const Verb& command);

[[nodiscard]] bool IsArgument(const VerbOption& option);

// The names of an option that begin with just this many dashes, without them.
[[nodiscard]] std::vector<std::string> NamesWithDashes(const std::string& names, std::size_t dashes);

// The verb's options and those that all have; the command's own has one more.
[[nodiscard]] std::vector<VerbOption> OptionsOf(const Verb& verb, bool isCommand);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_VERB_LIST_H
