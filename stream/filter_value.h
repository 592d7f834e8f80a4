// Setting the text of a filter value.
#ifndef ZEL_STREAM_FILTER_VALUE_H
#define ZEL_STREAM_FILTER_VALUE_H

#include <cstring>

#include "include/zelprovider.h"
#include "include/zelstream.h"

namespace zel {

// Sets `into` to the text of `length` bytes. They must fit, and may be part of `into` itself.
inline void SetValueText(FilterValue& into, const char* bytes, int length) noexcept {
    into.type = kZELText;
    std::memmove(into.value.text, bytes, static_cast<std::size_t>(length));
    into.value.text[length] = '\0';
}

}  // namespace zel

#endif  // ZEL_STREAM_FILTER_VALUE_H
