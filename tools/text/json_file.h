// JSON files.
#ifndef ZEL_TOOLS_TEXT_JSON_FILE_H
#define ZEL_TOOLS_TEXT_JSON_FILE_H

#include <string>

#include "tools/text/json_document.h"

namespace zel::tools {

// Reads and parses a file. One that cannot be read is a finding, too.
[[nodiscard]] JsonDocument ReadJsonFile(const std::string& path, Findings& findings);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_JSON_FILE_H
