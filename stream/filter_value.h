// The text of a filter value: how bytes become one.
#ifndef ZEL_STREAM_FILTER_VALUE_H
#define ZEL_STREAM_FILTER_VALUE_H

#include "include/zelstream.h"

namespace zel {

// Makes `value` the text in `length` bytes, up to their first zero byte if there is one. Answers the bytes that it
// takes with its terminator; -1, with nothing changed, when `length` is more than a value holds.
int SetValueText(FilterValue& value, const char* bytes, int length) noexcept;

}  // namespace zel

#endif  // ZEL_STREAM_FILTER_VALUE_H
