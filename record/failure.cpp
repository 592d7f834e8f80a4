#include "record/failure.h"

#include <cstdio>

namespace zel {

namespace {

// The codes of reports that have no meaning of their own are no results.
const char* MeaningOf(int result) noexcept {
    const char* meaning = ZELExplain(result);
    return *meaning != '\0' ? meaning : "see the report that the error sink got";
}

const FieldName* NameOf(const ZELBinding* binding, int fieldId) noexcept {
    const int count = binding != nullptr ? binding->plan->entryCount : 0;
    for (int at = 0; at < count; ++at) {
        if (binding->steps[at].rule.id == fieldId) {
            return &binding->names[at];
        }
    }
    return nullptr;
}

}  // namespace

int Explain(ZELFailure* failure, const ZELBinding* binding, int result, const FailedAt& at) noexcept {
    if (failure == nullptr) {
        return result;
    }
    failure->result = result;
    failure->fieldId = at.fieldId;
    failure->repetition = at.repetition;
    failure->offset = static_cast<std::uint32_t>(at.offset);
    char where[100] = "";
    if (at.fieldId != 0) {
        const FieldName* name = NameOf(binding, at.fieldId);
        const int length =
            std::snprintf(where, sizeof where, "%s (%d)", name != nullptr ? name->text : "field", at.fieldId);
        if (at.repetition >= 0) {
            const auto used = static_cast<std::size_t>(length);
            (void)std::snprintf(where + used, sizeof where - used, " of repetition %d", at.repetition);
        }
    }
    (void)std::snprintf(failure->text, sizeof failure->text, "%s%s%s", where, *where != '\0' ? ": " : "",
                        MeaningOf(result));
    return result;
}

}  // namespace zel
