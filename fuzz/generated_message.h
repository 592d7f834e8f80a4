// A message in JSON made from an input, for a dictionary: most values are right for their fields, some at the edges.
#ifndef ZEL_FUZZ_GENERATED_MESSAGE_H
#define ZEL_FUZZ_GENERATED_MESSAGE_H

#include <string>

#include "fuzz/input.h"
#include "tools/dictionary/catalog.h"

namespace zel::fuzz {

// One line without its end.
[[nodiscard]] std::string GenerateMessage(Input& input, const tools::CatalogMessage& kind);

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_GENERATED_MESSAGE_H
