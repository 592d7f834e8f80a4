#include "record/bind_check.h"

#include <algorithm>
#include <cstring>

namespace zel {

namespace {

constexpr const char* kTypeNames[] = {"no type", "short",  "long",     "int",   "chars",   "text",
                                      "float",   "double", "datetime", "money", "bytes10", "bytes11"};

// What a kind of member can be. `size` 0: the layout says.
struct Kind {
    const char* name;
    std::uint32_t size;
};
constexpr Kind kKinds[] = {{"", 0},      {"int16_t", 2}, {"int32_t", 4},          {"int64_t", 8},
                           {"float", 4}, {"double", 8},  {"_money", 8},           {"_datetime", 8},
                           {"chars", 0}, {"bytes", 0},   {"view", sizeof(void*)}, {"seconds", 8}};

constexpr bool IsKind(std::int32_t kind) noexcept {
    return kind >= ZEL_INT16 && kind <= ZEL_SECONDS;
}

constexpr std::uint32_t Pair(std::uint32_t type, std::int32_t kind) noexcept {
    return type << 8 | static_cast<std::uint32_t>(kind);
}

// How values of the type get into members of the kind; kNone: not at all.
Move MoveOf(std::uint16_t type, std::int32_t kind) noexcept {
    switch (Pair(type, kind)) {
        case Pair(kZELShort, ZEL_INT16):
            return Move::kShort16;
        case Pair(kZELShort, ZEL_INT32):
            return Move::kShort32;
        case Pair(kZELShort, ZEL_INT64):
            return Move::kShort64;
        case Pair(kZELLong, ZEL_INT32):
        case Pair(kZELInt, ZEL_INT32):
        case Pair(kZELFloat, ZEL_FLOAT):
            return Move::kLong32;
        case Pair(kZELLong, ZEL_INT64):
        case Pair(kZELInt, ZEL_INT64):
            return Move::kLong64;
        case Pair(kZELDouble, ZEL_DOUBLE):
            return Move::kDouble;
        case Pair(kZELDateTime, ZEL_DATETIME):
            return Move::kDateTime;
        case Pair(kZELDateTime, ZEL_SECONDS):
            return Move::kSeconds;
        case Pair(kZELMoney, ZEL_MONEY):
            return Move::kMoney;
        case Pair(kZELChars, ZEL_CHARS):
            return Move::kChars;
        case Pair(kZELChars, ZEL_VIEW):
            return Move::kCharsView;
        case Pair(kZELText, ZEL_CHARS):
            return Move::kText;
        case Pair(kZELText, ZEL_BYTES):
        case Pair(kZELBytes10, ZEL_BYTES):
        case Pair(kZELBytes11, ZEL_BYTES):
            return Move::kBytes;
        case Pair(kZELText, ZEL_VIEW):
        case Pair(kZELBytes10, ZEL_VIEW):
        case Pair(kZELBytes11, ZEL_VIEW):
            return Move::kBytesView;
        default:
            return Move::kNone;
    }
}

// "money", "chars of 3 bytes", "type 12".
struct TypeText {
    explicit TypeText(const FieldRule& rule) noexcept {
        if (rule.type == kZELChars) {
            (void)std::snprintf(text, sizeof text, "chars of %d bytes", rule.length);
        } else if (rule.type >= kZELShort && rule.type <= kZELBytes11) {
            (void)std::snprintf(text, sizeof text, "%s", kTypeNames[rule.type]);
        } else {
            (void)std::snprintf(text, sizeof text, "type %u", rule.type);
        }
    }
    char text[32];
};

// "int16_t", "chars[12]".
struct KindText {
    explicit KindText(const ZELMember& member) noexcept {
        const Kind& kind = kKinds[IsKind(member.kind) ? member.kind : 0];
        if (!IsKind(member.kind)) {
            (void)std::snprintf(text, sizeof text, "kind %d, which is none", member.kind);
        } else if (kind.size == 0) {
            (void)std::snprintf(text, sizeof text, "%s[%u]", kind.name, member.size);
        } else {
            (void)std::snprintf(text, sizeof text, "%s", kind.name);
        }
    }
    char text[48];
};

// Whether a place of that size lies within `room`.
constexpr bool LiesWithin(std::uint32_t offset, std::uint64_t size, std::uint64_t room) noexcept {
    return offset + size <= room;
}

// The checks of one layout.
struct Check {
    const MessagePlan& plan;
    FieldStep* steps;
    FieldName* names;
    Disagreements& out;
    bool hasViews = false;

    // The first entry with the id in the group or outside it, or -1.
    int FindEntry(int fieldId, bool inGroup) const noexcept {
        for (int at = 0; at < plan.entryCount; ++at) {
            const PlanEntry& entry = plan.entries[at];
            if (entry.rule.id == fieldId && (entry.part == kInGroup) == inGroup) {
                return at;
            }
        }
        return -1;
    }

    // The member's field, or 0, said.
    int FieldIdOf(const ZELMember& member) noexcept {
        if (member.field != nullptr) {
            const int fieldId = HasDataDictionary() ? GetFldByName(member.field) : -1;
            if (fieldId <= 0) {
                out.Add("%.64s: no field in the dictionary; %s in the struct", member.field, KindText(member).text);
            }
            return std::max(fieldId, 0);
        }
        const bool isField = member.fieldId > 0 && member.fieldId <= INT16_MAX &&
                             FindFldRecord(static_cast<short>(member.fieldId)) != nullptr;
        if (!isField) {
            out.Add("id %d: no field in the dictionary; %s in the struct", member.fieldId, KindText(member).text);
        }
        return isField ? member.fieldId : 0;
    }

    void AddFor(int fieldId, const char* dictionary, const char* layout) noexcept {
        const ZELDictionaryField* record = FindFldRecord(static_cast<short>(fieldId));
        out.Add("%.64s (%d): %s; %s", record != nullptr ? record->name : "?", fieldId, dictionary, layout);
    }

    // The entry that the member is for, or -1, said.
    int EntryFor(const ZELMember& member, bool inGroup) noexcept {
        const int fieldId = FieldIdOf(member);
        if (fieldId == 0) {
            return -1;
        }
        const int at = FindEntry(fieldId, inGroup);
        if (plan.repeatFieldId == fieldId || (at >= 0 && inGroup && plan.entries[at].isMarker)) {
            AddFor(fieldId, plan.repeatFieldId == fieldId ? "counts the repetitions" : "marks the repetitions",
                   "the struct has a member for it, but it is sent from the group's count");
            return -1;
        }
        if (at >= 0) {
            return at;
        }
        if (FindEntry(fieldId, !inGroup) < 0) {
            AddFor(fieldId, "not a field of this message", KindText(member).text);
        } else {
            AddFor(fieldId, inGroup ? "outside the repeating group" : "in the repeating group",
                   inGroup ? "in the group of the struct" : "outside the group of the struct");
        }
        return -1;
    }

    // `room`: of the struct or the repetition.
    void Bind(const ZELMember& member, bool inGroup, std::uint32_t room) noexcept {
        const int at = EntryFor(member, inGroup);
        if (at < 0) {
            return;
        }
        FieldStep& step = steps[at];
        const int fieldId = step.rule.id;
        const TypeText type(step.rule);
        const KindText kind(member);
        if (names[at].hasMember) {
            AddFor(fieldId, "once in the message", "twice in the struct");
            return;
        }
        names[at].hasMember = true;
        const Move move = IsKind(member.kind) ? MoveOf(step.rule.type, member.kind) : Move::kNone;
        if (move == Move::kNone) {
            AddFor(fieldId, type.text, kind.text);
            return;
        }
        const std::uint32_t fixed = kKinds[member.kind].size;
        const std::uint32_t size = fixed != 0 ? fixed : member.size;
        char text[96];
        if (member.kind != ZEL_VIEW && (member.size != size || size == 0)) {
            (void)std::snprintf(text, sizeof text, "%s of %u bytes", kind.text, member.size);
            AddFor(fieldId, type.text, text);
        }
        if (move == Move::kChars && size < static_cast<std::uint32_t>(std::max<std::int16_t>(step.rule.length, 0))) {
            AddFor(fieldId, type.text, kind.text);
        }
        CheckPlaces(member, size, inGroup, room, fieldId, type.text);
        step.move = move;
        step.offset = member.offset;
        step.size = size;
        step.lengthOffset = member.lengthOffset;
        step.presenceOffset = member.presenceOffset;
        names[at].isAskedFor = member.field != nullptr;
        hasViews = hasViews || member.kind == ZEL_VIEW;
    }

    void CheckPlaces(const ZELMember& member, std::uint32_t size, bool inGroup, std::uint32_t room, int fieldId,
                     const char* type) noexcept {
        const char* whole = inGroup ? "repetition" : "struct";
        const auto check = [&](const char* what, std::uint32_t offset, std::size_t width) {
            if (!LiesWithin(offset, width, room)) {
                char text[96];
                (void)std::snprintf(text, sizeof text, "%s at %u of %u bytes, past the %s of %u", what, offset,
                                    static_cast<unsigned>(width), whole, room);
                AddFor(fieldId, type, text);
            }
        };
        check("a member", member.offset, size);
        if (member.kind == ZEL_BYTES || member.kind == ZEL_VIEW) {
            check("a length", member.lengthOffset, member.kind == ZEL_VIEW ? sizeof(size_t) : sizeof(std::uint32_t));
        }
        if (member.presenceOffset != ZEL_NOWHERE) {
            check("a presence flag", member.presenceOffset, 1);
        }
    }

    // After BindNumbers.
    void CheckMandatory(bool hasGroup) noexcept {
        for (int at = 0; at < plan.entryCount; ++at) {
            const FieldStep& step = steps[at];
            const bool isSent = plan.entries[at].part != kInGroup || hasGroup;
            if (step.isMandatory && isSent && !names[at].hasMember && !step.isNumber) {
                char text[48];
                (void)std::snprintf(text, sizeof text, "mandatory %s", TypeText(step.rule).text);
                AddFor(step.rule.id, text, "no member in the struct");
            }
        }
    }

    // The repeat-count field and the markers, which the library sends: numbers alone.
    void BindNumbers(const ZELBinding& binding) noexcept {
        for (int at = 0; at < plan.entryCount; ++at) {
            FieldStep& step = steps[at];
            const bool isCount = at == binding.countEntry;
            if (!isCount && !(step.isMarker && plan.entries[at].part == kInGroup)) {
                continue;
            }
            const std::uint16_t type = step.rule.type;
            if (type == kZELShort || type == kZELLong || type == kZELInt) {
                step.isNumber = true;
            } else {
                AddFor(step.rule.id, TypeText(step.rule).text,
                       isCount ? "a record sends a whole number as the count of repetitions"
                               : "a record sends a whole number as the marker of a repetition");
            }
        }
    }

    void BindGroup(const ZELLayout& layout, ZELBinding& binding) noexcept {
        const ZELGroup& group = *layout.group;
        if (plan.groupBegin == plan.groupEnd) {
            out.Add("message %d/%d: no repeating group; the struct has one", plan.msgType, plan.subType);
            return;
        }
        if (!LiesWithin(group.offset, std::uint64_t{group.stride} * group.capacity, layout.size)) {
            char text[96];
            (void)std::snprintf(text, sizeof text, "%u of %u bytes at %u, past the struct of %u", group.capacity,
                                group.stride, group.offset, layout.size);
            AddFor(plan.repeatFieldId, "counts the repetitions", text);
        }
        if (!LiesWithin(group.countOffset, sizeof(std::uint32_t), layout.size)) {
            AddFor(plan.repeatFieldId, "counts the repetitions", "the group's count lies past the struct");
        }
        for (std::uint32_t at = 0; at < group.memberCount; ++at) {
            Bind(group.members[at], true, group.stride);
        }
        binding.hasGroup = true;
        binding.groupOffset = group.offset;
        binding.groupStride = group.stride;
        binding.mostRepetitions = std::min<std::uint32_t>(group.capacity, SHRT_MAX);
        binding.countOffset = group.countOffset;
    }
};

}  // namespace

Disagreements::Disagreements(char* text, std::size_t size) noexcept : text_(text), left_(text != nullptr ? size : 0) {
    if (left_ != 0) {
        *text_ = '\0';
    }
}

void Disagreements::EndLine(int length) noexcept {
    ++count_;
    if (left_ == 0) {
        return;
    }
    const std::size_t used = std::min(static_cast<std::size_t>(std::max(length, 0)), left_ - 1);
    text_ += used;
    left_ -= used;
    if (left_ > 1) {
        *text_++ = '\n';
        *text_ = '\0';
        --left_;
    }
}

void BindMembers(const ZELLayout& layout, ZELBinding& binding, FieldStep* steps, FieldName* names,
                 Disagreements& disagreements) noexcept {
    Check check{*binding.plan, steps, names, disagreements};
    for (std::uint32_t at = 0; at < layout.memberCount; ++at) {
        check.Bind(layout.members[at], false, layout.size);
    }
    if (layout.group != nullptr) {
        check.BindGroup(layout, binding);
    }
    check.BindNumbers(binding);
    check.CheckMandatory(layout.group != nullptr);
    binding.hasViews = check.hasViews;
}

}  // namespace zel
