#include "core/slot_index.h"

#include <algorithm>
#include <cstring>

namespace zel {

namespace {

// More than a message has slots: only the first occurrence of an entry outside the group is one.
constexpr std::uint64_t kNoRepetition = SlotOffset(kZELMaxSlots + 1);

SlotPlace PlaceAt(const MessageBlock& block, Part part, int at, std::uint32_t repetition) noexcept {
    const PartSlots& parts = block.parts;
    const std::uint64_t offset = SlotOffset(at) + parts.shift[part] + repetition * parts.stride[part];
    if (offset >= parts.end[part]) {
        return {nullptr, 0, 0};
    }
    return {SlotAt(block, offset), at, static_cast<int>(repetition)};
}

// The n-th slot of an id of several entries: those in front of the group, then each repetition's, then those behind.
SlotPlace SeveralPlace(const MessageBlock& block, const PlanSeveral& all, std::uint32_t n) noexcept {
    const std::uint16_t* places = block.plan->places + all.first;
    if (n < all.counts[kBeforeGroup]) {
        return PlaceAt(block, kBeforeGroup, places[n], 0);
    }
    n -= all.counts[kBeforeGroup];
    places += all.counts[kBeforeGroup];
    const std::uint32_t inGroup = all.counts[kInGroup];
    if (inGroup != 0) {
        // The slots of the group end with the last repetition, or with the message.
        const SlotPlace place = PlaceAt(block, kInGroup, places[n % inGroup], n / inGroup);
        if (place.slot != nullptr) {
            return place;
        }
        const std::uint64_t groupEnd = block.parts.end[kInGroup];
        const std::uint64_t begin = SlotOffset(block.plan->groupBegin);
        const std::uint64_t repetitions = groupEnd > begin ? (groupEnd - begin) / block.parts.stride[kInGroup] : 0;
        n -= static_cast<std::uint32_t>(repetitions) * inGroup;
    }
    return n < all.counts[kBehindGroup] ? PlaceAt(block, kBehindGroup, places[inGroup + n], 0)
                                        : SlotPlace{nullptr, 0, 0};
}

SlotPlace NthPlace(const MessageBlock& block, const PlanId& id, std::uint32_t n) noexcept {
    if (id.use == PlanId::kSingle) {
        return PlaceAt(block, static_cast<Part>(id.part), EntryAt(id.at), n);
    }
    return id.use == PlanId::kSeveral ? SeveralPlace(block, block.plan->severals[id.at], n) : SlotPlace{nullptr, 0, 0};
}

// The group markers at or before the slot.
int MarkersOf(const MessageBlock& block, const SlotPlace& place) noexcept {
    const PlanEntry& entry = block.plan->entries[place.at];
    const int passes = entry.part == kBehindGroup ? block.repetitions - 1 : place.repetition;
    return entry.markers + passes * block.plan->groupMarkers;
}

}  // namespace

void PlaceParts(MessageBlock& block, short repeatCount) noexcept {
    const MessagePlan& plan = *block.plan;
    const int count = block.buffer.count;
    const int groupSize = plan.groupEnd - plan.groupBegin;
    const auto bytes = [](int slots) { return static_cast<std::uint64_t>(slots * std::int64_t{sizeof(_field_data)}); };
    block.repeatCount = repeatCount;
    block.repetitions = std::max<int>(repeatCount, 0);
    // Without a repetition the group takes all slots that are left.
    const int groupEnd = block.repetitions == 0 ? count : plan.groupBegin + block.repetitions * groupSize;
    block.parts = {{0, 0, bytes((block.repetitions - 1) * groupSize), 0},
                   {kNoRepetition, bytes(groupSize), kNoRepetition, 0},
                   {bytes(std::min(plan.groupBegin, count)), bytes(groupSize == 0 ? 0 : groupEnd),
                    bytes(block.repetitions == 0 ? 0 : count), 0}};
}

_field_data* FindNthSlot(const MessageBlock& block, unsigned short fieldId, std::uint32_t n) noexcept {
    return NthPlace(block, FindPlanId(*block.plan, fieldId), n).slot;
}

const PlanEntry& EntryOfSlot(const MessageBlock& block, const _field_data& slot) noexcept {
    const MessagePlan& plan = *block.plan;
    const int groupSize = plan.groupEnd - plan.groupBegin;
    const int groupEnd = EntryAt(block.parts.end[kInGroup]);
    auto at = static_cast<int>(&slot - SlotsOf(block));
    if (groupEnd != 0 && at >= groupEnd) {
        at -= (block.repetitions - 1) * groupSize;
    } else if (groupEnd != 0 && at >= plan.groupEnd) {
        at = plan.groupBegin + (at - plan.groupBegin) % groupSize;
    }
    return plan.entries[at];
}

void StartReceiving(ZELDataBuf& buffer) noexcept {
    const MessageBlock& block = BlockOf(buffer);
    std::memset(block.passed, 0, static_cast<std::size_t>(block.plan->entryCount) * sizeof *block.passed);
}

namespace {

// The slots of an id that markers tell apart, or that has one slot: only one of them may have this many markers.
SlotPlace FreePlaceByMarkers(const MessageBlock& block, const PlanId& id, int groupMarkers) noexcept {
    const MessagePlan& plan = *block.plan;
    int repetition = 0;
    if (id.part == kInGroup) {
        const int behindFirst = groupMarkers - plan.entries[EntryAt(id.at)].markers;
        repetition = plan.groupMarkers == 1 ? behindFirst : behindFirst / plan.groupMarkers;
        if (repetition < 0) {
            return {nullptr, 0, 0};
        }
    }
    const SlotPlace place =
        PlaceAt(block, static_cast<Part>(id.part), EntryAt(id.at), static_cast<std::uint32_t>(repetition));
    const bool isFree = place.slot != nullptr && place.slot->isSet == 0 && MarkersOf(block, place) == groupMarkers;
    return isFree ? place : SlotPlace{nullptr, 0, 0};
}

}  // namespace

SlotPlace FindFreePlace(MessageBlock& block, unsigned short fieldId, int groupMarkers) noexcept {
    const PlanId& id = FindPlanId(*block.plan, fieldId);
    if (id.use == PlanId::kFree) {
        return {nullptr, 0, 0};
    }
    if (id.use == PlanId::kSingle && (id.part != kInGroup || block.plan->groupMarkers != 0)) {
        return FreePlaceByMarkers(block, id, groupMarkers);
    }
    const int first =
        id.use == PlanId::kSingle ? EntryAt(id.at) : block.plan->places[block.plan->severals[id.at].first];
    for (std::uint16_t& passed = block.passed[first];; ++passed) {
        const SlotPlace place = NthPlace(block, id, passed);
        if (place.slot == nullptr) {
            return place;
        }
        const int markers = MarkersOf(block, place);
        if (markers > groupMarkers) {
            return {nullptr, 0, 0};
        }
        if (markers == groupMarkers && place.slot->isSet == 0) {
            return place;
        }
    }
}

}  // namespace zel
