// The text of a filter value: counted bytes become one.
#ifndef ZEL_STREAM_FILTER_VALUE_H
#define ZEL_STREAM_FILTER_VALUE_H

#include <cstring>

#include "include/zelprovider.h"
#include "include/zelstream.h"

namespace zel {

// Makes `into` the text in `length` bytes, which are fewer than a value holds and may be a part of its own.
inline void SetValueText(FilterValue& into, const char* bytes, int length) noexcept {
    into.type = kZELText;
    std::memmove(into.value.text, bytes, static_cast<std::size_t>(length));
    into.value.text[length] = '\0';
}

}  // namespace zel

#endif  // ZEL_STREAM_FILTER_VALUE_H
