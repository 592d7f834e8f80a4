// Frames in a stream of bytes: found, and unpacked into records, one or many.
#include "record/record_unpack.h"

#include "core/wire/frame.h"
#include "core/wire/header.h"

namespace zel {

namespace {

// What the shortest frame takes: enough to see which frame it is.
constexpr std::size_t kShortestFrame = 4;

// A frame in a stream of bytes. `size` also tells how many bytes are needed to tell more.
struct FoundFrame {
    const char* message;
    long messageLength;
    short format;
    std::size_t size;
};

[[gnu::always_inline]] inline int FindFrame(const char* bytes, std::size_t length, FoundFrame& frame) noexcept {
    frame.size = 0;
    if (length > 0 && bytes[0] != kSoh) {
        return ZEL_NO_FRAME;
    }
    frame.format = length > 1 ? FrameFormatOf(bytes) : short{kShortFrame};
    if (frame.format != kShortFrame && frame.format != kLongFrame) {
        return ZEL_NO_FRAME;
    }
    const auto head = length > 1 ? static_cast<std::size_t>(MessageOffset(frame.format)) : kShortestFrame;
    if (length < head) {
        frame.size = head;
        return ZEL_INCOMPLETE;
    }
    frame.message = bytes + head;
    frame.messageLength = FrameLengthOf(bytes, frame.format);
    if (frame.messageLength < 0 || static_cast<std::size_t>(frame.messageLength) > kLongestMessage) {
        return ZEL_NO_FRAME;
    }
    frame.size = head + static_cast<std::size_t>(frame.messageLength);
    return frame.size <= length ? 0 : ZEL_INCOMPLETE;
}

int UnpackFrame(const ZELBinding& binding, const FoundFrame& frame, char* record, ZELReading& reading, Scratch& scratch,
                FailedAt& at) noexcept {
    const int result = UnpackMessage(binding, {frame.message, frame.messageLength, record, reading, scratch}, at);
    const std::size_t head = frame.size - static_cast<std::size_t>(frame.messageLength);
    at.offset += at.offset != 0 ? head : 0;
    if (result == 0 && reading.envelope != nullptr) {
        reading.envelope->frameKind = frame.format == kShortFrame ? ZEL_FRAME_SHORT : ZEL_FRAME_LONG;
    }
    return result;
}

// What both ways to unpack begin and end with. `read` does what lies between, with all pointers there.
template <typename Read>
int Unpack(const ZELBinding* binding, const void* bytes, void* record, ZELReading* reading, ZELFailure* failure,
           const Read& read) noexcept {
    ZELReading none{};
    ZELReading& asked = reading != nullptr ? *reading : none;
    asked.absentCount = 0;
    asked.used = 0;
    Scratch scratch{static_cast<char*>(asked.scratch), asked.scratch != nullptr ? asked.scratchSize : 0};
    FailedAt at;
    const bool canRead = binding != nullptr && bytes != nullptr && record != nullptr;
    const int result = canRead ? read(asked, scratch, at) : int{ZEL_BAD_ARGUMENT};
    return result == 0 ? 0 : Explain(failure, binding, result, at);
}

}  // namespace

}  // namespace zel

extern "C" int ZELFindFrame(const void* bytes, size_t length, size_t* size) noexcept {
    using namespace zel;
    if (bytes == nullptr || size == nullptr) {
        return ZEL_BAD_ARGUMENT;
    }
    FoundFrame frame;
    const int result = FindFrame(static_cast<const char*>(bytes), length, frame);
    *size = frame.size;
    return result;
}

extern "C" int ZELUnpackRecord(const ZELBinding* binding, const void* bytes, size_t length, void* record,
                               ZELReading* reading, ZELFailure* failure) noexcept {
    using namespace zel;
    return Unpack(binding, bytes, record, reading, failure, [&](ZELReading& asked, Scratch& scratch, FailedAt& at) {
        FoundFrame frame;
        const int found = FindFrame(static_cast<const char*>(bytes), length, frame);
        if (found != 0) {
            return found;
        }
        asked.used = frame.size;
        return UnpackFrame(*binding, frame, static_cast<char*>(record), asked, scratch, at);
    });
}

extern "C" int ZELUnpackRecordNoFrame(const ZELBinding* binding, const void* bytes, size_t length, void* record,
                                      ZELReading* reading, ZELFailure* failure) noexcept {
    using namespace zel;
    return Unpack(binding, bytes, record, reading, failure, [&](ZELReading& asked, Scratch& scratch, FailedAt& at) {
        if (length > INT32_MAX) {
            return int{ZEL_BAD_ARGUMENT};
        }
        asked.used = length;
        const int result = UnpackMessage(
            *binding,
            {static_cast<const char*>(bytes), static_cast<long>(length), static_cast<char*>(record), asked, scratch},
            at);
        if (result == 0 && asked.envelope != nullptr) {
            asked.envelope->frameKind = ZEL_FRAME_NONE;
        }
        return result;
    });
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
        FoundFrame frame;
        int result = FindFrame(stream + run->used, length - run->used, frame);
        if (result != 0) {
            return result;
        }
        FailedAt at;
        result = UnpackFrame(*binding, frame, record, reading, scratch, at);
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
        run->used += frame.size;
    }
    return 0;
}
