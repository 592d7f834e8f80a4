#include "core/tables/header_fields.h"

#include "core/tables/field_shape.h"

namespace zel {

namespace {

HeaderRules rulesInUse{};

}  // namespace

bool FitsHeaderField(unsigned short fieldId, std::uint16_t type) noexcept {
    if (fieldId == kVarUserData) {
        return ShapeOf(type) == Shape::kCounted;
    }
    return kHeaderFields[fieldId].width == 2 ? type == kZELShort : type == kZELLong || type == kZELInt;
}

const HeaderRules& HeaderRulesInUse() noexcept {
    return rulesInUse;
}

void SetHeaderRules() noexcept {
    rulesInUse.areUsual = true;
    for (unsigned short id = kFlags; id <= kVarUserData; ++id) {
        const FieldRule& rule = rulesInUse.rules[id] = FindRule(id);
        const bool isUsual = FitsHeaderField(id, rule.type) && rule.length == kHeaderFields[id].width;
        rulesInUse.areUsual = rulesInUse.areUsual && (isUsual || id == kVarUserData);
    }
}

}  // namespace zel
