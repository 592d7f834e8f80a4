// Random dictionary sources: the header fields, fields of every type, messages with and without a group.
#ifndef ZEL_FUZZ_RANDOM_SOURCE_H
#define ZEL_FUZZ_RANDOM_SOURCE_H

#include <optional>
#include <string>
#include <vector>

#include "tests/support/random.h"
#include "tools/text/findings.h"

namespace zel::fuzz {

// An odd source has values here and there that no source may have; others are mostly free of errors.
[[nodiscard]] std::string RandomSource(test::Random& random, bool isOdd);

// The image that the source compiles to, or none when there are errors among the findings.
[[nodiscard]] std::optional<std::vector<char>> Compile(const std::string& text, tools::Findings& findings);

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_RANDOM_SOURCE_H
