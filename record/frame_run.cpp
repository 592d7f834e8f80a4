#include "record/frame_run.h"

#include "core/wire/frame.h"
#include "core/wire/header.h"

namespace zel {

namespace {

// What the shortest frame takes: enough to see which frame it is.
constexpr std::size_t kShortestFrame = 4;

}  // namespace

int UnpackFrame(const ZELBinding& binding, const char* frame, char* record, ZELReading& reading, Scratch& scratch,
                FailedAt& at) noexcept {
    long length = 0;
    short format = 0;
    // The caller has found the frame.
    (void)ReadFrame(frame, &length, &format);
    const int offset = MessageOffset(format);
    const int result = UnpackMessage(binding, {frame + offset, length, record, reading, scratch}, at);
    at.offset += at.offset != 0 ? static_cast<std::size_t>(offset) : 0;
    if (result == 0 && reading.envelope != nullptr) {
        reading.envelope->frameKind = format == kShortFrame ? ZEL_FRAME_SHORT : ZEL_FRAME_LONG;
    }
    return result;
}

}  // namespace zel

extern "C" int ZELFindFrame(const void* bytes, size_t length, size_t* size) noexcept {
    using namespace zel;
    if (bytes == nullptr || size == nullptr) {
        return ZEL_BAD_ARGUMENT;
    }
    const auto* frame = static_cast<const char*>(bytes);
    *size = 0;
    if (length > 0 && frame[0] != kSoh) {
        return ZEL_NO_FRAME;
    }
    const int format = length > 1 ? static_cast<unsigned char>(frame[1]) >> 4 : kShortFrame;
    if (format != kShortFrame && format != kLongFrame) {
        return ZEL_NO_FRAME;
    }
    const auto head = length > 1 ? static_cast<std::size_t>(MessageOffset(static_cast<short>(format))) : kShortestFrame;
    if (length < head) {
        *size = head;
        return ZEL_INCOMPLETE;
    }
    long messageLength = 0;
    short frameFormat = 0;
    if (ReadFrame(frame, &messageLength, &frameFormat) != 0 || messageLength < 0 ||
        static_cast<std::size_t>(messageLength) > kLongestMessage) {
        return ZEL_NO_FRAME;
    }
    *size = head + static_cast<std::size_t>(messageLength);
    return *size <= length ? 0 : ZEL_INCOMPLETE;
}

extern "C" int ZELUnpackRun(const ZELBinding* binding, const void* bytes, size_t length, void* records, size_t stride,
                            size_t capacity, ZELRun* run) noexcept {
    using namespace zel;
    if (binding == nullptr || bytes == nullptr || run == nullptr || (records == nullptr && capacity != 0)) {
        return ZEL_BAD_ARGUMENT;
    }
    run->firstBadResult = 0;
    run->firstBad = run->used = run->read = run->skipped = run->bad = 0;
    const auto* stream = static_cast<const char*>(bytes);
    auto* record = static_cast<char*>(records);
    ZELReading reading{};
    Scratch scratch{static_cast<char*>(run->scratch), run->scratch != nullptr ? run->scratchSize : 0};
    while (run->used < length && run->read < capacity) {
        std::size_t size = 0;
        int result = ZELFindFrame(stream + run->used, length - run->used, &size);
        if (result != 0) {
            return result;
        }
        FailedAt at;
        result = UnpackFrame(*binding, stream + run->used, record, reading, scratch, at);
        if (result == ZEL_NO_SCRATCH) {
            return result;
        }
        if (result == 0) {
            if (run->offsets != nullptr) {
                run->offsets[run->read] = run->used;
            }
            ++run->read;
            record += stride;
        } else if (result == ZEL_OTHER_MESSAGE) {
            ++run->skipped;
        } else {
            if (run->bad++ == 0) {
                run->firstBad = run->used;
                run->firstBadResult = result;
            }
            if (run->stopAtBad != 0) {
                return result;
            }
        }
        run->used += size;
    }
    return 0;
}
