// The options of several verbs that choose a dictionary.
#ifndef ZEL_TOOLS_VERBS_DICTIONARY_OPTION_H
#define ZEL_TOOLS_VERBS_DICTIONARY_OPTION_H

#include <string>

#include "tools/verbs/verb.h"

namespace zel::tools {

// -d, --dictionary: of verbs that work on messages.
[[nodiscard]] VerbOption DictionaryOption(std::string* path);

// The argument IMAGE: of verbs that work on a dictionary.
[[nodiscard]] VerbOption DictionaryArgument(std::string* path);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VERBS_DICTIONARY_OPTION_H
