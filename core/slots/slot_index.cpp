#include "core/slots/slot_index.h"

#include <algorithm>
#include <cstring>

namespace zel {

namespace {

// A stride beyond any message: outside the group only the occurrence 0 is in bounds.
constexpr std::uint64_t kNoRepetition = SlotOffset(kZELMaxSlots + 1);

// Of an id with one entry only one slot may have so many markers, if markers tell the repetitions apart: that slot's
// number among those of the id. A negative one wraps to more than there are.
std::uint32_t NumberByMarkers(const MessageBlock& block, const PlanId& id, int groupMarkers) noexcept {
    const MessagePlan& plan = *block.plan;
    const int afterFirst = groupMarkers - plan.entries[EntryAt(id.at)].markers;
    return id.part == kInGroup ? static_cast<std::uint32_t>(afterFirst / plan.groupMarkers) : 0;
}

}  // namespace

void PlaceParts(MessageBlock& block, short repeatCount) noexcept {
    const MessagePlan& plan = *block.plan;
    const int count = block.slotCount;
    const int groupSize = plan.groupEnd - plan.groupBegin;
    const auto bytes = [](int slots) { return static_cast<std::uint64_t>(slots * std::int64_t{sizeof(_field_data)}); };
    block.repeatCount = repeatCount;
    block.repetitions = std::max<int>(repeatCount, 0);
    // Without a repetition the group takes all slots that are left, and no field after the group gets one.
    const int groupEnd = block.repetitions == 0 ? count : plan.groupBegin + block.repetitions * groupSize;
    block.parts = {{0, 0, bytes((block.repetitions - 1) * groupSize), 0},
                   {kNoRepetition, bytes(groupSize), kNoRepetition, 0},
                   {bytes(std::min(plan.groupBegin, count)), bytes(groupSize == 0 ? 0 : groupEnd),
                    bytes(block.repetitions == 0 ? 0 : count), 0}};
}

// They are those in front of the group, then each repetition's, then those after the group.
_field_data* FindRepeatedSlot(const MessageBlock& block, const PlanId& id, std::uint32_t n) noexcept {
    if (id.use != PlanId::kRepeated) {
        return nullptr;
    }
    const RepeatedId& all = block.plan->repeatedIds[id.at];
    const std::uint16_t* places = block.plan->places + all.first;
    if (n < all.counts[kBeforeGroup]) {
        return SlotOfEntry(block, kBeforeGroup, SlotOffset(places[n]), 0);
    }
    n -= all.counts[kBeforeGroup];
    places += all.counts[kBeforeGroup];
    const std::uint32_t inGroup = all.counts[kInGroup];
    if (inGroup != 0) {
        // The slots of the group end with the last repetition, or with the message.
        _field_data* slot = SlotOfEntry(block, kInGroup, SlotOffset(places[n % inGroup]), n / inGroup);
        if (slot != nullptr) {
            return slot;
        }
        n -= static_cast<std::uint32_t>(block.repetitions) * inGroup;
    }
    return n < all.counts[kAfterGroup] ? SlotOfEntry(block, kAfterGroup, SlotOffset(places[inGroup + n]), 0) : nullptr;
}

int MarkersOf(const MessageBlock& block, const _field_data& slot) noexcept {
    const PlanEntry& entry = EntryOf(block, slot);
    const int passes = entry.part == kAfterGroup ? block.repetitions - 1 : slot.repetition;
    return entry.markers + passes * block.plan->groupMarkers;
}

void StartReceiving(MessageBlock& block) noexcept {
    std::memset(block.passed, 0, static_cast<std::size_t>(block.plan->entryCount) * sizeof *block.passed);
}

_field_data* FindFreeSlot(MessageBlock& block, unsigned short fieldId, int groupMarkers) noexcept {
    const MessagePlan& plan = *block.plan;
    const PlanId& id = FindPlanId(plan, fieldId);
    if (id.use == PlanId::kNone) {
        return nullptr;
    }
    if (id.use == PlanId::kSole && (id.part != kInGroup || plan.groupMarkers != 0)) {
        _field_data* slot = FindNthSlot(block, id, NumberByMarkers(block, id, groupMarkers));
        const bool isFree = slot != nullptr && slot->isSet == 0 && MarkersOf(block, *slot) == groupMarkers;
        return isFree ? slot : nullptr;
    }
    const int first = id.use == PlanId::kSole ? EntryAt(id.at) : plan.places[plan.repeatedIds[id.at].first];
    for (std::uint16_t& passed = block.passed[first];; ++passed) {
        _field_data* slot = FindNthSlot(block, id, passed);
        if (slot == nullptr || MarkersOf(block, *slot) > groupMarkers) {
            return nullptr;
        }
        if (MarkersOf(block, *slot) == groupMarkers && slot->isSet == 0) {
            return slot;
        }
    }
}

}  // namespace zel
