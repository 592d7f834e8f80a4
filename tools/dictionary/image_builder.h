// The compiler's back end: a dictionary source that has no errors, as the bytes of an image.
#ifndef ZEL_TOOLS_DICTIONARY_IMAGE_BUILDER_H
#define ZEL_TOOLS_DICTIONARY_IMAGE_BUILDER_H

#include <vector>

#include "tools/dictionary/dictionary_source.h"

namespace zel::tools {

// Throws std::runtime_error when the names cannot be laid out in a table.
[[nodiscard]] std::vector<char> BuildDictionaryImage(const DictionarySource& dictionary);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_IMAGE_BUILDER_H
