// What the tables say of one message type, worked out once: each entry of the field list beside what the dictionary
// says of its field, the slots as they start, and where the slots of each id lie.
//
// A message's slots are those of the list in front of the repeating group and its count field, those of the group once
// for each repetition, and those after the group. A plan holds for every repeat count and never changes. It needs the
// tables no more: a message works by its plan as long as it lives.
#ifndef ZEL_CORE_TABLES_MESSAGE_PLAN_H
#define ZEL_CORE_TABLES_MESSAGE_PLAN_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/tables/field_shape.h"
#include "core/tables/header_fields.h"
#include "include/zelmessage.h"
#include "runtime/bounded.h"

namespace zel {

// The parts of a field list.
enum Part : std::uint8_t { kBeforeGroup, kInGroup, kAfterGroup, kNoPart, kPartCount };

// No 16-bit id.
inline constexpr std::uint32_t kNoId = 0x10000;

// One entry of the field list.
struct alignas(16) PlanEntry {
    FieldRule rule;
    std::uint32_t soleId;      // the id if the dictionary knows it and no other entry has it, else kNoId
    std::uint32_t wireId;      // the same as its bytes lie on the wire, if type and length of the dictionary agree
    std::uint16_t presence;    // of the message table
    std::uint16_t markers;     // group markers at or before the entry, the group passed once
    std::uint16_t memorySize;  // of the type's values; 0 for those that have no one size
    Shape shape;               // of the type
    Part part;
    bool hasRecord;  // the dictionary knows the id
    bool isMarker;
};

// From the first entry of a list to another, in bytes: what a slot says of where it comes from.
constexpr std::uint32_t EntryOffset(int entry) noexcept {
    return static_cast<std::uint32_t>(entry) * std::uint32_t{sizeof(PlanEntry)};
}

// From the first slot of a message to that of an entry in front of the group, in bytes; and the entry's place in the
// list.
constexpr std::uint32_t SlotOffset(int entry) noexcept {
    return static_cast<std::uint32_t>(entry) * std::uint32_t{sizeof(_field_data)};
}
constexpr int EntryAt(std::uint64_t slotOffset) noexcept {
    return static_cast<int>(slotOffset / sizeof(_field_data));
}

// Where the slots of one id lie.
struct PlanId {
    enum Use : std::uint8_t { kNone, kSole, kRepeated };
    std::uint32_t at;  // SlotOffset of the entry; for a repeated id the place in `repeatedIds`
    Part part;         // of the entry; kNoPart if it is not a sole one
    Use use;
};

// The ids lie in pages: those of neighbouring ids together.
inline constexpr unsigned int kIdsOfPage = 64;
inline constexpr unsigned int kIdPages = 65536 / kIdsOfPage;

// An id that the list holds several times: its places in the list, ascending, and how many lie in each part.
struct RepeatedId {
    std::uint16_t first;  // in `places`
    std::uint16_t counts[kNoPart];
};

struct alignas(16) MessagePlan {
    MessagePlan* next;  // for plan_table
    std::int16_t msgType;
    std::int16_t subType;
    std::uint16_t repeatFieldId;  // 0: no group
    std::int16_t groupSize;       // as the message table has it
    int listCount;                // entries; negative as the message table may have it
    int entryCount;               // entries; never negative
    int groupBegin;               // [groupBegin, groupEnd) is the group; empty when the list does not hold all of it
    int groupEnd;
    int groupMarkers;           // in one repetition
    std::uint32_t outsideRoom;  // what the separate values outside the group take, roughly, in bytes
    std::uint32_t groupRoom;    // and those of one repetition
    bool hasDictionary;
    bool knowsAllFields;  // each entry has a record
    bool hasIdZero;       // an entry, which no dictionary can know
    bool hasRepeatedIds;  // the list holds some id several times
    HeaderRules header;
    const PlanEntry* entries;  // and one after them that no field has
    const _field_data* slots;  // as they start; `value` not null: the slot's inline value
    const RepeatedId* repeatedIds;
    const std::uint16_t* places;
    std::uint16_t idPages[kIdPages];  // the page's number; 0 is that of all ids that the list lacks
};

// The pages follow the plan in memory.
inline const PlanId& FindPlanId(const MessagePlan& plan, unsigned short fieldId) noexcept {
    const auto* ids = reinterpret_cast<const PlanId*>(&plan + 1);
    return ids[plan.idPages[fieldId / kIdsOfPage] * kIdsOfPage + fieldId % kIdsOfPage];
}

// Whether the field at the reader has that id, as an entry has it.
inline bool IsNextField(std::uint32_t entryWireId, const Reader& in) noexcept {
    std::uint16_t wireId = 0;
    if (Remaining(in) < sizeof wireId) {
        return false;
    }
    std::memcpy(&wireId, in.next, sizeof wireId);
    return wireId == entryWireId;
}

// Whether the field at the reader is that of the entry, and the entry says how far it reaches.
inline bool IsFieldOf(const PlanEntry& entry, const Reader& in) noexcept {
    return IsNextField(entry.wireId, in);
}

// A plan from what the tables in use say, or null without memory. Release frees it.
MessagePlan* NewMessagePlan(short msgType, const ZELSubTypeNode& node) noexcept;

// Whether both were made from the same words of their tables.
bool IsSamePlan(const MessagePlan& one, const MessagePlan& other) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_TABLES_MESSAGE_PLAN_H
