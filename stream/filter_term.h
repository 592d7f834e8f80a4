// A term of a filter: field id, code of the comparison, value.
#ifndef ZEL_STREAM_FILTER_TERM_H
#define ZEL_STREAM_FILTER_TERM_H

#include "stream/stream_buffer.h"

namespace zel {

// Appends and counts a whole term, or leaves the stream as it was. `value` is what StreamBuffer::Put takes: one value,
// or a text and its length. The code is not checked.
template <typename... Value>
inline int AddTerm(ZELStream& to, std::uint32_t& count, short fieldId, short code, const Value&... value) noexcept {
    if (StreamBuffer::PutPair(to, fieldId, code) != 0) {
        return -1;
    }
    if (StreamBuffer::Put(to, value...) != 0) {
        StreamBuffer::Unwrite(to, 2 * Encoding<short>::kSize);
        return -1;
    }
    ++count;
    return 0;
}

}  // namespace zel

#endif  // ZEL_STREAM_FILTER_TERM_H
