#include "core/message_build.h"

#include <cstring>

#include "core/slots/message_model.h"
#include "core/tables/tables_in_use.h"
#include "core/wire/field_codec.h"
#include "core/wire/header.h"
#include "core/wire/payload.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// What becomes of a slot.
enum class SlotFate {
    kPacked,
    kLeftOut,
    kTooNew,  // left out, but it was counted among the fields to be packed
    kUnknown,
    kNewMandatory,
    kMissing
};

// `newest` is the newest field version that the message carries.
inline SlotFate JudgeSlot(const PlanEntry& entry, bool isWanted, int newest) noexcept {
    if (!entry.hasRecord) {
        return SlotFate::kUnknown;
    }
    const bool isMissing = !isWanted && entry.presence == kZELMandatory;
    if (entry.rule.version > newest) {
        return isMissing ? SlotFate::kNewMandatory : isWanted ? SlotFate::kTooNew : SlotFate::kLeftOut;
    }
    return isMissing ? SlotFate::kMissing : isWanted ? SlotFate::kPacked : SlotFate::kLeftOut;
}

void ReportFate(const MessagePlan& plan, SlotFate fate, unsigned short fieldId) noexcept {
    if (fate == SlotFate::kUnknown) {
        ReportLookup(plan, fieldId);
        SendReportWith(reports::kFieldVersionUnknown, fieldId);
    } else {
        SendReportWith(fate == SlotFate::kMissing ? reports::kMandatoryFieldMissing : reports::kNewFieldMandatory,
                       fieldId);
    }
}

// The value of a slot, whose bytes are counted only where its length may be wrong.
struct SlotValue {
    const _field_data& slot;

    const void* Bytes() const noexcept { return slot.value; }
    std::uint16_t Length() const noexcept { return slot.length; }
    std::size_t Held(std::size_t wanted) const noexcept { return wanted > kLeastBuffer ? HeldBytes(slot) : wanted; }
};

// The empty value, and whatever cannot be packed, which is reported: the room left, or none.
[[gnu::noinline]] char* PackOther(const FieldRule& rule, const _field_data& slot, bool isSet, short format,
                                  Writer out) noexcept {
    const PlainValue value{isSet ? slot.value : nullptr, isSet ? slot.length : std::uint16_t{0}, HeldBytes(slot)};
    if (PackZELField(rule, value, out, format)) {
        return out.next;
    }
    SendReportWith(reports::kFieldUnpackable, rule.id);
    return nullptr;
}

// Packs the slots in their order; in `format` 1 all of them, else those that are set. `hasFilter`: a field may be newer
// than the message carries, or lack its record. Takes from `claimed` what is too new, and counts in `packed`. Returns
// the address after the fields, or null, reported.
template <short format, bool hasFilter>
char* PackSlots(const ZelMsgStruct& message, Writer out, int& claimed, int& packed) noexcept {
    const MessageBlock& block = BlockOf(message);
    const int newest = hasFilter && message.version != 0 ? message.version : INT16_MAX;
    const _field_data* const end = SlotsOf(block) + block.slotCount;
    int leftOut = 0;
    for (const _field_data* slot = SlotsOf(block); slot != end; ++slot) {
        const PlanEntry& entry = EntryOf(block, *slot);
        const bool isSet = slot->isSet != 0;
        const bool isWanted = format == kValueOnly || isSet;
        // Without a filter the fate of a wanted slot needs no look.
        const SlotFate fate = isWanted && !hasFilter ? SlotFate::kPacked : JudgeSlot(entry, isWanted, newest);
        if (fate == SlotFate::kPacked) {
            if (format != kNoFormat && isSet && slot->value != nullptr &&
                EncodeAnyField<format>(entry.shape, entry.rule, SlotValue{*slot}, out)) {
                continue;
            }
            out.next = PackOther(entry.rule, *slot, isSet, format, out);
            if (out.next == nullptr) {
                return nullptr;
            }
            continue;
        }
        ++leftOut;
        if (fate == SlotFate::kTooNew) {
            --claimed;
        } else if (fate != SlotFate::kLeftOut) {
            ReportFate(*block.plan, fate, entry.rule.id);
            return nullptr;
        }
    }
    packed = block.slotCount - leftOut;
    return out.next;
}

template <short format>
char* PackFormat(const ZelMsgStruct& message, const Writer& out, int& claimed, int& packed) noexcept {
    const bool hasFilter = message.version != 0 || !BlockOf(message).plan->knowsAllFields;
    return hasFilter ? PackSlots<format, true>(message, out, claimed, packed)
                     : PackSlots<format, false>(message, out, claimed, packed);
}

// Packs the slots into `out` of kZELMaxPayload bytes and sets numFields: the payload's length, or -1.
int PackPayload(ZelMsgStruct& message, char* out) noexcept {
    const Writer writer{out, out + kZELMaxPayload};
    int claimed = 0;
    int packed = 0;
    char* next = nullptr;
    switch (message.format) {
        case kIdAndValue:
            claimed = message.numFields;
            next = PackFormat<kIdAndValue>(message, writer, claimed, packed);
            break;
        case kIdLengthAndValue:
            claimed = message.numFields;
            next = PackFormat<kIdLengthAndValue>(message, writer, claimed, packed);
            break;
        case kValueOnly:
            claimed = BlockOf(message).slotCount;
            next = PackFormat<kValueOnly>(message, writer, claimed, packed);
            break;
        default:
            next = PackFormat<kNoFormat>(message, writer, claimed, packed);
            break;
    }
    // A field set twice was claimed twice: such a message is refused without a report.
    if (next == nullptr || claimed != packed) {
        return -1;
    }
    message.numFields = static_cast<short>(packed);
    return static_cast<int>(next - out);
}

// Packs into work buffers, because the payload changes on its way or because only packing tells how long its header is.
// Apart, so that a message which needs no such buffers does not pay for them.
[[gnu::noinline]] Built BuildByBuffers(ZelMsgStruct& message, const BuildRoom& room, long* outLength,
                                       unsigned short sequence) noexcept {
    PayloadBuffers buffers;
    const int length = PackPayload(message, buffers.first);
    // What was received and is still the message's may have got a longer length from the program.
    const std::size_t held = message.varUserDataOwned != 0 ? BlockOf(message).userDataHeld : SIZE_MAX;
    return length >= 0 ? SendZELPayload(BlockOf(message).plan->header, message, buffers, length, held, room, outLength,
                                        sequence)
                       : Built::kRefused;
}

// Whether there is something to build, and somewhere; else what is missing is reported.
bool CanBuild(const ZelMsgStruct* message, const char* out, const long* outLength) noexcept {
    if (message == nullptr || out == nullptr || outLength == nullptr) {
        SendReport(reports::kBuildFailed);
        return false;
    }
    if (tablesAreInUse) [[likely]] {
        return true;
    }
    // The first field finds no dictionary any more.
    SendReport(reports::kNoDictionary);
    const MessageBlock& block = BlockOf(*message);
    if (block.slotCount != 0) {
        SendReportWith(reports::kFieldVersionUnknown, block.plan->entries[0].rule.id);
    }
    return false;
}

}  // namespace

Built SendZELPayload(const HeaderRules& rules, ZelMsgStruct& message, PayloadBuffers& buffers, int packedLength,
                     std::size_t userDataHeld, const BuildRoom& room, long* outLength,
                     unsigned short sequence) noexcept {
    GiveZELMessageId(message, sequence);
    const Reader payload = ClosePayload(message, buffers, packedLength);
    if (payload.next == nullptr) {
        return Built::kRefused;
    }
    if (room.size < HeaderSize(message) || room.size - HeaderSize(message) < Remaining(payload)) {
        return Built::kNoRoom;
    }
    unsigned short headerLength = 0;
    char* afterHeader = BuildZELHeader(rules, &message, room.out, &headerLength, userDataHeld);
    if (afterHeader == nullptr) {
        SendReport(reports::kHeaderNotBuilt);
        return Built::kRefused;
    }
    std::memcpy(afterHeader, payload.next, Remaining(payload));
    // Not headerLength: it wraps with variable user data of more than 65505 bytes.
    *outLength = static_cast<long>(afterHeader - room.out) + static_cast<long>(Remaining(payload));
    return Built::kDone;
}

Built BuildZELMessageWithin(ZelMsgStruct* message, const BuildRoom& room, long* outLength,
                            unsigned short sequence) noexcept {
    return CanBuild(message, room.out, outLength) ? BuildByBuffers(*message, room, outLength, sequence)
                                                  : Built::kRefused;
}

int BuildZELMessage(ZelMsgStruct* message, char* out, long* outLength, unsigned short sequence) noexcept {
    if (!CanBuild(message, out, outLength)) {
        return -1;
    }
    if (!IsSentPlain(*message) || !HasFixedHeader(BlockOf(*message).plan->header, *message)) {
        return BuildByBuffers(*message, {out, SIZE_MAX}, outLength, sequence) == Built::kDone ? 0 : -1;
    }
    // The payload goes where it belongs, and the header in front once the number of fields is known.
    const int length = PackPayload(*message, out + kFixedHeader);
    if (length < 0) {
        return -1;
    }
    GiveZELMessageId(*message, sequence);
    WriteFixedHeader(*message, out);
    *outLength = static_cast<long>(kFixedHeader) + length;
    return 0;
}

}  // namespace zel
