#include "core/message_plan.h"

#include <algorithm>
#include <bit>

#include "core/dictionary.h"
#include "core/message_block.h"
#include "runtime/allocator.h"

namespace zel {

namespace {

// So that no count added to it wraps.
constexpr std::size_t kNoSpan = SIZE_MAX / 2;

// What a text or byte string is expected to take: most are short.
constexpr std::uint32_t kCountedRoom = 48;

std::uint16_t OnTheWire(std::uint16_t value) noexcept {
    char bytes[2];
    StoreU16Be(bytes, value);
    return LoadHost<std::uint16_t>(bytes);
}

// What the field takes on the wire at least when the dictionary's length agrees with the type, so that a step over it
// by either comes to the same.
std::size_t SpanOf(Shape shape, std::int16_t length) noexcept {
    constexpr std::size_t kIdSize = 2;
    switch (shape) {
        case Shape::kChars:
            return length > 0 ? kIdSize + static_cast<std::size_t>(length) : kNoSpan;
        case Shape::kCounted:
            return length == 0 ? kIdSize + 2 : kNoSpan;
        case Shape::kNone:
            return kNoSpan;
        default:
            return length == FixedWireSize(shape) ? kIdSize + FixedWireSize(shape) : kNoSpan;
    }
}

std::uint32_t RoomOf(Shape shape, std::uint16_t length) noexcept {
    if (shape == Shape::kChars) {
        return static_cast<std::uint32_t>(RoomOfValue(length));
    }
    return shape == Shape::kCounted ? kCountedRoom : 0;
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
    return at < plan.groupEnd ? kInGroup : kBehindGroup;
}

PlanEntry NewEntry(const ZELFieldListEntry& listed, Part part, std::uint16_t markers) noexcept {
    PlanEntry entry{};
    entry.id = listed.fieldId;
    entry.wireId = OnTheWire(listed.fieldId);
    entry.markers = markers;
    entry.part = part;
    entry.isMarker = listed.fieldId == kZELGroupMarker;
    entry.shape = Shape::kNone;
    entry.span = kNoSpan;
    if (const ZELDictionaryField* record = FindFldRecord(static_cast<short>(listed.fieldId))) {
        entry.hasRecord = true;
        entry.shape = ShapeOf(record->type);
        entry.length = static_cast<std::uint16_t>(record->length);
        entry.span = SpanOf(entry.shape, record->length);
    }
    return entry;
}

void FillEntries(const ZELSubTypeNode& node, MessagePlan& plan, PlanEntry* entries, _field_data* slots) noexcept {
    std::uint16_t markers = 0;
    entries[plan.entryCount] = kNowhere;
    for (int at = 0; at < plan.entryCount; ++at) {
        const ZELFieldListEntry& listed = node.fieldList[at];
        const bool isMarker = listed.fieldId == kZELGroupMarker;
        markers = static_cast<std::uint16_t>(markers + (isMarker ? 1 : 0));
        entries[at] = NewEntry(listed, PartOf(plan, at), markers);
        slots[at] = {};
        slots[at].id = listed.fieldId;
        slots[at].presence = listed.presence;
        slots[at].length = entries[at].length;
        slots[at].kind = static_cast<unsigned char>(entries[at].hasRecord ? SlotKind::kNotPlain : SlotKind::kNoRecord);
        slots[at].value = IsFixed(entries[at].shape) ? slots[at].inlineValue : nullptr;
        const std::uint32_t room = RoomOf(entries[at].shape, entries[at].length);
        if (entries[at].part == kInGroup) {
            plan.groupRoom += room;
            plan.groupMarkers += isMarker ? 1 : 0;
        } else {
            plan.outsideRoom += room;
        }
    }
}

// Puts the id into the table; its entry there.
PlanId& Enter(const MessagePlan& plan, PlanId* ids, unsigned short fieldId) noexcept {
    auto& entry = ids[&FindPlanId(plan, fieldId) - ids];
    entry.id = fieldId;
    return entry;
}

SlotKind KindOf(const ZELDictionaryField& plainField) noexcept {
    if (plainField.version < 0 || plainField.version > kNewestSlotVersion) {
        return SlotKind::kNotPlain;
    }
    const Shape shape = ShapeOf(plainField.type);
    if (shape == Shape::kCounted) {
        return plainField.type == kZELText ? SlotKind::kText : SlotKind::kBytes;
    }
    return static_cast<SlotKind>(shape);
}

// Chooses where ids begin to be searched so that most are found at once: dictionaries are made of runs, for which their
// low bits serve best.
void ChooseHomes(MessagePlan& plan, const PlanEntry* entries, std::uint32_t capacity, PlanId* ids) noexcept {
    constexpr std::uint32_t kLowBits = 65536;
    constexpr std::uint32_t kSpread[] = {kLowBits, 2654435769U, 2246822519U, 3266489917U, 668265263U, 374761393U};
    int fewest = plan.entryCount + 1;
    for (const std::uint32_t multiplier : kSpread) {
        std::fill_n(ids, capacity, PlanId{});
        int displaced = 0;
        for (int at = 0; at < plan.entryCount; ++at) {
            PlanId& home = ids[HomeOf(multiplier, capacity - 1, entries[at].id)];
            displaced += home.use != PlanId::kFree && home.id != entries[at].id ? 1 : 0;
            home.use = PlanId::kSingle;
            home.id = entries[at].id;
        }
        if (displaced < fewest) {
            fewest = displaced;
            plan.idMultiplier = multiplier;
        }
    }
    plan.idMask = capacity - 1;
    std::fill_n(ids, capacity, PlanId{});
}

void FillIds(MessagePlan& plan, PlanEntry* entries, _field_data* slots, PlanId* ids, PlanSeveral* severals,
             std::uint16_t* places) noexcept {
    // How often the list holds each id is counted in `at` first.
    for (int at = 0; at < plan.entryCount; ++at) {
        PlanId& id = Enter(plan, ids, entries[at].id);
        id.use = id.use == PlanId::kFree ? PlanId::kSingle : PlanId::kSeveral;
        ++id.at;
    }
    std::uint16_t several = 0;
    std::uint16_t place = 0;
    for (int at = 0; at < plan.entryCount; ++at) {
        PlanId& id = Enter(plan, ids, entries[at].id);
        if (id.use == PlanId::kSingle) {
            entries[at].isPlain = entries[at].span != kNoSpan;
            if (entries[at].isPlain) {
                const ZELDictionaryField& record = *FindFldRecord(static_cast<short>(id.id));
                slots[at].kind = static_cast<unsigned char>(KindOf(record));
                slots[at].version = static_cast<unsigned char>(record.version);
                slots[at].key = SlotKey(id.id, entries[at].part == kInGroup ? 1 : -1);
            }
            id.at = SlotOffset(at);
            id.part = entries[at].part;
            continue;
        }
        entries[at].span = kNoSpan;
        if (id.part != kNoPart) {
            // The first of its entries: room for all of them.
            severals[several] = {place, {}};
            place = static_cast<std::uint16_t>(place + id.at);
            id.at = several++;
            id.part = kNoPart;
        }
        PlanSeveral& all = severals[id.at];
        places[all.first + all.counts[0] + all.counts[1] + all.counts[2]] = static_cast<std::uint16_t>(at);
        ++all.counts[entries[at].part];
    }
    for (std::uint32_t at = 0; at <= plan.idMask; ++at) {
        if (ids[at].use == PlanId::kFree) {
            ids[at].part = kNoPart;
        }
    }
}

}  // namespace

MessagePlan* NewMessagePlan(const PlanTable* table, short msgType, const ZELSubTypeNode& node) noexcept {
    const auto entryCount = static_cast<std::size_t>(std::max<int>(node.fieldCount, 0));
    const std::uint32_t capacity = std::bit_ceil(static_cast<std::uint32_t>(entryCount) * 4 + 1);
    const std::size_t size = sizeof(MessagePlan) + entryCount * sizeof(_field_data) +
                             (entryCount + 1) * sizeof(PlanEntry) + capacity * sizeof(PlanId) +
                             entryCount * (sizeof(PlanSeveral) + sizeof(std::uint16_t));
    auto* plan = static_cast<MessagePlan*>(AllocateZeroed(size));
    if (plan == nullptr) {
        return nullptr;
    }
    // In descending order of alignment; in 32 bits, too, what begins at a multiple of 8 ends at one.
    static_assert(sizeof *plan % alignof(_field_data) == 0 && sizeof(_field_data) % alignof(PlanEntry) == 0 &&
                  sizeof(PlanEntry) % alignof(PlanId) == 0 && sizeof(PlanId) % alignof(PlanSeveral) == 0);
    auto* slots = reinterpret_cast<_field_data*>(plan + 1);
    auto* entries = reinterpret_cast<PlanEntry*>(slots + entryCount);
    auto* ids = reinterpret_cast<PlanId*>(entries + entryCount + 1);
    auto* severals = reinterpret_cast<PlanSeveral*>(ids + capacity);
    auto* places = reinterpret_cast<std::uint16_t*>(severals + entryCount);
    plan->table = table;
    plan->node = &node;
    plan->msgType = msgType;
    plan->subType = node.subType;
    plan->repeatFieldId = node.repeatFieldId;
    plan->groupSize = node.groupSize;
    plan->listCount = node.fieldCount;
    plan->entryCount = static_cast<int>(entryCount);
    plan->slots = slots;
    plan->entries = entries;
    plan->ids = ids;
    plan->severals = severals;
    plan->places = places;
    FindGroup(node, *plan);
    FillEntries(node, *plan, entries, slots);
    ChooseHomes(*plan, entries, capacity, ids);
    FillIds(*plan, entries, slots, ids, severals, places);
    const PlanId& count = FindPlanId(*plan, plan->repeatFieldId);
    const int countAt = plan->repeatFieldId != 0 && count.use == PlanId::kSingle ? EntryAt(count.at) : -1;
    const bool isPlainCount = countAt >= 0 && entries[countAt].isPlain && entries[countAt].shape <= Shape::kLong;
    plan->countAt = isPlainCount ? countAt : -1;
    plan->reportsLookups = zelGetDataDictionary() == nullptr || FindPlanId(*plan, 0).use != PlanId::kFree;
    return plan;
}

}  // namespace zel
