// Members of JSON objects, read with a finding for each one that is missing, unknown or not what was expected.
#ifndef ZEL_TOOLS_TEXT_JSON_MEMBERS_H
#define ZEL_TOOLS_TEXT_JSON_MEMBERS_H

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "tools/text/findings.h"
#include "tools/text/json_document.h"

namespace zel::tools {

// The value as a report shows it: as it stands in its text, cut when long; and a text as it would stand there.
[[nodiscard]] std::string Shown(const JsonValue& value);
[[nodiscard]] std::string Shown(std::string_view text);

[[nodiscard]] std::string MemberPlace(const std::string& place, std::string_view key);
[[nodiscard]] std::string ElementPlace(const std::string& place, std::size_t index);

// False with a finding when the value is no object; members with other keys than these are findings too.
bool ExpectObject(const JsonValue& value, const std::string& place, std::initializer_list<const char*> keys,
                  Findings& findings);

// The member's array, or none with a finding.
[[nodiscard]] JsonValue ReadArray(const JsonValue& object, const std::string& place, const char* key,
                                  Findings& findings);

// The member's text; `whenMissing` when there is none. Without that a text that is missing or empty is a finding.
[[nodiscard]] std::string ReadText(const JsonValue& object, const std::string& place, const char* key,
                                   const std::optional<std::string>& whenMissing, Findings& findings);

// The member's whole number in [least, most], or nothing with a finding; `whenMissing` likewise.
[[nodiscard]] std::optional<std::int64_t> ReadNumber(const JsonValue& object, const std::string& place, const char* key,
                                                     std::int64_t least, std::int64_t most,
                                                     std::optional<std::int64_t> whenMissing, Findings& findings);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_JSON_MEMBERS_H
