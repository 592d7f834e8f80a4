// A layout held against a message's plan: for each entry of the field list a step that says where its value lies in the
// struct and how it gets there. Packing and unpacking go through the steps in order and look nothing up.
#ifndef ZEL_RECORD_BINDING_H
#define ZEL_RECORD_BINDING_H

#include <climits>
#include <cstdint>

#include "core/tables/message_plan.h"
#include "include/zelrecord.h"

namespace zel {

// Between a field's value and its member.
enum class Move : std::uint8_t {
    kNone,     // no member
    kShort16,  // the field's type and the member's bits
    kShort32,
    kShort64,
    kLong32,  // floats too
    kLong64,
    kDouble,
    kDateTime,
    kMoney,
    kChars,      // chars and an array
    kCharsView,  // chars and bytes elsewhere
    kText,       // a text and an array
    kBytes,      // a text or bytes and a counted array
    kBytesView,  // a text or bytes, and bytes elsewhere
    kSeconds,    // a date-time and seconds; takes move the date-time, and the end of the part makes seconds of it
    // Of takes alone. Four bits number all moves of a step, and all of a take.
    kNoneCounted = kSeconds,  // no member for a field that counts itself
    kStop                     // the part ends
};

// Offsets are from the start of the record, or of the repetition.
struct FieldStep {
    std::uint32_t wireId;  // as in the plan's entry: kNoId where the field takes the way of the message object
    Move move;
    Shape shape;
    bool isMandatory : 1;
    bool isMarker : 1;
    bool isNumber : 1;  // sent by the library: the repeat-count field and the group's markers, which are no members
    Move usualMove;     // of takes alone: what moves the value
    FieldRule rule;
    std::uint32_t offset;
    std::uint32_t size;
    std::uint32_t lengthOffset;
    std::uint32_t presenceOffset;  // ZEL_NOWHERE: always there
};
static_assert(sizeof(FieldStep) == 32, "two of them in a line of the processor");

// A step as unpacking takes it.
struct FieldTake {
    FieldStep step;
    // Bytes in format 0 from the field up to the value of the next one that counts itself, or to the end of its part:
    // where so many are left, nothing up to there has to be checked.
    std::uint32_t need;
    std::uint32_t needAfter;  // the same of the next field of its part; 0 of the last
};

// A field's name in the dictionary that the binding was made from.
struct FieldName {
    char text[sizeof(ZELDictionaryField::name)];
    bool hasMember;
    bool isAskedFor;  // the layout had the name, not the id
};

}  // namespace zel

// What it points to follows in memory; of steps and names there is one for each entry of the plan's list.
struct ZELBinding {
    const zel::MessagePlan* plan;  // stays as long as the process
    const zel::FieldStep* steps;
    const zel::FieldName* names;
    const zel::FieldTake* takes[zel::kNoPart];  // of each part, without the repeat-count field in front of the group
    // Of each part's takes, ended by ZEL_NOWHERE: the offsets of presence flags, and of members in seconds.
    const std::uint32_t* flags[zel::kNoPart];
    const std::uint32_t* seconds[zel::kNoPart];
    std::uint32_t groupOffset;
    std::uint32_t groupStride;
    std::uint32_t mostRepetitions;  // the layout's group has room for; never above SHRT_MAX
    std::uint32_t countOffset;
    int countEntry;        // of the repeat-count field, or -1
    bool hasGroup;         // the layout has one
    bool hasViews;         // a member is a view
    bool packsByStep;      // whatever is set, the steps know how to pack it
    bool packsNoneByStep;  // likewise without a repetition, but for format 1
    bool unpacksByStep;    // the list is one that steps can follow
    bool hasFlags;         // of a part's takes
    bool hasSeconds;       // likewise
};

namespace zel {

// How many repetitions the record says it has; none without a group.
inline std::uint32_t RepetitionsOf(const ZELBinding& binding, const void* record) noexcept {
    std::uint32_t count = 0;
    if (binding.hasGroup) {
        std::memcpy(&count, static_cast<const char*>(record) + binding.countOffset, sizeof count);
    }
    return count;
}

// Whether a message may have so many, all but the last few that it could have.
inline bool FitSlots(const MessagePlan& plan, std::uint32_t repetitions) noexcept {
    const int groupSize = plan.groupEnd - plan.groupBegin;
    return plan.entryCount + std::int64_t{repetitions} * groupSize <= kZELMaxSlots;
}

// Where members of the entry's step lie in that repetition.
inline std::size_t BaseOf(const ZELBinding& binding, const PlanEntry& entry, std::uint32_t repetition) noexcept {
    return entry.part == kInGroup ? binding.groupOffset + std::size_t{repetition} * binding.groupStride : 0;
}

// Steps that follow one another, and where their members lie in the record.
struct StepRange {
    const FieldStep* begin;
    const FieldStep* end;
    std::size_t base;
    int repetition;  // -1 outside the group
    Part part;
};

// The range after this one, of a message with so many repetitions. False: it was the last.
inline bool NextRange(const ZELBinding& binding, std::uint32_t repetitions, StepRange& range) noexcept {
    const MessagePlan& plan = *binding.plan;
    const auto next = static_cast<std::uint32_t>(range.repetition + 1);
    if (range.part == kAfterGroup) {
        return false;
    }
    if (next < repetitions) {
        range =
            StepRange{binding.steps + plan.groupBegin, binding.steps + plan.groupEnd,
                      binding.groupOffset + std::size_t{next} * binding.groupStride, static_cast<int>(next), kInGroup};
    } else {
        range = StepRange{binding.steps + plan.groupEnd, binding.steps + plan.entryCount, 0, -1, kAfterGroup};
    }
    return true;
}

// Calls `handle` with each step, its entry, and its repetition, in the order of a message's slots, as long as it
// returns 0; returns what it returned last. Without a repetition the fields after the group have no slots.
template <typename Handle>
int ForEachSlot(const ZELBinding& binding, std::uint32_t repetitions, const Handle& handle) noexcept {
    const MessagePlan& plan = *binding.plan;
    const auto pass = [&](int at, int end, std::uint32_t repetition) {
        int result = 0;
        for (; at < end && result == 0; ++at) {
            result = handle(binding.steps[at], plan.entries[at], repetition);
        }
        return result;
    };
    int result = pass(0, plan.groupBegin, 0);
    for (std::uint32_t repetition = 0; repetition < repetitions && result == 0; ++repetition) {
        result = pass(plan.groupBegin, plan.groupEnd, repetition);
    }
    const bool hasRest = result == 0 && (repetitions != 0 || plan.groupBegin == plan.groupEnd);
    return hasRest ? pass(plan.groupEnd, plan.entryCount, 0) : result;
}

}  // namespace zel

#endif  // ZEL_RECORD_BINDING_H
