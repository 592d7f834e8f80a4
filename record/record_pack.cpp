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

// Writes the empty value of a field that is not set; false for what would be reported.
bool PackEmpty(const FieldRule& rule, Writer& out) noexcept {
    return rule.length >= 0 && PackZELEmptyField(rule, out, kValueOnly);
}

template <short format>
int PackSteps(Packing& packing, const FieldStep* step, const FieldStep* end, const char* base,
              std::uint32_t number) noexcept {
    Writer out = packing.out;
    const FieldStep* const begin = step;
    const int newest = packing.newest;
    int leftOut = 0;
    for (; step != end; ++step) {
        int result = 0;
        if (!IsPresent(*step, base)) {
            if (format != kValueOnly && step->isMandatory) {
                result = kLeftToSlots;
            } else if (format != kValueOnly || step->rule.version > newest) {
                ++leftOut;
            } else {
                result = PackEmpty(step->rule, out) ? 0 : kLeftToSlots;
            }
        } else if (step->rule.version > newest) {
            ++leftOut;
        } else {
            result = UseMember(
                *step, base, number, [&](auto shape, const PlainValue& value) __attribute__((always_inline)) {
                    return EncodeField<format, shape()>(step->rule, value, out) ? 0 : kLeftToSlots;
                });
        }
        if (result != 0) [[unlikely]] {
            packing.at.fieldId = step->rule.id;
            return result;
        }
    }
    packing.out = out;
    packing.packed += static_cast<int>(end - begin) - leftOut;
    return 0;
}

template <short format>
int PackRecord(Packing& packing) noexcept {
    const ZELBinding& binding = packing.binding;
    const MessagePlan& plan = *binding.plan;
    const FieldStep* const steps = binding.steps;
    int result = PackSteps<format>(packing, steps, steps + plan.groupBegin, packing.record, packing.repetitions);
    const char* base = packing.record + binding.groupOffset;
    for (std::uint32_t at = 0; at < packing.repetitions && result == 0; ++at, base += binding.groupStride) {
        result = PackSteps<format>(packing, steps + plan.groupBegin, steps + plan.groupEnd, base, at + 1);
        packing.at.repetition = result != 0 ? static_cast<int>(at) : -1;
    }
    // Without a repetition the fields after the group have no place in the message.
    const bool hasRest = packing.repetitions != 0 || plan.groupBegin == plan.groupEnd;
    if (result == 0 && hasRest) {
        result = PackSteps<format>(packing, steps + plan.groupEnd, steps + plan.entryCount, packing.record, 0);
    }
    return result;
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
        plan.entryCount + static_cast<std::int64_t>(repetitions) * plan.groupSize > kZELMaxSlots) {
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
           IsWithin(envelope.compressMode, kMarked) && envelope.encryptFlag <= 15 &&
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
