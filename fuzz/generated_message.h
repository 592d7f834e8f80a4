// Makes a JSON message for a dictionary from an input: most values fit their fields, some are at their limits.
#ifndef ZEL_FUZZ_GENERATED_MESSAGE_H
#define ZEL_FUZZ_GENERATED_MESSAGE_H

#include <string>

#include "fuzz/input.h"
#include "tools/dictionary/catalog.h"

namespace zel::fuzz {

// One line, without a line feed.
[[nodiscard]] std::string GenerateMessage(Input& input, const tools::CatalogMessage& kind);

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_GENERATED_MESSAGE_H
