// What the types of fields imply: the one table behind the compiler's rules and the provider's check of an image.
#ifndef ZEL_ZELDATA_FIELD_RULES_H
#define ZEL_ZELDATA_FIELD_RULES_H

#include <cstdint>

#include "include/zelmessage.h"
#include "include/zelprovider.h"

namespace zel::image {

// Ids are read as signed numbers of 16 bits.
inline constexpr int kMaxFieldId = 32767;
inline constexpr int kMaxFieldVersion = 15;

// A field of fixed length must fit a payload with its id and its length in front.
inline constexpr int kMaxFixedLength = kZELMaxPayload - 4;

inline constexpr int kAnyLength = -1;

struct FieldTypeRule {
    const char* name;  // in dictionary sources
    ZELFieldType type;
    int length;  // that the record must state, or kAnyLength
};

inline constexpr FieldTypeRule kFieldTypeRules[] = {
    {"short", kZELShort, 2}, {"long", kZELLong, 4},       {"int", kZELInt, 4},         {"chars", kZELChars, kAnyLength},
    {"text", kZELText, 0},   {"float", kZELFloat, 4},     {"double", kZELDouble, 8},   {"datetime", kZELDateTime, 8},
    {"money", kZELMoney, 6}, {"bytes10", kZELBytes10, 0}, {"bytes11", kZELBytes11, 0},
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
