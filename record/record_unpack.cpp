// Unpacking by steps.
#include "core/tables/message_table.h"
#include "core/tables/tables_in_use.h"
#include "core/wire/frame.h"
#include "message/exchange.h"
#include "record/frame_run.h"
#include "record/member.h"
#include "record/record_general.h"

namespace zel {

namespace {

// A message that the way of the message object has to read.
constexpr int kLeftToSlots = -1;

// A value as it lies on the wire.
template <short format>
struct OnTheWire {
    Reader& in;
    WireValue value;

    template <Shape shape>
    bool Find(const FieldStep& step) noexcept {
        if constexpr (IsFixed(shape)) {
            // Of a field with such a step the dictionary's length is that of its type.
            return LocateValue<format, shape>({step.rule.id, 0, FixedWireSize(shape), 0}, in, value);
        } else {
            return LocateValue<format, shape>(step.rule, in, value);
        }
    }
    template <Shape shape>
    void Store(void* out) const noexcept {
        (void)StoreValue<shape>(value, out);
    }
    const char* Bytes() const noexcept { return value.bytes; }
    std::size_t Length() const noexcept { return value.length; }
    bool Pass(const FieldStep& step) noexcept {
        if constexpr (format == kIdLengthAndValue) {
            return WithShape(step.shape, [&](auto shape) { return Find<shape()>(step); });
        } else {
            const auto length = static_cast<std::size_t>(step.rule.length);
            return length != 0 ? Skip(in, FrontSize(format) + length) : Find<Shape::kCounted>(step);
        }
    }
};

// Fields of a group that a repetition lacks: one bit for each.
using FieldSet = std::uint64_t;
constexpr std::ptrdiff_t kMostInSet = 64;

struct Walk {
    const ZELBinding& binding;
    ZELReading& reading;
    Reader in;
    int taken;  // fields
    std::uint32_t repetitions;
    FailedAt& at;
    FieldSet lacking;  // of the range that is passed
};

// Whether the field at the reader is the step's.
template <short format>
bool IsOfStep(const FieldStep& step, const Reader& in) noexcept {
    return format == kValueOnly ? step.wireId != kNoId && Remaining(in) != 0 : IsNextField(step.wireId, in);
}

// Reads the repeat count, as validation does: the low 16 bits of the first 32. Without the field there is none.
template <short format>
bool PassCount(Walk& walk, const FieldStep& step) noexcept {
    if (!IsOfStep<format>(step, walk.in)) {
        return format != kValueOnly || Remaining(walk.in) == 0;
    }
    OnTheWire<format> source{walk.in, {}};
    std::uint32_t count = 0;
    if (step.shape == Shape::kShort) {
        if (!source.template Find<Shape::kShort>(step)) {
            return false;
        }
        source.template Store<Shape::kShort>(&count);
    } else {
        if (!source.template Find<Shape::kLong>(step)) {
            return false;
        }
        source.template Store<Shape::kLong>(&count);
    }
    ++walk.taken;
    walk.repetitions = count & UINT16_MAX;
    const bool fits = !walk.binding.hasGroup || walk.repetitions <= walk.binding.mostRepetitions;
    return fits && walk.repetitions <= static_cast<std::uint32_t>(mostRepetitions) &&
           FitSlots(*walk.binding.plan, walk.repetitions);
}

// Takes fields for the steps as long as there is nothing special about them. Returns the first step that is left; the
// reader stands where its field should be.
template <short format>
[[gnu::always_inline]] inline const FieldStep* TakeUsual(const FieldStep* step, const FieldStep* end, char* base,
                                                         Reader& reader) noexcept {
    // What the longest field of one size takes: the compiler sees that such a field needs no other check.
    constexpr std::size_t most = FrontSize(format) + 8;
    Reader in{reader.next, reader.end};
    for (; step != end && Remaining(in) >= most; ++step) {
        Reader after{in.next, in.end};
        OnTheWire<format> source{after, {}};
        // A field that nobody wants is not worth the jump to its move: mostly several of them follow one another. Both
        // ways compare the id themselves, so that each is a short turn of its own.
        if (step->usualMove == Move::kNone) {
            if (!IsOfStep<format>(*step, in) || !source.Pass(*step)) {
                break;
            }
        } else if (!IsOfStep<format>(*step, in) || FillMember(step->usualMove, *step, base, source) != 0) [[unlikely]] {
            break;
        }
        in.next = after.next;
    }
    reader.next = in.next;
    return step;
}

// Whether the field that is at the reader in place of the step's may come there.
template <short format>
bool MayLack(const FieldStep& step, const Reader& in) noexcept {
    // Where a marker is missing nobody knows which repetition the next field is of.
    return (format != kValueOnly && !step.isMarker) || Remaining(in) == 0;
}

// Passes one step, whatever is special about it: takes the field that is the step's, else notes that it did not arrive.
// False, with the reader where the field is: the way of the message object is to look.
template <short format>
[[gnu::noinline]] bool PassOne(Walk& walk, const StepRange& range, const FieldStep& step, char* base) noexcept {
    Reader in = walk.in;
    if (IsOfStep<format>(step, in)) {
        OnTheWire<format> source{in, {}};
        if (FillMember(step.move, step, base, source) == 0) {
            MarkPresent(step, base);
            walk.in.next = in.next;
            return true;
        }
    } else if (MayLack<format>(step, in)) {
        --walk.taken;
        NoteAbsent(step, base, range.repetition, walk.reading);
        walk.lacking |= FieldSet{1} << (static_cast<std::size_t>(&step - range.begin) % kMostInSet);
        return true;
    }
    walk.at.fieldId = step.rule.id;
    walk.at.repetition = range.repetition;
    return false;
}

// A group without markers leaves it to the fields which repetition they are of: each goes to the first that lacks it.
// So none may come that an earlier repetition lacked.
bool IsInPlace(const StepRange& range, FieldSet lacking, FieldSet& lacked) noexcept {
    const bool isInPlace = (lacked & ~lacking) == 0 && (lacked == 0 || range.end - range.begin <= kMostInSet);
    lacked |= lacking;
    return isInPlace;
}

// Between the fields in front of the group and the group; nothing without one.
template <short format>
bool StartGroup(Walk& walk, char* record) noexcept {
    const ZELBinding& binding = walk.binding;
    const MessagePlan& plan = *binding.plan;
    if (plan.groupBegin == plan.groupEnd) {
        return true;
    }
    if (!PassCount<format>(walk, binding.steps[plan.groupBegin - 1])) {
        return false;
    }
    if (binding.hasGroup) {
        StoreHost(record + binding.countOffset, walk.repetitions);
    }
    // Without a repetition the slots of the message are of another order.
    return walk.repetitions != 0 || Remaining(walk.in) == 0;
}

// Passes the steps, each once: a field that is the step's is taken, any other step's field did not arrive. False: the
// way of the message object is to look. What the header says of the number of fields is looked at when all is done.
template <short format>
bool PassSteps(Walk& walk, char* record) noexcept {
    const ZELBinding& binding = walk.binding;
    const MessagePlan& plan = *binding.plan;
    const bool hasCount = plan.groupBegin != plan.groupEnd;
    FieldSet lacked = 0;
    // The count field is the last one in front of the group.
    StepRange range{binding.steps, binding.steps + plan.groupBegin - (hasCount ? 1 : 0), 0, -1, kBeforeGroup};
    std::uint32_t repetitions = 0;
    do {
        char* const base = record + range.base;
        walk.lacking = 0;
        walk.taken += static_cast<int>(range.end - range.begin);
        const FieldStep* step = range.begin;
        while ((step = TakeUsual<format>(step, range.end, base, walk.in)) != range.end) {
            if (!PassOne<format>(walk, range, *step++, base)) {
                return false;
            }
        }
        const bool isLoose = range.part == kInGroup && plan.groupMarkers == 0;
        if ((isLoose && !IsInPlace(range, walk.lacking, lacked)) ||
            (range.part == kBeforeGroup && !StartGroup<format>(walk, record))) {
            return false;
        }
        // Nobody wants to know what a group lacks that the layout has not.
        repetitions = binding.hasGroup || Remaining(walk.in) != 0 ? walk.repetitions : 0;
    } while (NextRange(binding, repetitions, range));
    return true;
}

// Reads a payload by steps: 0, or kLeftToSlots.
int PassPayload(const ZELBinding& binding, const Unpacking& unpacking, const ZelMsgStruct& header,
                const Reader& payload, const Reader& message, FailedAt& at) noexcept {
    Walk walk{binding, unpacking.reading, payload, 0, 0, at, 0};
    bool isDone = false;
    switch (header.format) {
        case kIdAndValue:
            isDone = PassSteps<kIdAndValue>(walk, unpacking.record);
            break;
        case kValueOnly:
            isDone = PassSteps<kValueOnly>(walk, unpacking.record);
            break;
        case kIdLengthAndValue:
            isDone = PassSteps<kIdLengthAndValue>(walk, unpacking.record);
            break;
        default:
            break;
    }
    // Less than the header says is all there is; what is left then is a field out of order, one that came again, or one
    // that the message does not have. More than the header says is not the message's.
    const int fields = std::max<int>(header.numFields, 0);
    isDone = isDone && (walk.taken == fields || (walk.taken < fields && Remaining(walk.in) == 0));
    // A payload that was expanded lies elsewhere: of what is received, its beginning is to blame.
    const bool isReceived = walk.in.end == message.end;
    at.offset = static_cast<std::size_t>((isReceived ? walk.in.next : message.next) - unpacking.message);
    return isDone ? 0 : kLeftToSlots;
}

// Likewise for one that has to be expanded or transformed back. Apart for the room that the buffers take.
[[gnu::noinline]] int PassWrapped(const ZELBinding& binding, const Unpacking& unpacking, const ZelMsgStruct& header,
                                  const Reader& received, FailedAt& at) noexcept {
    PayloadBuffers buffers;
    Reader payload = received;
    if (UnwrapPayload(header, buffers, payload) != Unwrapped::kDone ||
        !KeepForViews(binding, unpacking.scratch, payload)) {
        return kLeftToSlots;
    }
    return PassPayload(binding, unpacking, header, payload, received, at);
}

bool IsKnownMessage(short msgType, short subType) noexcept {
    return FindIndexedMessage(msgType, subType) != nullptr || FindSubType(msgType, subType) != nullptr;
}

int UnpackBySteps(const ZELBinding& binding, const Unpacking& unpacking, FailedAt& at) noexcept {
    if (!tablesAreInUse) {
        return kLeftToSlots;
    }
    ZelMsgStruct header{};
    const Reader payload = PeekZELHeader(unpacking.message, unpacking.length, header);
    if (payload.next == nullptr) {
        return kLeftToSlots;
    }
    const bool isOther = header.msgType != binding.plan->msgType;
    if (isOther || !binding.unpacksByStep || header.subType != binding.plan->subType) {
        const bool isOfType = !isOther && header.subType == binding.plan->subType;
        return !isOfType && IsKnownMessage(header.msgType, header.subType) ? ZEL_OTHER_MESSAGE : kLeftToSlots;
    }
    const int result = IsSentPlain(header) ? PassPayload(binding, unpacking, header, payload, payload, at)
                                           : PassWrapped(binding, unpacking, header, payload, at);
    if (result == 0) {
        TakeEnvelope(header, unpacking.reading);
    }
    return result;
}

// After a failure nothing in the record looks like something received.
void ClearRecord(const ZELBinding& binding, char* record) noexcept {
    (void)ForEachSlot(binding, 0, [&](const FieldStep& step, const PlanEntry& /*entry*/, std::uint32_t /*repetition*/) {
        (void)ClearMember(step, record);
        return 0;
    });
    for (int at = binding.plan->groupEnd; at < binding.plan->entryCount; ++at) {
        (void)ClearMember(binding.steps[at], record);
    }
    if (binding.hasGroup) {
        StoreHost(record + binding.countOffset, std::uint32_t{0});
    }
}

}  // namespace

int UnpackMessage(const ZELBinding& binding, const Unpacking& unpacking, FailedAt& at) noexcept {
    ZELReading& reading = unpacking.reading;
    const Scratch scratch = unpacking.scratch;
    reading.absentCount = 0;
    int result = UnpackBySteps(binding, unpacking, at);
    if (result == kLeftToSlots) {
        unpacking.scratch = scratch;
        reading.absentCount = 0;
        result = UnpackBySlots(binding, unpacking, at);
    }
    if (result != 0) {
        unpacking.scratch = scratch;
        reading.absentCount = 0;
        if (result != ZEL_OTHER_MESSAGE) {
            ClearRecord(binding, unpacking.record);
        }
    }
    return result;
}

}  // namespace zel

namespace {

// What both ways to unpack begin and end with. `read` does what lies between, with all pointers there.
template <typename Read>
int Unpack(const ZELBinding* binding, const void* bytes, void* record, ZELReading* reading, ZELFailure* failure,
           const Read& read) noexcept {
    using namespace zel;
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

extern "C" int ZELUnpackRecord(const ZELBinding* binding, const void* bytes, size_t length, void* record,
                               ZELReading* reading, ZELFailure* failure) noexcept {
    using namespace zel;
    return Unpack(binding, bytes, record, reading, failure, [&](ZELReading& asked, Scratch& scratch, FailedAt& at) {
        std::size_t size = 0;
        const int found = ZELFindFrame(bytes, length, &size);
        if (found != 0) {
            return found;
        }
        asked.used = size;
        return UnpackFrame(*binding, static_cast<const char*>(bytes), static_cast<char*>(record), asked, scratch, at);
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
