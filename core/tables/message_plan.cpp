#include "core/tables/message_plan.h"

#include <algorithm>
#include <bitset>
#include <cstring>

#include "runtime/allocator.h"
#include "runtime/byte_order.h"

namespace zel {

namespace {

// What a separate value takes beside its bytes, and a text or byte string in all: most are short.
constexpr std::uint32_t kUsualOverhead = 24;
constexpr std::uint32_t kUsualCounted = 48;

// The arrays of a plan while it is made.
struct PlanArrays {
    _field_data* slots;
    PlanEntry* entries;
    PlanId* ids;
    RepeatedId* repeatedIds;
    std::uint16_t* places;
};

std::uint16_t OnTheWire(std::uint16_t value) noexcept {
    char bytes[2];
    StoreU16Be(bytes, value);
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// Whether a step over the field by the dictionary's length comes to the same as one by its type.
bool SizesAgree(Shape shape, std::int16_t length) noexcept {
    if (shape == Shape::kChars) {
        return length > 0;
    }
    return shape != Shape::kNone && length == FixedWireSize(shape);
}

std::uint32_t RoomOf(const PlanEntry& entry) noexcept {
    if (entry.shape == Shape::kChars) {
        return static_cast<std::uint16_t>(entry.rule.length) + kUsualOverhead;
    }
    return entry.shape == Shape::kCounted ? kUsualCounted : 0;
}

// The group's bounds. A list without the count field, or one that does not hold the whole group, is passed in a row.
void FindGroup(const ZELSubTypeNode& node, MessagePlan& plan) noexcept {
    plan.groupBegin = plan.entryCount;
    plan.groupEnd = plan.entryCount;
    if (node.repeatFieldId == 0 || node.groupSize <= 0) {
        return;
    }
    const auto* end = node.fieldList + plan.entryCount;
    const auto* count = std::find_if(
        node.fieldList, end, [&](const ZELFieldListEntry& entry) { return entry.fieldId == node.repeatFieldId; });
    if (count == end || node.groupSize > end - count - 1) {
        return;
    }
    plan.groupBegin = static_cast<int>(count - node.fieldList) + 1;
    plan.groupEnd = plan.groupBegin + node.groupSize;
}

Part PartOf(const MessagePlan& plan, int at) noexcept {
    if (at < plan.groupBegin) {
        return kBeforeGroup;
    }
    return at < plan.groupEnd ? kInGroup : kAfterGroup;
}

PlanEntry NewEntry(const ZELFieldListEntry& listed, Part part, std::uint16_t markersBefore) noexcept {
    PlanEntry entry{};
    entry.rule = FindRule(listed.fieldId);
    entry.hasRecord = FindFldRecord(static_cast<short>(listed.fieldId)) != nullptr;
    entry.soleId = kNoId;
    entry.wireId = kNoId;
    entry.presence = listed.presence;
    entry.shape = ShapeOf(entry.rule.type);
    entry.memorySize = FixedMemorySize(entry.shape);
    entry.part = part;
    entry.isMarker = listed.fieldId == kZELGroupMarker;
    entry.markers = static_cast<std::uint16_t>(markersBefore + (entry.isMarker ? 1 : 0));
    return entry;
}

_field_data StartOfSlot(const PlanEntry& entry, int at, _field_data& slot) noexcept {
    _field_data start{};
    start.id = entry.rule.id;
    start.presence = entry.presence;
    start.length = entry.hasRecord ? static_cast<std::uint16_t>(entry.rule.length) : std::uint16_t{0};
    start.value = IsFixed(entry.shape) ? slot.inlineValue : nullptr;
    start.entry = EntryOffset(at);
    return start;
}

void FillEntries(const ZELSubTypeNode& node, MessagePlan& plan, const PlanArrays& arrays) noexcept {
    std::uint16_t markers = 0;
    for (int at = 0; at < plan.entryCount; ++at) {
        const PlanEntry& entry = arrays.entries[at] = NewEntry(node.fieldList[at], PartOf(plan, at), markers);
        arrays.slots[at] = StartOfSlot(entry, at, arrays.slots[at]);
        markers = entry.markers;
        plan.knowsAllFields = plan.knowsAllFields && entry.hasRecord;
        if (entry.part == kInGroup) {
            plan.groupRoom += RoomOf(entry);
            plan.groupMarkers += entry.isMarker ? 1 : 0;
        } else {
            plan.outsideRoom += RoomOf(entry);
        }
    }
    arrays.entries[plan.entryCount] = NewEntry({0, 0}, kNoPart, 0);
}

// The id's place in the arrays, for writing.
PlanId& IdAt(const MessagePlan& plan, const PlanArrays& arrays, unsigned short fieldId) noexcept {
    return arrays.ids[&FindPlanId(plan, fieldId) - arrays.ids];
}

// Gives each page of ids that the list uses a place of its own; the first one is for all others.
void PlacePages(const ZELSubTypeNode& node, MessagePlan& plan) noexcept {
    std::uint16_t pages = 0;
    for (int at = 0; at < plan.entryCount; ++at) {
        std::uint16_t& page = plan.idPages[node.fieldList[at].fieldId / kIdsOfPage];
        page = page != 0 ? page : ++pages;
    }
}

void FillIds(MessagePlan& plan, const PlanArrays& arrays) noexcept {
    // `at` counts first how often the list holds each id.
    for (int at = 0; at < plan.entryCount; ++at) {
        PlanId& id = IdAt(plan, arrays, arrays.entries[at].rule.id);
        id.use = id.at == 0 ? PlanId::kSole : PlanId::kRepeated;
        id.part = arrays.entries[at].part;
        ++id.at;
    }
    std::uint16_t repeatedIds = 0;
    std::uint16_t place = 0;
    for (int at = 0; at < plan.entryCount; ++at) {
        PlanEntry& entry = arrays.entries[at];
        PlanId& id = IdAt(plan, arrays, entry.rule.id);
        if (id.use == PlanId::kSole) {
            entry.soleId = entry.hasRecord ? entry.rule.id : kNoId;
            entry.wireId = SizesAgree(entry.shape, entry.rule.length) ? OnTheWire(entry.rule.id) : kNoId;
            id.at = SlotOffset(at);
            continue;
        }
        if (id.part != kNoPart) {
            // The first of its entries: room for all of them.
            arrays.repeatedIds[repeatedIds] = {place, {}};
            place = static_cast<std::uint16_t>(place + id.at);
            id.at = repeatedIds++;
            id.part = kNoPart;
        }
        RepeatedId& all = arrays.repeatedIds[id.at];
        arrays.places[all.first + all.counts[0] + all.counts[1] + all.counts[2]] = static_cast<std::uint16_t>(at);
        ++all.counts[entry.part];
    }
    plan.hasRepeatedIds = repeatedIds != 0;
}

unsigned int CountPages(const ZELSubTypeNode& node, std::size_t entryCount) noexcept {
    std::bitset<kIdPages> used;
    for (std::size_t at = 0; at < entryCount; ++at) {
        used[node.fieldList[at].fieldId / kIdsOfPage] = true;
    }
    return static_cast<unsigned int>(used.count());
}

// What the tables say of an entry.
bool IsSameEntry(const PlanEntry& one, const PlanEntry& other) noexcept {
    return std::memcmp(&one.rule, &other.rule, sizeof one.rule) == 0 && one.presence == other.presence &&
           one.hasRecord == other.hasRecord;
}

}  // namespace

MessagePlan* NewMessagePlan(short msgType, const ZELSubTypeNode& node) noexcept {
    const auto entryCount = static_cast<std::size_t>(std::max<int>(node.fieldCount, 0));
    const std::size_t idCount = (1 + CountPages(node, entryCount)) * std::size_t{kIdsOfPage};
    const std::size_t size = sizeof(MessagePlan) + idCount * sizeof(PlanId) + (entryCount + 1) * sizeof(PlanEntry) +
                             entryCount * (sizeof(_field_data) + sizeof(RepeatedId) + sizeof(std::uint16_t));
    auto* plan = static_cast<MessagePlan*>(AllocateZeroed(size));
    if (plan == nullptr) {
        return nullptr;
    }
    // Each array ends where the next one may begin.
    static_assert(sizeof(MessagePlan) % alignof(PlanId) == 0 && kIdsOfPage * sizeof(PlanId) % alignof(PlanEntry) == 0 &&
                  sizeof(PlanEntry) % alignof(_field_data) == 0 && sizeof(_field_data) % alignof(RepeatedId) == 0);
    PlanArrays arrays{};
    arrays.ids = reinterpret_cast<PlanId*>(plan + 1);
    arrays.entries = reinterpret_cast<PlanEntry*>(arrays.ids + idCount);
    arrays.slots = reinterpret_cast<_field_data*>(arrays.entries + entryCount + 1);
    arrays.repeatedIds = reinterpret_cast<RepeatedId*>(arrays.slots + entryCount);
    arrays.places = reinterpret_cast<std::uint16_t*>(arrays.repeatedIds + entryCount);
    plan->msgType = msgType;
    plan->subType = node.subType;
    plan->repeatFieldId = node.repeatFieldId;
    plan->groupSize = node.groupSize;
    plan->listCount = node.fieldCount;
    plan->entryCount = static_cast<int>(entryCount);
    plan->hasDictionary = HasDataDictionary();
    plan->knowsAllFields = true;
    plan->header = HeaderRulesInUse();
    plan->entries = arrays.entries;
    plan->slots = arrays.slots;
    plan->repeatedIds = arrays.repeatedIds;
    plan->places = arrays.places;
    FindGroup(node, *plan);
    FillEntries(node, *plan, arrays);
    PlacePages(node, *plan);
    std::fill_n(arrays.ids, idCount, PlanId{0, kNoPart, PlanId::kNone});
    FillIds(*plan, arrays);
    plan->hasIdZero = FindPlanId(*plan, 0).use != PlanId::kNone;
    return plan;
}

bool IsSamePlan(const MessagePlan& one, const MessagePlan& other) noexcept {
    return one.msgType == other.msgType && one.subType == other.subType && one.repeatFieldId == other.repeatFieldId &&
           one.groupSize == other.groupSize && one.listCount == other.listCount &&
           one.hasDictionary == other.hasDictionary &&
           std::memcmp(one.header.rules, other.header.rules, sizeof one.header.rules) == 0 &&
           std::equal(one.entries, one.entries + one.entryCount, other.entries, IsSameEntry);
}

}  // namespace zel
