// One field's value as JSON and back. Both directions of each type stand side by side.
#ifndef ZEL_TOOLS_VALUE_JSON_H
#define ZEL_TOOLS_VALUE_JSON_H

#include <cstring>
#include <nlohmann/json.hpp>
#include <string>

#include "include/zelmessage.h"
#include "tools/catalog.h"

namespace zel::tools {

void AppendValueJson(std::string& out, const CatalogField& field, const _field_data& slot);

// The value as a message holds it in memory. Throws MessageError.
[[nodiscard]] std::string ReadValueJson(const nlohmann::json& json, const CatalogField& field);

// The record or number at a slot's value.
template <typename T>
T ValueAt(const void* value) {
    T result;
    std::memcpy(&result, value, sizeof result);
    return result;
}

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VALUE_JSON_H
