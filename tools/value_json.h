// One field's value as JSON and back. Both directions of each type stand side by side.
#ifndef ZEL_TOOLS_VALUE_JSON_H
#define ZEL_TOOLS_VALUE_JSON_H

#include <nlohmann/json.hpp>
#include <string>

#include "include/zelmessage.h"
#include "tools/catalog.h"

namespace zel::tools {

void AppendValueJson(std::string& out, const CatalogField& field, const _field_data& slot);

// The value as a message holds it in memory. Throws MessageError.
[[nodiscard]] std::string ReadValueJson(const nlohmann::json& json, const CatalogField& field);

// Money as text that reads back as the same record, or nothing.
[[nodiscard]] bool AppendMoneyText(std::string& out, const _money& money);

// "1999-11-30", "09:05:07", "1999-11-30T09:05:07" or, for a record of zeros, ""; nothing for records that none of
// these stands for. The reverse answers false for other texts.
[[nodiscard]] bool AppendDateTimeText(std::string& out, const _datetime& value);
[[nodiscard]] bool ReadDateTimeText(std::string_view text, _datetime& value);

// The bytes of a text without the zero bytes that fill it up.
[[nodiscard]] std::string_view WithoutPadding(std::string_view bytes);

// The record or number at a slot's value.
template <typename T>
T ValueAt(const void* value) {
    T result;
    std::memcpy(&result, value, sizeof result);
    return result;
}

}  // namespace zel::tools

#endif  // ZEL_TOOLS_VALUE_JSON_H
