// What a dictionary may say of a field, by its type: for `zel dict build` and for the provider's check of an image.
#ifndef ZEL_ZELDATA_FIELD_RULES_H
#define ZEL_ZELDATA_FIELD_RULES_H

#include <cstdint>

#include "core/tables/field_shape.h"
#include "include/zelmessage.h"

namespace zel::image {

// Ids are read as signed numbers of 16 bits.
inline constexpr int kMaxFieldId = 32767;
inline constexpr int kMaxFieldVersion = 15;

// A payload must have room for the field with its id and its length.
inline constexpr int kMaxFixedLength = kZELMaxPayload - 4;

inline constexpr int kAnyLength = -1;

struct FieldTypeRule {
    const char* name;  // in dictionary sources
    ZELFieldType type;
    int length;  // that the record must state, or kAnyLength
};

constexpr FieldTypeRule RuleOf(const char* name, ZELFieldType type) noexcept {
    return {name, type, type == kZELChars ? kAnyLength : FixedWireSize(ShapeOf(type))};
}

inline constexpr FieldTypeRule kFieldTypeRules[] = {
    RuleOf("short", kZELShort),     RuleOf("long", kZELLong),         RuleOf("int", kZELInt),
    RuleOf("chars", kZELChars),     RuleOf("text", kZELText),         RuleOf("float", kZELFloat),
    RuleOf("double", kZELDouble),   RuleOf("datetime", kZELDateTime), RuleOf("money", kZELMoney),
    RuleOf("bytes10", kZELBytes10), RuleOf("bytes11", kZELBytes11),
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
