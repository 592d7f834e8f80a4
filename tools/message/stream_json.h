// Filter and sort data that travel in a field, as JSON and back:
//   {"filter":[{"field":"QUANTITY","is":">=","value":1000}]}     {"sort":[{"field":"LIMIT_PRICE","order":2}]}
#ifndef ZEL_TOOLS_MESSAGE_STREAM_JSON_H
#define ZEL_TOOLS_MESSAGE_STREAM_JSON_H

#include <string>
#include <string_view>

#include "tools/dictionary/catalog.h"
#include "tools/text/json_document.h"
#include "tools/text/value_text.h"

namespace zel::tools {

// False, with nothing appended, when the bytes are not just a filter or sort data over fields of the dictionary.
[[nodiscard]] bool AppendStreamJson(std::string& out, const Catalog& catalog, std::string_view bytes);

// True for an object that is meant as one of the two.
[[nodiscard]] bool IsStreamJson(const JsonValue& json);

// The bytes. Throws MessageError.
[[nodiscard]] std::string ReadStreamJson(const JsonValue& json, const Catalog& catalog, Reading reading);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_STREAM_JSON_H
