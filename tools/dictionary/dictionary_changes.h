// What changed between two dictionaries, and which formats of the wire no longer fit between a program that uses the
// one and a program that uses the other.
#ifndef ZEL_TOOLS_DICTIONARY_DICTIONARY_CHANGES_H
#define ZEL_TOOLS_DICTIONARY_DICTIONARY_CHANGES_H

#include <vector>

#include "tools/dictionary/change.h"
#include "tools/dictionary/dictionary_source.h"

namespace zel::tools {

// Fields are matched by their ids and messages by type and sub-type, as on the wire.
[[nodiscard]] std::vector<Change> CompareDictionaries(const DictionarySource& before, const DictionarySource& after);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_DICTIONARY_CHANGES_H
