#include "record/binding.h"

#include <algorithm>
#include <cstring>

#include "core/slots/message_model.h"
#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
#include "core/wire/field_codec.h"
#include "record/bind_check.h"
#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

struct Parts {
    ZELBinding* binding;
    FieldStep* steps;
    FieldName* names;
    FieldTake* takes;
    std::uint32_t* offsets;
};

FieldStep StartOfStep(const PlanEntry& entry) noexcept {
    FieldStep step{};
    step.wireId = entry.wireId;
    step.shape = entry.shape;
    step.isMandatory = entry.presence == kZELMandatory;
    step.isMarker = entry.isMarker;
    step.rule = entry.rule;
    step.presenceOffset = ZEL_NOWHERE;
    return step;
}

// The entry that counts the repetitions, or -1.
int FindCountEntry(const MessagePlan& plan) noexcept {
    for (int at = 0; plan.repeatFieldId != 0 && at < plan.entryCount; ++at) {
        if (plan.entries[at].rule.id == plan.repeatFieldId) {
            return at;
        }
    }
    return -1;
}

// A binding whose steps have no members, or none without memory.
Parts NewBinding(const MessagePlan& plan) noexcept {
    const auto count = static_cast<std::size_t>(plan.entryCount);
    static_assert(sizeof(ZELBinding) % alignof(FieldStep) == 0);
    auto* binding =
        static_cast<ZELBinding*>(AllocateZeroed(sizeof(ZELBinding) + count * (sizeof(FieldStep) + sizeof(FieldName)) +
                                                (count + kNoPart) * (sizeof(FieldTake) + 2 * sizeof(std::uint32_t))));
    if (binding == nullptr) {
        return {};
    }
    auto* steps = reinterpret_cast<FieldStep*>(binding + 1);
    auto* takes = reinterpret_cast<FieldTake*>(steps + count);
    auto* offsets = reinterpret_cast<std::uint32_t*>(takes + count + kNoPart);
    auto* names = reinterpret_cast<FieldName*>(offsets + 2 * (count + kNoPart));
    for (std::size_t at = 0; at < count; ++at) {
        const PlanEntry& entry = plan.entries[at];
        steps[at] = StartOfStep(entry);
        const ZELDictionaryField* record = FindFldRecord(static_cast<short>(entry.rule.id));
        if (record != nullptr) {
            // The last byte stays zero.
            std::memcpy(names[at].text, record->name, sizeof names[at].text - 1);
        }
    }
    binding->plan = &plan;
    binding->steps = steps;
    binding->names = names;
    binding->countEntry = FindCountEntry(plan);
    return {binding, steps, names, takes, offsets};
}

// Bytes of the field in format 0 that are there whatever it holds.
std::uint32_t SmallestSize(const FieldStep& step) noexcept {
    constexpr std::uint32_t front = FrontSize(kIdAndValue);
    switch (step.shape) {
        case Shape::kCounted:
            return front + 2;
        case Shape::kChars:
            return front + static_cast<std::uint16_t>(step.rule.length);
        default:
            return front + FixedWireSize(step.shape);
    }
}

Move UsualMoveOf(const FieldStep& step) noexcept {
    if (step.move == Move::kSeconds) {
        return Move::kDateTime;
    }
    return step.move == Move::kNone && step.shape == Shape::kCounted ? Move::kNoneCounted : step.move;
}

// Writes the takes of the steps, and one that ends them; returns the address after it.
FieldTake* MakeTakes(const FieldStep* begin, const FieldStep* end, FieldTake* takes) noexcept {
    FieldTake* take = std::transform(begin, end, takes, [](FieldStep step) {
        step.usualMove = UsualMoveOf(step);
        return FieldTake{step, 0, 0};
    });
    FieldTake* const after = take + 1;
    take->step.move = take->step.usualMove = Move::kStop;
    while (take-- != takes) {
        take->needAfter = take[1].need;
        take->need = SmallestSize(take->step) + (take->step.shape == Shape::kCounted ? 0 : take->needAfter);
    }
    return after;
}

// Writes one offset of each take's step, where there is one, and what ends them; returns the address after it.
template <typename OffsetOf>
std::uint32_t* WriteOffsets(const FieldTake* take, OffsetOf offsetOf, std::uint32_t* offsets) noexcept {
    for (; take->step.usualMove != Move::kStop; ++take) {
        *offsets = offsetOf(take->step);
        offsets += *offsets != ZEL_NOWHERE ? 1 : 0;
    }
    *offsets++ = ZEL_NOWHERE;
    return offsets;
}

void MakeAllTakes(ZELBinding& binding, FieldTake* takes, std::uint32_t* offsets) noexcept {
    const MessagePlan& plan = *binding.plan;
    const int count = plan.groupBegin != plan.groupEnd ? 1 : 0;
    const FieldStep* const steps = binding.steps;
    const FieldStep* const group = steps + plan.groupBegin;
    const FieldStep* const rest = steps + plan.groupEnd;
    binding.takes[kBeforeGroup] = takes;
    binding.takes[kInGroup] = MakeTakes(steps, group - count, takes);
    binding.takes[kAfterGroup] = MakeTakes(group, rest, const_cast<FieldTake*>(binding.takes[kInGroup]));
    (void)MakeTakes(rest, steps + plan.entryCount, const_cast<FieldTake*>(binding.takes[kAfterGroup]));
    const auto flagOf = [](const FieldStep& step) { return step.presenceOffset; };
    const auto secondsOf = [](const FieldStep& step) {
        return step.move == Move::kSeconds ? step.offset : ZEL_NOWHERE;
    };
    for (const Part part : {kBeforeGroup, kInGroup, kAfterGroup}) {
        const FieldTake* const first = binding.takes[part];
        binding.flags[part] = offsets;
        offsets = WriteOffsets(first, flagOf, offsets);
        binding.seconds[part] = offsets;
        offsets = WriteOffsets(first, secondsOf, offsets);
        binding.hasFlags |= *binding.flags[part] != ZEL_NOWHERE;
        binding.hasSeconds |= *binding.seconds[part] != ZEL_NOWHERE;
    }
}

// A message without a repetition has slots of the group's fields in place of those after it, and nobody sets them.
bool CanLackRepetitions(const MessagePlan& plan) noexcept {
    const int groupSize = plan.groupEnd - plan.groupBegin;
    for (int at = plan.groupEnd; at < plan.entryCount && groupSize != 0; ++at) {
        if (plan.entries[plan.groupBegin + (at - plan.groupEnd) % groupSize].presence == kZELMandatory) {
            return false;
        }
    }
    return true;
}

// Which messages go by the steps alone.
void JudgeSteps(ZELBinding& binding) noexcept {
    const MessagePlan& plan = *binding.plan;
    // Of the id 0 each message that is created or received is reported.
    const bool isUsual =
        (plan.repeatFieldId == 0 || plan.groupBegin != plan.groupEnd) && plan.hasDictionary && !plan.hasIdZero;
    const auto steps = [&](auto holds) { return std::all_of(binding.steps, binding.steps + plan.entryCount, holds); };
    binding.packsByStep = isUsual && plan.knowsAllFields && steps([](const FieldStep& step) {
                              return (step.move == Move::kNone && !step.isNumber) || step.wireId != kNoId;
                          });
    binding.packsNoneByStep = CanLackRepetitions(plan);
    binding.unpacksByStep = isUsual && (binding.countEntry < 0 || binding.steps[binding.countEntry].wireId != kNoId);
}

}  // namespace

}  // namespace zel

extern "C" int ZELBind(const ZELLayout* layout, const ZELBinding** binding, char* text, size_t textSize) noexcept {
    using namespace zel;
    Disagreements disagreements(text, textSize);
    if (binding != nullptr) {
        *binding = nullptr;
    }
    if (layout == nullptr || binding == nullptr || (layout->members == nullptr && layout->memberCount != 0) ||
        (layout->group != nullptr && layout->group->members == nullptr && layout->group->memberCount != 0)) {
        return ZEL_BAD_ARGUMENT;
    }
    ReportListener listener;
    const MessagePlan* plan = FindPlanOrReport(layout->msgType, layout->subType);
    if (plan == nullptr) {
        return listener.code > 0 ? listener.code : ZEL_BAD_CALL;
    }
    const Parts parts = NewBinding(*plan);
    if (parts.binding == nullptr) {
        SendReport(reports::kModelAllocation);
        return listener.code > 0 ? listener.code : ZEL_BAD_CALL;
    }
    BindMembers(*layout, *parts.binding, parts.steps, parts.names, disagreements);
    if (!disagreements.IsEmpty()) {
        Release(parts.binding);
        return ZEL_BAD_LAYOUT;
    }
    JudgeSteps(*parts.binding);
    if (parts.binding->unpacksByStep) {
        MakeAllTakes(*parts.binding, parts.takes, parts.offsets);
    }
    *binding = parts.binding;
    return 0;
}

extern "C" void ZELFreeBinding(const ZELBinding* binding) noexcept {
    zel::Release(const_cast<ZELBinding*>(binding));
}

extern "C" int ZELIsCurrent(const ZELBinding* binding) noexcept {
    using namespace zel;
    if (binding == nullptr || !tablesAreInUse || !HasDataDictionary() ||
        FindMessage(binding->plan->msgType, binding->plan->subType).plan != binding->plan) {
        return 0;
    }
    for (int at = 0; at < binding->plan->entryCount; ++at) {
        const FieldName& name = binding->names[at];
        if (name.isAskedFor && GetFldByName(name.text) != static_cast<short>(binding->steps[at].rule.id)) {
            return 0;
        }
    }
    return 1;
}
