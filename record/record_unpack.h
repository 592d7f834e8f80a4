// A message into a record.
#ifndef ZEL_RECORD_RECORD_UNPACK_H
#define ZEL_RECORD_RECORD_UNPACK_H

#include "record/record_general.h"

namespace zel {

// Unpacks a message into the record: 0, or the result, reported where that is below 2000.
int UnpackMessage(const ZELBinding& binding, const Unpacking& unpacking, FailedAt& at) noexcept;

}  // namespace zel

#endif  // ZEL_RECORD_RECORD_UNPACK_H
