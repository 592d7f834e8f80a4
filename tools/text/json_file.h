// JSON files, with comments allowed and a key that stands twice in one object refused.
#ifndef ZEL_TOOLS_TEXT_JSON_FILE_H
#define ZEL_TOOLS_TEXT_JSON_FILE_H

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "tools/text/findings.h"

namespace zel::tools {

// The value of a JSON text. Faults go to `findings`; after a syntax error the value is discarded (is_discarded).
[[nodiscard]] nlohmann::json ParseJson(const std::string& text, Findings& findings);

// Reads and parses a file. One that cannot be read is a finding too.
[[nodiscard]] nlohmann::json ReadJsonFile(const std::string& path, Findings& findings);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_JSON_FILE_H
