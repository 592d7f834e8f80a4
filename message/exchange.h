// What a message object does around building and unpacking, for whoever does the same without an object.
#ifndef ZEL_MESSAGE_EXCHANGE_H
#define ZEL_MESSAGE_EXCHANGE_H

#include <climits>

#include "core/message_validate.h"

namespace zel {

// Of a received message. The count alone decides how many slots are made, whatever its message's size. Written by
// ZELSetMostRepetitions.
inline short mostRepetitions = SHRT_MAX;

// The report that ends every failed build.
void ReportNotBuilt(short serviceIdLow) noexcept;

// Reads header and repeat count of the message at `in`: 0, or -1, reported up to 1432, with nothing owned.
int OpenReceived(const char* in, long length, ReceivedMessage& received, short* repeatCount) noexcept;

// Creates its message in place of `previous`, which may be null and is gone in any case, and fills it. Null on failure,
// reported up to 1434 or 1437.
ZelMsgStruct* UnpackReceived(ZelMsgStruct* previous, ReceivedMessage& received, short repeatCount) noexcept;

}  // namespace zel

#endif  // ZEL_MESSAGE_EXCHANGE_H
