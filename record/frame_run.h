// Frames in a stream of bytes, one or many.
#ifndef ZEL_RECORD_FRAME_RUN_H
#define ZEL_RECORD_FRAME_RUN_H

#include "record/record_general.h"

namespace zel {

// Unpacks a message into the record: 0, or the result, reported where that is below 2000.
int UnpackMessage(const ZELBinding& binding, const Unpacking& unpacking, FailedAt& at) noexcept;

// The same for the whole frame at `frame`.
int UnpackFrame(const ZELBinding& binding, const char* frame, char* record, ZELReading& reading, Scratch& scratch,
                FailedAt& at) noexcept;

}  // namespace zel

#endif  // ZEL_RECORD_FRAME_RUN_H
