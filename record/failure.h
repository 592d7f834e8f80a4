// What a failed call says in words.
#ifndef ZEL_RECORD_FAILURE_H
#define ZEL_RECORD_FAILURE_H

#include "record/binding.h"

namespace zel {

// Where a call failed, as far as that is known.
struct FailedAt {
    int fieldId = 0;
    int repetition = -1;
    std::size_t offset = 0;
};

// Fills the failure, which may be null, for a result that is not 0, and returns that.
int Explain(ZELFailure* failure, const ZELBinding* binding, int result, const FailedAt& at) noexcept;

}  // namespace zel

#endif  // ZEL_RECORD_FAILURE_H
