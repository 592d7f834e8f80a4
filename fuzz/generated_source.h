// A dictionary source made from an input: the header fields, fields of every type, messages with and without a group.
#ifndef ZEL_FUZZ_GENERATED_SOURCE_H
#define ZEL_FUZZ_GENERATED_SOURCE_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "fuzz/input.h"
#include "tools/dictionary/dictionary_source.h"
#include "tools/text/findings.h"

namespace zel::fuzz {

// An odd source has values here and there that no source may have; others are mostly free of errors.
[[nodiscard]] nlohmann::json GenerateSource(Input& input, bool isOdd);

// A value of any kind, for a place where another one is expected.
[[nodiscard]] nlohmann::json OddValue(Input& input);

// The source checked as the command does it: the findings tell whether it can be built.
[[nodiscard]] tools::DictionarySource CheckedSource(const nlohmann::json& json, tools::Findings& findings);

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_GENERATED_SOURCE_H
