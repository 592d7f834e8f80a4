#include "tools/dictionary/source_check.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>

#include "core/tables/header_fields.h"
#include "include/zelmessage.h"
#include "tools/text/json_members.h"
#include "zeldata/field_rules.h"
#include "zeldata/name_table.h"

namespace zel::tools {

namespace {

constexpr std::size_t kMaxTextLength = sizeof(ZELDictionaryField::text) - 1;

// The types that a header field may have.
const char* TypesOfHeaderField(HeaderFieldId id) {
    if (id == kVarUserData) {
        return "text, bytes10 or bytes11";
    }
    return kHeaderFields[id].width == 2 ? "short" : "long or int";
}

bool IsControl(char character) {
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
}

bool IsNameCharacter(char character) {
    return character > ' ' && character <= '~';
}

void CheckName(const std::string& name, const std::string& place, Findings& findings) {
    if (name.size() > image::kMaxNameLength) {
        AddError(findings, place,
                 "is " + std::to_string(name.size()) + " characters long; expected at most " +
                     std::to_string(image::kMaxNameLength));
    }
    if (!std::all_of(name.begin(), name.end(), IsNameCharacter)) {
        AddError(findings, place, Shown(name) + " is no name; expected printable ASCII without blanks");
    }
}

void CheckText(const std::string& text, const std::string& place, Findings& findings) {
    if (text.size() > kMaxTextLength) {
        AddError(
            findings, place,
            "is " + std::to_string(text.size()) + " bytes long; expected at most " + std::to_string(kMaxTextLength));
    }
    if (std::any_of(text.begin(), text.end(), IsControl)) {
        AddError(findings, place, "has a control character; expected one line of text");
    }
}

using FieldById = std::unordered_map<std::uint16_t, const FieldSource*>;

FieldById CheckFields(const DictionarySource& dictionary, Findings& findings) {
    FieldById byId;
    for (const FieldSource& field : dictionary.fields) {
        CheckName(field.name, field.place + ".name", findings);
        CheckText(field.text, field.place + ".text", findings);
        const FieldSource* sameName = FindField(dictionary, field.name);
        if (sameName != nullptr && sameName != &field) {
            AddError(findings, field.place + ".name", "the name " + field.name + " is taken by " + sameName->place);
        }
        const auto [sameId, isNew] = byId.try_emplace(field.id, &field);
        if (!isNew && field.id != 0) {
            AddError(findings, field.place + ".id",
                     "the id " + std::to_string(field.id) + " is taken by " + sameId->second->place);
        }
    }
    return byId;
}

void CheckHeaderFields(const FieldById& byId, Findings& findings) {
    for (std::uint16_t id = kFlags; id <= kHeaderFieldCount; ++id) {
        const std::string expected = TypesOfHeaderField(static_cast<HeaderFieldId>(id));
        const auto found = byId.find(id);
        if (found == byId.end()) {
            AddError(findings, "fields",
                     "the header field " + std::to_string(id) + " is missing; expected one of type " + expected);
            continue;
        }
        const FieldSource& field = *found->second;
        if (!FitsHeaderField(id, field.type) && field.type != 0) {
            AddError(findings, field.place + ".type",
                     "the header field " + std::to_string(id) + " has the wrong type; expected " + expected);
        }
    }
}

// One entry by itself.
void CheckEntry(const DictionarySource& dictionary, const EntrySource& entry, Findings& findings) {
    const FieldSource* field = FindField(dictionary, entry.field);
    if (field == nullptr) {
        AddError(findings, entry.place, "unknown field " + Shown(entry.field) + "; expected the name of a field");
        return;
    }
    if (entry.mandatory && field->version > 1) {
        const std::string version = std::to_string(field->version);
        AddWarning(findings, entry.place,
                   entry.field + " is mandatory and of version " + version +
                       ": a message of an older version that leaves it out cannot be sent");
    }
    if (field->id >= 1 && field->id <= kHeaderFieldCount) {
        AddWarning(findings, entry.place, entry.field + " is a header field, which every message carries anyway");
    }
}

// The group follows the first entry of its repeat-count field, so that field must be listed once.
void CheckListedTwice(const MessageSource& message, Findings& findings) {
    const std::string countField = message.groupStart == 0 ? "" : message.entries[message.groupStart - 1].field;
    std::unordered_map<std::string, const EntrySource*> listed;
    for (const EntrySource& entry : message.entries) {
        const auto [first, isNew] = listed.try_emplace(entry.field, &entry);
        if (isNew) {
            continue;
        }
        if (entry.field == countField) {
            AddError(findings, entry.place,
                     entry.field + " counts the group's repetitions and is listed at " + first->second->place +
                         " too; expected it once, as the group's count");
            continue;
        }
        AddWarning(findings, entry.place,
                   entry.field + " is listed at " + first->second->place +
                       " too: when a message carries one of the two, the receiver takes it for the first");
    }
}

void CheckMarker(const DictionarySource& dictionary, const MessageSource& message, Findings& findings) {
    for (std::size_t i = message.groupStart; i < message.groupStart + message.groupSize; ++i) {
        const EntrySource& entry = message.entries[i];
        const FieldSource* field = FindField(dictionary, entry.field);
        if (field == nullptr || field->id != kZELGroupMarker) {
            continue;
        }
        if (i != message.groupStart) {
            AddWarning(findings, entry.place,
                       entry.field + " marks the start of each repetition; expected it first in its group");
        }
        if (!entry.mandatory) {
            AddWarning(findings, entry.place,
                       entry.field +
                           " marks the start of each repetition and is optional: fields that follow a "
                           "marker left out land in the wrong repetition or are lost");
        }
    }
}

void CheckGroup(const DictionarySource& dictionary, const MessageSource& message, Findings& findings) {
    if (message.groupStart == 0) {
        return;
    }
    const EntrySource& count = message.entries[message.groupStart - 1];
    const FieldSource* field = FindField(dictionary, count.field);
    if (message.groupSize == 0) {
        AddError(findings, count.place, "the group after it has no fields; expected one or more");
    }
    if (field != nullptr && field->type != 0 && !image::IsInteger(field->type)) {
        AddError(findings, count.place,
                 count.field +
                     " cannot count repetitions; expected a field of type short, "
                     "long or int");
    }
    if (!count.mandatory) {
        AddWarning(findings, count.place,
                   count.field +
                       " is optional: a message without it is read as one of 0 repetitions, and what "
                       "stands after the group is lost");
    }
    CheckMarker(dictionary, message, findings);
}

// The smaller of two forms: the mandatory fields with their ids, or every field, empty and without its id.
void CheckSize(const DictionarySource& dictionary, const MessageSource& message, Findings& findings) {
    std::int64_t withIds = 0;
    std::int64_t withoutIds = 0;
    for (const EntrySource& entry : message.entries) {
        const FieldSource* field = FindField(dictionary, entry.field);
        if (field == nullptr) {
            return;
        }
        const std::int64_t value = field->length != 0 ? field->length : 2;
        withIds += entry.mandatory ? 2 + value : 0;
        withoutIds += field->type == kZELBytes10 ? 0 : value;
    }
    const std::int64_t smallest = std::min(withIds, withoutIds);
    if (smallest > kZELMaxPayload) {
        AddError(findings, message.place,
                 "its smallest form takes " + std::to_string(smallest) + " bytes; a payload holds " +
                     std::to_string(kZELMaxPayload));
    }
    if (message.entries.size() > std::size_t{kZELMaxSlots}) {
        AddError(findings, message.place,
                 "lists " + std::to_string(message.entries.size()) + " fields; expected at most " +
                     std::to_string(kZELMaxSlots));
    }
}

void CheckMessages(const DictionarySource& dictionary, Findings& findings) {
    std::map<std::pair<int, int>, const MessageSource*> byType;
    std::unordered_map<std::string, const MessageSource*> byName;
    std::unordered_map<int, std::uint32_t> subTypes;
    for (const MessageSource& message : dictionary.messages) {
        CheckName(message.name, message.place + ".name", findings);
        const auto [sameType, isNewType] = byType.try_emplace({message.type, message.subType}, &message);
        if (!isNewType) {
            AddError(findings, message.place,
                     "the type " + std::to_string(message.type) + " and sub-type " + std::to_string(message.subType) +
                         " are taken by " + sameType->second->place);
        }
        if (++subTypes[message.type] > UINT16_MAX) {
            AddError(findings, message.place,
                     "is one sub-type too many of the type " + std::to_string(message.type) + "; expected at most " +
                         std::to_string(UINT16_MAX));
        }
        const auto [sameName, isNewName] = byName.try_emplace(message.name, &message);
        if (!isNewName && !message.name.empty()) {
            AddError(findings, message.place + ".name",
                     "the name " + message.name + " is taken by " + sameName->second->place);
        }
        for (const EntrySource& entry : message.entries) {
            CheckEntry(dictionary, entry, findings);
        }
        CheckListedTwice(message, findings);
        CheckGroup(dictionary, message, findings);
        CheckSize(dictionary, message, findings);
    }
}

}  // namespace

void CheckDictionary(const DictionarySource& dictionary, Findings& findings) {
    const FieldById byId = CheckFields(dictionary, findings);
    CheckHeaderFields(byId, findings);
    CheckMessages(dictionary, findings);
}

}  // namespace zel::tools
