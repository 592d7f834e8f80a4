// One field's value as JSON and back. Both directions of each type stand side by side.
#ifndef ZEL_TOOLS_TEXT_VALUE_JSON_H
#define ZEL_TOOLS_TEXT_VALUE_JSON_H

#include <cstdint>
#include <cstring>
#include <string>

#include "include/zelmessage.h"
#include "tools/text/json_document.h"
#include "tools/text/value_text.h"

namespace zel::tools {

// What the dictionary says of a field's values.
struct ValueType {
    std::uint16_t type;  // 0: the field is not in the dictionary
    std::int16_t length;
};

void AppendValueJson(std::string& out, const ValueType& type, const _field_data& slot);

// The value as a message holds it in memory. Throws MessageError.
[[nodiscard]] std::string ReadValueJson(const JsonValue& json, const ValueType& type, Reading reading);

// The record or number at a slot's value.
template <typename T>
T ValueAt(const void* value) {
    T result;
    std::memcpy(&result, value, sizeof result);
    return result;
}

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_VALUE_JSON_H
