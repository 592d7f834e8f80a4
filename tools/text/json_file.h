// JSON files, with comments allowed and a key that stands twice in one object refused.
#ifndef ZEL_TOOLS_TEXT_JSON_FILE_H
#define ZEL_TOOLS_TEXT_JSON_FILE_H

#include <nlohmann/json.hpp>
#include <string>

#include "tools/text/findings.h"

namespace zel::tools {

// The value of a JSON text. Faults go to `findings`; after a syntax error the value is discarded (is_discarded).
[[nodiscard]] nlohmann::json ParseJson(const std::string& text, Findings& findings);

// The same for a file, which may also be unreadable.
[[nodiscard]] nlohmann::json ReadJsonFile(const std::string& path, Findings& findings);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_JSON_FILE_H
