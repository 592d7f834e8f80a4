// Makes a dictionary source from an input: the header fields, fields of every type, messages with and without a group.
#ifndef ZEL_FUZZ_GENERATED_SOURCE_H
#define ZEL_FUZZ_GENERATED_SOURCE_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "fuzz/input.h"
#include "tools/dictionary/dictionary_source.h"
#include "tools/text/findings.h"

namespace zel::fuzz {

// An odd source has some invalid values; others have few errors.
[[nodiscard]] nlohmann::json GenerateSource(Input& input, bool isOdd);

// A value of any kind, to replace the expected one.
[[nodiscard]] nlohmann::json OddValue(Input& input);

// Checks the source like the command does; the findings tell whether it can be built.
[[nodiscard]] tools::DictionarySource CheckedSource(const nlohmann::json& json, tools::Findings& findings);

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_GENERATED_SOURCE_H
