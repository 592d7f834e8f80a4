// What the types of fields imply: the one table behind the compiler's rules and the provider's check of an image.
#ifndef ZEL_ZELDATA_FIELD_RULES_H
#define ZEL_ZELDATA_FIELD_RULES_H

#include <cstdint>

#include "core/limits.h"
#include "include/zelprovider.h"

namespace zel::image {

// Ids are read as signed numbers of 16 bits.
inline constexpr int kMaxFieldId = 32767;
inline constexpr int kMaxFieldVersion = 15;

// A field of fixed length must fit a payload with its id and its length in front.
inline constexpr int kMaxFixedLength = kMaxPayload - 4;

struct FieldTypeRule {
    ZELFieldType type;
    const char* name;  // in dictionary sources
    int length;        // that the record must state, or kAnyLength
};

inline constexpr int kAnyLength = -1;

inline constexpr FieldTypeRule kFieldTypeRules[] = {
    {kZELShort, "short", 2}, {kZELLong, "long", 4},       {kZELInt, "int", 4},         {kZELChars, "chars", kAnyLength},
    {kZELText, "text", 0},   {kZELFloat, "float", 4},     {kZELDouble, "double", 8},   {kZELDateTime, "datetime", 8},
    {kZELMoney, "money", 6}, {kZELBytes10, "bytes10", 0}, {kZELBytes11, "bytes11", 0},
};

// The rule of a type code, or null.
constexpr const FieldTypeRule* FindFieldTypeRule(std::int64_t type) noexcept {
    for (const FieldTypeRule& rule : kFieldTypeRules) {
        if (rule.type == type) {
            return &rule;
        }
    }
    return nullptr;
}

constexpr bool LengthFits(const FieldTypeRule& rule, std::int64_t length) noexcept {
    return rule.length == kAnyLength ? length >= 1 && length <= kMaxFixedLength : length == rule.length;
}

constexpr bool IsInteger(std::uint16_t type) noexcept {
    return type == kZELShort || type == kZELLong || type == kZELInt;
}

}  // namespace zel::image

#endif  // ZEL_ZELDATA_FIELD_RULES_H
