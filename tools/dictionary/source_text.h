// A dictionary source as JSON text.
#ifndef ZEL_TOOLS_DICTIONARY_SOURCE_TEXT_H
#define ZEL_TOOLS_DICTIONARY_SOURCE_TEXT_H

#include <string>

#include "tools/dictionary/dictionary_source.h"

namespace zel::tools {

// The JSON text that `zel dict build` reads, one field a line. Text that is no UTF-8 has replacement characters.
[[nodiscard]] std::string SourceText(const DictionarySource& dictionary);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_SOURCE_TEXT_H
