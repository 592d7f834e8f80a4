#include "core/tables/header_fields.h"

namespace zel {

namespace {

HeaderRules rulesInUse{};

}  // namespace

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
