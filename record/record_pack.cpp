// Packing by steps.
#include "core/tables/tables_in_use.h"
#include "core/wire/frame.h"
#include "message/exchange.h"
#include "record/member.h"
#include "record/record_general.h"

namespace zel {

namespace {

// A step that the way of the message object has to take.
constexpr int kLeftToSlots = -1;

struct Packing {
    const ZELBinding& binding;
    const char* record;
    std::uint32_t repetitions;
    int newest;  // field version that is sent
    Writer out;
    int packed;
    FailedAt& at;
};

// A value all of whose bytes are there.
struct WholeValue {
    const void* at;
    std::uint16_t size;

    const void* Bytes() const noexcept { return at; }
    std::uint16_t Length() const noexcept { return size; }
    static std::size_t Held(std::size_t wanted) noexcept { return wanted; }
};

template <short format, Shape shape>
[[gnu::always_inline]] inline bool Encode(const FieldRule& rule, const PlainValue& value, Writer& out) noexcept {
    if constexpr (shape == Shape::kChars) {
        return EncodeField<format, shape>(rule, value, out);
    } else {
        return EncodeField<format, shape>(rule, WholeValue{value.at, value.size}, out);
    }
}

// Writes the empty value of a field that is not set: the room left, or none for what would be reported.
[[gnu::noinline]] char* PackEmpty(const FieldRule& rule, Writer out) noexcept {
    return rule.length >= 0 && PackZELEmptyField(rule, out, kValueOnly) ? out.next : nullptr;
}

// A field that the record does not have: 0, or kLeftToSlots.
template <short format>
[[gnu::always_inline]] inline int PackUnset(const FieldStep& step, bool isTooNew, Writer& out, int& packed) noexcept {
    if (format != kValueOnly || isTooNew) {
        --packed;
        return format != kValueOnly && step.isMandatory ? kLeftToSlots : 0;
    }
    out.next = PackEmpty(step.rule, out);
    return out.next != nullptr ? 0 : kLeftToSlots;
}

// Packs what the record has for the step: 0, or kLeftToSlots, or what is wrong with the member. `hasFilter`: fields may
// be too new.
template <short format, bool hasFilter>
[[gnu::always_inline]] inline int PackStep(const FieldStep& step, const char* base, std::uint32_t number, int newest,
                                           Writer& out, int& packed) noexcept {
    const bool isTooNew = hasFilter && step.rule.version > newest;
    const auto encode = [&](auto shape, const PlainValue& value) __attribute__((always_inline)) {
        return Encode<format, shape()>(step.rule, value, out) ? 0 : kLeftToSlots;
    };
    const bool hasValue = step.move != Move::kNone || step.isNumber;
    if (!IsPresent(step, base) || !hasValue) {
        return PackUnset<format>(step, isTooNew, out, packed);
    }
    if (isTooNew) {
        --packed;
        return 0;
    }
    return step.move != Move::kNone ? UseMember(step, base, encode) : UseNumber(step, number, encode);
}

// Packs the steps: those in front of the group, the group's once for each repetition, and those after it.
template <short format, bool hasFilter>
int PackSteps(Packing& packing) noexcept {
    const ZELBinding& binding = packing.binding;
    const MessagePlan& plan = *binding.plan;
    Writer out = packing.out;
    int packed = 0;
    StepRange range{binding.steps, binding.steps + plan.groupBegin, 0, -1, kBeforeGroup};
    std::uint32_t number = packing.repetitions;
    do {
        const char* const base = packing.record + range.base;
        packed += static_cast<int>(range.end - range.begin);
        for (const FieldStep* step = range.begin; step != range.end; ++step) {
            const int result = PackStep<format, hasFilter>(*step, base, number, packing.newest, out, packed);
            if (result != 0) [[unlikely]] {
                packing.at.fieldId = step->rule.id;
                packing.at.repetition = range.repetition;
                return result;
            }
        }
        number = static_cast<std::uint32_t>(range.repetition + 2);
        // Without a repetition the fields after the group have no place in the message.
    } while ((packing.repetitions != 0 || plan.groupBegin == plan.groupEnd) &&
             NextRange(binding, packing.repetitions, range));
    packing.out = out;
    packing.packed = packed;
    return 0;
}

template <short format>
int PackRecord(Packing& packing) noexcept {
    return packing.newest != INT16_MAX ? PackSteps<format, true>(packing) : PackSteps<format, false>(packing);
}

// Packs the fields at `out`: their length, or -1.
int PackFields(const ZELBinding& binding, const char* record, ZelMsgStruct& header, std::uint32_t repetitions,
               char* out, std::size_t size, FailedAt& at) noexcept {
    Packing packing{binding,
                    record,
                    repetitions,
                    header.version != 0 ? header.version : INT16_MAX,
                    {out, out + std::min<std::size_t>(size, kZELMaxPayload)},
                    0,
                    at};
    const int result = header.format == kIdAndValue  ? PackRecord<kIdAndValue>(packing)
                       : header.format == kValueOnly ? PackRecord<kValueOnly>(packing)
                                                     : PackRecord<kIdLengthAndValue>(packing);
    header.numFields = static_cast<short>(packing.packed);
    return result == 0 ? static_cast<int>(packing.out.next - out) : -1;
}

// What a call is about.
struct Call {
    const ZELBinding& binding;
    const char* record;
    const ZELEnvelope& envelope;
    BuildRoom room;  // after the frame
    long* length;
    FailedAt& at;
};

// A payload that changes on its way, or variable user data. Apart for the room that the buffers take.
[[gnu::noinline]] int PackByBuffers(const Call& call, ZelMsgStruct& header, std::uint32_t repetitions) noexcept {
    PayloadBuffers buffers;
    const int packed =
        PackFields(call.binding, call.record, header, repetitions, buffers.first, sizeof buffers.first, call.at);
    if (packed < 0) {
        return kLeftToSlots;
    }
    ReportListener listener;
    const Built built = SendZELPayload(call.binding.plan->header, header, buffers, packed, SIZE_MAX, call.room,
                                       call.length, call.envelope.sequence);
    if (built == Built::kRefused) {
        ReportNotBuilt(header.serviceIdLow);
    }
    return built == Built::kDone ? 0 : built == Built::kNoRoom ? ZEL_BUFFER_TOO_SMALL : listener.code;
}

int PackBySteps(const Call& call) noexcept {
    const ZELBinding& binding = call.binding;
    const MessagePlan& plan = *binding.plan;
    const std::uint32_t repetitions = RepetitionsOf(binding, call.record);
    const bool isTried = tablesAreInUse && plan.header.areUsual && binding.packsByStep &&
                         repetitions <= binding.mostRepetitions &&
                         (repetitions != 0 || plan.groupBegin == plan.groupEnd || binding.packsNoneByStep);
    if (!isTried || (repetitions == 0 && call.envelope.format == kValueOnly && plan.groupEnd != plan.entryCount) ||
        !FitSlots(plan, repetitions)) {
        return kLeftToSlots;
    }
    ZelMsgStruct header = HeaderOf(plan, call.envelope);
    if (!IsSentPlain(header) || !HasFixedUserData(header)) {
        return PackByBuffers(call, header, repetitions);
    }
    if (call.room.size < kFixedHeader) {
        return kLeftToSlots;
    }
    char* const payload = call.room.out + kFixedHeader;
    const int packed =
        PackFields(binding, call.record, header, repetitions, payload, call.room.size - kFixedHeader, call.at);
    if (packed < 0) {
        return kLeftToSlots;
    }
    GiveZELMessageId(header, call.envelope.sequence);
    WriteFixedHeader(header, call.room.out);
    *call.length = static_cast<long>(kFixedHeader) + packed;
    return 0;
}

constexpr bool IsWithin(int value, int most) noexcept {
    return value >= 0 && value <= most;
}

bool CanBe(const ZELEnvelope& envelope) noexcept {
    const ZELView& userData = envelope.varUserData;
    return IsWithin(envelope.version, 15) && IsWithin(envelope.format, kIdLengthAndValue) &&
           IsWithin(envelope.compressMode, kSendMarked) && envelope.encryptFlag <= 15 &&
           IsWithin(envelope.frameKind, ZEL_FRAME_NONE) && envelope.msgIdPart2 <= UINT8_MAX &&
           envelope.msgIdPart3 <= UINT8_MAX && userData.length <= UINT16_MAX &&
           (userData.data != nullptr || userData.length == 0);
}

}  // namespace

}  // namespace zel

extern "C" int ZELPackRecord(const ZELBinding* binding, const void* record, ZELEnvelope* envelope, void* buffer,
                             size_t capacity, size_t* length, ZELFailure* failure) noexcept {
    using namespace zel;
    static constexpr ZELEnvelope kNoEnvelope{};
    const ZELEnvelope& sent = envelope != nullptr ? *envelope : kNoEnvelope;
    FailedAt at;
    if (binding == nullptr || record == nullptr || buffer == nullptr || length == nullptr || !CanBe(sent)) {
        return Explain(failure, binding, ZEL_BAD_ARGUMENT, at);
    }
    const short frameFormat = sent.frameKind == ZEL_FRAME_SHORT ? kShortFrame : kLongFrame;
    const std::size_t frameSize =
        sent.frameKind == ZEL_FRAME_NONE ? 0 : static_cast<std::size_t>(MessageOffset(frameFormat));
    if (capacity < frameSize) {
        return Explain(failure, binding, ZEL_BUFFER_TOO_SMALL, at);
    }
    char* const frame = static_cast<char*>(buffer);
    const BuildRoom room{frame + frameSize, capacity - frameSize};
    long messageLength = 0;
    const auto* members = static_cast<const char*>(record);
    int result = PackBySteps({*binding, members, sent, room, &messageLength, at});
    if (result == kLeftToSlots) {
        result = PackBySlots(*binding, members, sent, room, &messageLength, at);
    }
    if (envelope != nullptr && result < ZEL_BAD_ARGUMENT) {
        ++envelope->sequence;
    }
    if (result != 0) {
        return Explain(failure, binding, result, at);
    }
    if (frameSize != 0) {
        // A short frame that cannot hold the length is sent all the same.
        (void)WriteFrame(messageLength, frameFormat, frame);
    }
    *length = frameSize + static_cast<std::size_t>(messageLength);
    return 0;
}
