// What the tables say of one message type, worked out once: each entry of the field list beside what the dictionary
// says of its field, the slots as they start, and where the slots of each id lie.
//
// A message's slots are those of the list in front of the repeating group and its count field, those of the group once
// for each repetition, and those behind the group. A plan holds for every repeat count and never changes.
#ifndef ZEL_CORE_MESSAGE_PLAN_H
#define ZEL_CORE_MESSAGE_PLAN_H

#include <bit>
#include <cstddef>
#include <cstdint>

#include "core/wire_shape.h"
#include "include/zelmessage.h"
#include "include/zelprovider.h"

namespace zel {

struct PlanTable;

// The parts of a field list.
enum Part : std::uint8_t { kBeforeGroup, kInGroup, kBehindGroup, kNoPart, kPartCount };

// One entry of the field list.
struct alignas(8) PlanEntry {
    std::size_t span;  // the bytes that the field takes in format 0 at least; more than any payload has unless plain
    std::uint16_t wireId;  // the id as its bytes lie on the wire
    std::uint16_t id;
    std::uint16_t length;   // of the dictionary
    std::uint16_t markers;  // group markers at or before the entry, the group passed once
    Shape shape;            // of the type
    Part part;
    bool hasRecord;  // the dictionary knows the id
    bool isPlain;    // type and length of the dictionary agree, and the list holds the id once
    bool isMarker;
};

// How a slot is set and packed without the dictionary: the shape of its field if its entry is plain, else kNone. A flag
// tells apart what has the same shape.
enum class SlotKind : std::uint8_t {
    kText = static_cast<std::uint8_t>(Shape::kCounted),
    kBytes = kText | 8,
    kNotPlain = static_cast<std::uint8_t>(Shape::kNone),
    kNoRecord = kNotPlain | 8  // the dictionary does not know the id either
};

inline SlotKind KindOf(const _field_data& slot) noexcept {
    return static_cast<SlotKind>(slot.kind);
}

// Whether the values have one size; no flag goes with those.
constexpr bool IsFixed(SlotKind kind) noexcept {
    return kind <= static_cast<SlotKind>(Shape::kMoney);
}

inline Shape PlainShapeOf(const _field_data& slot) noexcept {
    return static_cast<Shape>(slot.kind & 7);
}

// What a setter names a slot by: the key of the slots of plain entries, with the occurrence -1 outside the group. What
// is not plain has a key of the id 0.
constexpr unsigned int SlotKey(unsigned short fieldId, short occurrence) noexcept {
    return static_cast<unsigned int>(static_cast<unsigned short>(occurrence)) << 16 | fieldId;
}

// Whether the slot has that key; it mostly has.
inline bool HasKey(const _field_data& slot, unsigned short fieldId, short occurrence) noexcept {
    // Half by half, each against memory: fewer steps than putting a key together.
    static_assert(std::endian::native == std::endian::little);
    const char* key = reinterpret_cast<const char*>(&slot.key);
    if (LoadHost<unsigned short>(key) == fieldId) [[likely]] {
        if (LoadHost<short>(key + 2) == occurrence) [[likely]] {
            return true;
        }
    }
    return false;
}

// From the key of an occurrence in the group to that of the next.
inline constexpr unsigned int kNextOccurrence = 1U << 16;

// The newest version that a slot can say of its field; slots of newer fields are not plain.
inline constexpr int kNewestSlotVersion = UINT8_MAX;

// The entry behind the last one, where no field is expected. The id can be on no wire: it means that there is none.
inline constexpr PlanEntry kNowhere = {SIZE_MAX / 2, 0xFFFF, 0xFFFF, 0, 0, Shape::kNone, kNoPart, false, false, false};

// Where the slots of one id lie. An entry of a hash table over the ids, which is at most half full.
struct alignas(8) PlanId {
    enum Use : std::uint8_t { kFree, kSingle, kSeveral };
    std::uint16_t id;
    std::uint8_t part;  // kNoPart unless it is a single entry
    std::uint8_t use;
    std::uint32_t at;  // SlotOffset of the entry, or for an id of several the place in `severals`
};

// From the first slot of a message to that of an entry in front of the group, in bytes; and the entry's place in the
// list.
constexpr std::uint32_t SlotOffset(int entry) noexcept {
    return static_cast<std::uint32_t>(entry) * std::uint32_t{sizeof(_field_data)};
}
constexpr int EntryAt(std::uint64_t slotOffset) noexcept {
    return static_cast<int>(slotOffset / sizeof(_field_data));
}

// An id that the list holds several times: its places in the list, ascending, and how many lie in each part.
struct PlanSeveral {
    std::uint16_t first;  // in `places`
    std::uint16_t counts[kNoPart];
};

struct alignas(8) MessagePlan {
    const PlanTable* table;  // the tables that the plan was made from
    const ZELSubTypeNode* node;
    std::int16_t msgType;
    std::int16_t subType;
    std::uint16_t repeatFieldId;  // 0: no group
    std::int16_t groupSize;       // as the message table has it
    int listCount;                // entries; negative as the message table may have it
    int entryCount;               // entries; never negative
    int groupBegin;               // [groupBegin, groupEnd) is the group; empty when the list does not hold all of it
    int groupEnd;
    int groupMarkers;           // in one repetition
    int countAt;                // the place of the repeat-count field, a plain short or long; negative: it is none
    bool reportsLookups;        // looking an id up in the dictionary reports something
    std::uint32_t outsideRoom;  // what the separate values outside the group take, roughly
    std::uint32_t groupRoom;    // and those of one repetition
    std::uint32_t idMultiplier;
    std::uint32_t idMask;
    const PlanEntry* entries;  // and kNowhere behind them
    const _field_data* slots;  // as they start; `value` not null: the slot's inline value
    const PlanId* ids;
    const PlanSeveral* severals;
    const std::uint16_t* places;
};

// Where the search for an id begins.
inline std::uint32_t HomeOf(std::uint32_t multiplier, std::uint32_t mask, unsigned short fieldId) noexcept {
    return (fieldId * multiplier) >> 16 & mask;
}

// The id's entry in the hash table, or the free entry where the search for it ends.
inline const PlanId& FindPlanId(const MessagePlan& plan, unsigned short fieldId) noexcept {
    std::uint32_t at = HomeOf(plan.idMultiplier, plan.idMask, fieldId);
    while (plan.ids[at].use != PlanId::kFree && plan.ids[at].id != fieldId) {
        at = (at + 1) & plan.idMask;
    }
    return plan.ids[at];
}

// A plan from what the tables say now, or null without memory. Release frees it.
MessagePlan* NewMessagePlan(const PlanTable* table, short msgType, const ZELSubTypeNode& node) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_PLAN_H
