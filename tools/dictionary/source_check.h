// The rules that a dictionary source must keep beyond its shape: what the message library could not serve is an error,
// what it serves in a way that surprises is a warning.
#ifndef ZEL_TOOLS_DICTIONARY_SOURCE_CHECK_H
#define ZEL_TOOLS_DICTIONARY_SOURCE_CHECK_H

#include "tools/dictionary/dictionary_source.h"
#include "tools/text/findings.h"

namespace zel::tools {

void CheckDictionary(const DictionarySource& dictionary, Findings& findings);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_SOURCE_CHECK_H
