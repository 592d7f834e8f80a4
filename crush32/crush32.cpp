// The compression library: payloads become raw deflate data, without header or checksum, which every build can read.
// Nothing is read or written outside the lengths that the caller states.
#include "crush32/crush32.h"

#include "crush32/state_pool.h"

namespace {

using zel::crush::kFramingSize;
using zel::crush::kNotExpanded;
using zel::crush::kNotSmaller;
using zel::crush::kUnable;

const Bytef* AsBytes(const char* text) noexcept {
    return reinterpret_cast<const Bytef*>(text);
}
Bytef* AsBytes(char* text) noexcept {
    return reinterpret_cast<Bytef*>(text);
}

// One pass of zlib over a whole buffer, either way. The stream has been reset.
template <typename Step>
bool RunToEnd(Step step, z_stream& stream, const char* source, int sourceLength, char* destination, int room) noexcept {
    stream.next_in = AsBytes(source);
    stream.avail_in = static_cast<uInt>(sourceLength);
    stream.next_out = AsBytes(destination);
    stream.avail_out = static_cast<uInt>(room);
    return step(&stream, Z_FINISH) == Z_STREAM_END;
}

}  // namespace

extern "C" {

void CrushStartUp() noexcept {}

void CrushShutDown() noexcept {
    zel::crush::FreeIdleStates();
}

short CrushBegin() noexcept {
    return 0;
}

int CrushCompress(const char* source, char* destination, int sourceLength) noexcept {
    if (source == nullptr || destination == nullptr || sourceLength < 0) {
        return kUnable;
    }
    const int room = sourceLength - kFramingSize - 1;
    if (room <= 0) {
        return kNotSmaller;
    }
    zel::crush::State* state = zel::crush::TakeState();
    if (state == nullptr) {
        return kUnable;
    }
    z_stream& stream = state->deflater;
    deflateReset(&stream);
    bool ended = RunToEnd(deflate, stream, source, sourceLength, destination, room);
    if (!ended) {
        // When the data fills the room exactly, zlib notices the end only in a call with more room.
        Bytef excess = 0;
        stream.next_out = &excess;
        stream.avail_out = 1;
        ended = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    }
    const int size = static_cast<int>(stream.total_out);
    zel::crush::GiveBackState(state);
    return ended && size <= room ? size : kNotSmaller;
}

short CrushExpand(const char* source, char* destination, int expandedLength, int compressedLength) noexcept {
    if (source == nullptr || destination == nullptr || expandedLength < 0 || compressedLength < 0) {
        return kNotExpanded;
    }
    zel::crush::State* state = zel::crush::TakeState();
    if (state == nullptr) {
        return kNotExpanded;
    }
    z_stream& stream = state->inflater;
    inflateReset(&stream);
    const bool ended = RunToEnd(inflate, stream, source, compressedLength, destination, expandedLength);
    const bool exact = stream.avail_in == 0 && stream.avail_out == 0;
    zel::crush::GiveBackState(state);
    return ended && exact ? short{0} : kNotExpanded;
}

void CrushEnd() noexcept {}

}  // extern "C"
