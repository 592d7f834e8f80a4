// Unpacking by steps.
#include "record/record_unpack.h"
#include "core/tables/message_table.h"
#include "core/tables/tables_in_use.h"
#include "core/wire/frame.h"
#include "message/exchange.h"
#include "record/member.h"
#include "record/record_general.h"

namespace zel {

namespace {

// A message that the way of the message object has to read.
constexpr int kLeftToSlots = -1;

// What FillMember takes from the value that was found.
struct FoundValue {
    WireValue value;

    template <Shape shape>
    void Store(void* out) const noexcept {
        (void)StoreValue<shape>(value, out);
    }
    const char* Bytes() const noexcept { return value.bytes; }
    std::size_t Length() const noexcept { return value.length; }
};

// A value as it lies on the wire.
template <short format>
struct OnTheWire : FoundValue {
    Reader& in;

    template <Shape shape>
    bool Find(const FieldStep& step) noexcept {
        if constexpr (IsFixed(shape)) {
            // Of a field with such a step the dictionary's length is that of its type.
            return LocateValue<format, shape>({step.rule.id, 0, FixedWireSize(shape), 0}, in, value);
        } else {
            return LocateValue<format, shape>(step.rule, in, value);
        }
    }
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

// A payload that is passed, and the part of its fields that is at the reader.
struct Walk {
    const ZELBinding& binding;
    const Unpacking& unpacking;
    Reader in;
    FailedAt& at;
    int taken;  // fields
    std::uint32_t repetitions;
    int repetition;  // -1 outside the group
    char* base;      // of the part's members
    const FieldTake* takes;
    FieldSet lacking;
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
    OnTheWire<format> source{{}, walk.in};
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

// What the compiler may rely on; the sanitizers look.
[[gnu::always_inline]] inline void IsKnown(bool condition) noexcept {
    if (!condition) {
        __builtin_unreachable();
    }
}

// A value among fields of format 0 of which as many bytes are there as the take needs.
struct InRun : FoundValue {
    Reader& in;
    const FieldTake& take;

    bool IsNext() const noexcept {
        IsKnown(Remaining(in) >= 2);
        return IsNextField(take.step.wireId, in);
    }
    template <Shape shape>
    bool Find(const FieldStep& step) noexcept {
        if (!IsNext()) {
            return false;
        }
        if constexpr (IsFixed(shape)) {
            IsKnown(Remaining(in) >= FrontSize(kIdAndValue) + FixedWireSize(shape));
            // Of a field with such a step the dictionary's length is that of its type.
            return LocateValue<kIdAndValue, shape>({step.rule.id, 0, FixedWireSize(shape), 0}, in, value);
        } else if constexpr (shape == Shape::kCounted) {
            IsKnown(Remaining(in) >= FrontSize(kIdAndValue) + 2);
            return LocateValue<kIdAndValue, shape>(step.rule, in, value) && Remaining(in) >= take.needAfter;
        } else {
            return LocateValue<kIdAndValue, shape>(step.rule, in, value);
        }
    }
    bool Pass(const FieldStep& step) noexcept {
        const std::size_t size = FrontSize(kIdAndValue) + static_cast<std::size_t>(step.rule.length);
        if (!IsNext()) {
            return false;
        }
        IsKnown(Remaining(in) >= size);
        return Skip(in, size);
    }
};

// Takes fields as long as there is nothing special about them. Returns the first take that is left; the reader stands
// where its field should be.
[[gnu::always_inline]] inline const FieldTake* TakeUsual(const FieldTake* take, char* base, Reader& reader) noexcept {
    const char* next = reader.next;
    const char* const end = reader.end;
    if (Remaining(reader) < take->need) {
        return take;
    }
    while (true) {
        Reader after{next, end};
        InRun source{{}, after, *take};
        if (FillMember(take->step.usualMove, take->step, base, source) != 0) [[unlikely]] {
            break;
        }
        next = after.next;
        ++take;
    }
    reader.next = next;
    return take;
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
[[gnu::noinline]] bool PassOne(Walk& walk, const FieldTake& take) noexcept {
    const FieldStep& step = take.step;
    Reader in = walk.in;
    if (IsOfStep<format>(step, in)) {
        OnTheWire<format> source{{}, in};
        if (FillMember(step.usualMove, step, walk.base, source) == 0) {
            walk.in.next = in.next;
            return true;
        }
    } else if (MayLack<format>(step, in)) {
        --walk.taken;
        NoteAbsent(step, walk.base, walk.repetition, walk.unpacking.reading);
        walk.lacking |= FieldSet{1} << (static_cast<std::size_t>(&take - walk.takes) % kMostInSet);
        return true;
    }
    walk.at.fieldId = step.rule.id;
    walk.at.repetition = walk.repetition;
    return false;
}

// Marks all fields of a part as there: those that are not are found later, and the loop over fields has no flags to
// set. This and the next one are apart, so that it keeps its registers.
[[gnu::noinline]] void MarkAllPresent(const std::uint32_t* flag, char* base) noexcept {
    for (; *flag != ZEL_NOWHERE; ++flag) {
        base[*flag] = 1;
    }
}

// Makes seconds of the date-times that were moved to members in seconds.
[[gnu::noinline]] void MakeAllSeconds(const std::uint32_t* offset, char* base) noexcept {
    for (; *offset != ZEL_NOWHERE; ++offset) {
        MakeSeconds(base + *offset);
    }
}

// Passes the fields of a part, each once: a field that is the step's is taken, any other step's field did not arrive.
template <short format>
[[gnu::always_inline]] inline bool PassPart(Walk& walk) noexcept {
    const FieldTake* take = walk.takes;
    while (true) {
        take = format == kIdAndValue ? TakeUsual(take, walk.base, walk.in) : take;
        if (take->step.move == Move::kStop) {
            walk.taken += static_cast<int>(take - walk.takes);
            return true;
        }
        if (!PassOne<format>(walk, *take++)) {
            return false;
        }
    }
}

// Between the fields in front of the group and the group; nothing without one.
template <short format>
bool StartGroup(Walk& walk) noexcept {
    const ZELBinding& binding = walk.binding;
    const MessagePlan& plan = *binding.plan;
    if (plan.groupBegin == plan.groupEnd) {
        return true;
    }
    // The count field is the last one in front of the group.
    if (!PassCount<format>(walk, binding.steps[plan.groupBegin - 1])) {
        return false;
    }
    if (binding.hasGroup) {
        StoreHost(walk.unpacking.record + binding.countOffset, walk.repetitions);
    }
    // Without a repetition the slots of the message are of another order.
    return walk.repetitions != 0 || Remaining(walk.in) == 0;
}

// After a repetition. A group without markers leaves it to the fields which repetition they are of: each goes to the
// first that lacks it. So none may come that an earlier repetition lacked.
bool IsInPlace(const Walk& walk, FieldSet& lacked) noexcept {
    const MessagePlan& plan = *walk.binding.plan;
    if (plan.groupMarkers != 0) {
        return true;
    }
    const bool isInPlace =
        (lacked & ~walk.lacking) == 0 && (lacked == 0 || plan.groupEnd - plan.groupBegin <= kMostInSet);
    lacked |= walk.lacking;
    return isInPlace;
}

// Passes all fields. False: the way of the message object is to look. What the header says of the number of fields is
// looked at when all is done.
template <short format>
bool PassSteps(Walk& walk) noexcept {
    const ZELBinding& binding = walk.binding;
    FieldSet lacked = 0;
    for (Part part = kBeforeGroup;;) {
        walk.takes = binding.takes[part];
        walk.lacking = 0;
        if (binding.hasFlags) [[unlikely]] {
            MarkAllPresent(binding.flags[part], walk.base);
        }
        if (!PassPart<format>(walk)) {
            return false;
        }
        if (binding.hasSeconds) [[unlikely]] {
            MakeAllSeconds(binding.seconds[part], walk.base);
        }
        if (part == kAfterGroup) {
            return true;
        }
        if (!(part == kInGroup ? IsInPlace(walk, lacked) : StartGroup<format>(walk))) {
            return false;
        }
        // Nobody wants to know what a group lacks that the layout has not.
        const std::uint32_t repetitions = binding.hasGroup || Remaining(walk.in) != 0 ? walk.repetitions : 0;
        const bool isNext = static_cast<std::uint32_t>(++walk.repetition) < repetitions;
        part = isNext ? kInGroup : kAfterGroup;
        walk.repetition = isNext ? walk.repetition : -1;
        walk.base = walk.unpacking.record;
        if (isNext) {
            walk.base +=
                binding.groupOffset + std::size_t{binding.groupStride} * static_cast<unsigned>(walk.repetition);
        }
    }
}

// Reads a payload by steps: 0, or kLeftToSlots.
int PassPayload(const ZELBinding& binding, const Unpacking& unpacking, const ZelMsgStruct& header,
                const Reader& payload, const Reader& message, FailedAt& at) noexcept {
    Walk walk{binding, unpacking, payload, at, 0, 0, -1, unpacking.record, nullptr, 0};
    bool isDone = false;
    switch (header.format) {
        case kIdAndValue:
            isDone = PassSteps<kIdAndValue>(walk);
            break;
        case kValueOnly:
            isDone = PassSteps<kValueOnly>(walk);
            break;
        case kIdLengthAndValue:
            isDone = PassSteps<kIdLengthAndValue>(walk);
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
