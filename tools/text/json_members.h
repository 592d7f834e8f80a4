// Members of JSON objects, read with a finding for each one that is missing, unknown or not what was expected.
#ifndef ZEL_TOOLS_TEXT_JSON_MEMBERS_H
#define ZEL_TOOLS_TEXT_JSON_MEMBERS_H

#include <cstdint>
#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "tools/text/findings.h"

namespace zel::tools {

// The value as a report shows it: its JSON text, cut when long.
[[nodiscard]] std::string Shown(const nlohmann::json& value);

[[nodiscard]] std::string MemberPlace(const std::string& place, const char* key);
[[nodiscard]] std::string ElementPlace(const std::string& place, std::size_t index);

// False with a finding when the value is no object; members with other keys than these are findings too.
bool ExpectObject(const nlohmann::json& value, const std::string& place, std::initializer_list<const char*> keys,
                  Findings& findings);

// The member's array, or an empty one with a finding.
[[nodiscard]] const nlohmann::json& ReadArray(const nlohmann::json& object, const std::string& place, const char* key,
                                              Findings& findings);

// The member's text; `whenMissing` when there is none. Without that a text that is missing or empty is a finding.
[[nodiscard]] std::string ReadText(const nlohmann::json& object, const std::string& place, const char* key,
                                   const std::optional<std::string>& whenMissing, Findings& findings);

// The member's whole number in [least, most], or nothing with a finding; `whenMissing` likewise.
[[nodiscard]] std::optional<std::int64_t> ReadNumber(const nlohmann::json& object, const std::string& place,
                                                     const char* key, std::int64_t least, std::int64_t most,
                                                     std::optional<std::int64_t> whenMissing, Findings& findings);

// The value as a whole number, or nothing when it is none or too large.
[[nodiscard]] std::optional<std::int64_t> WholeNumber(const nlohmann::json& value);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_JSON_MEMBERS_H
