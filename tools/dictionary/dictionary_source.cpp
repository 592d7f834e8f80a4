#include "tools/dictionary/dictionary_source.h"

#include <algorithm>
#include <utility>

#include "tools/text/json_members.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

constexpr std::int64_t kLeastShort = INT16_MIN;
constexpr std::int64_t kMostShort = INT16_MAX;

std::string TypeNames() {
    std::string names;
    for (const image::FieldTypeRule& rule : image::kFieldTypeRules) {
        names += std::string(rule.name) + ", ";
    }
    return names + "or a number from 1 to 11";
}

// The rule of a type given by name or number, or null.
const image::FieldTypeRule* FindType(const JsonValue& type) {
    if (!type.Is(JsonKind::kText)) {
        return image::FindFieldTypeRule(type.WholeNumber().value_or(0));
    }
    for (const image::FieldTypeRule& rule : image::kFieldTypeRules) {
        if (type.Text() == rule.name) {
            return &rule;
        }
    }
    return nullptr;
}

const image::FieldTypeRule* ReadType(const JsonValue& object, const std::string& place, Findings& findings) {
    const JsonValue type = object.Find("type");
    if (!type) {
        AddError(findings, MemberPlace(place, "type"), "missing; expected " + TypeNames());
        return nullptr;
    }
    const image::FieldTypeRule* rule = FindType(type);
    if (rule == nullptr) {
        AddError(findings, MemberPlace(place, "type"), Shown(type) + " is no field type; expected " + TypeNames());
    }
    return rule;
}

// The length that the type implies, which a source may repeat; only chars must state one.
std::int16_t ReadLength(const JsonValue& object, const std::string& place, const image::FieldTypeRule& rule,
                        Findings& findings) {
    if (rule.length == image::kAnyLength) {
        return static_cast<std::int16_t>(
            ReadNumber(object, place, "length", 1, image::kMaxFixedLength, std::nullopt, findings).value_or(0));
    }
    const JsonValue stated = object.Find("length");
    if (stated && stated.WholeNumber() != rule.length) {
        AddError(
            findings, MemberPlace(place, "length"),
            "is " + Shown(stated) + "; expected " + std::to_string(rule.length) + ", the length of type " + rule.name);
    }
    return static_cast<std::int16_t>(rule.length);
}

FieldSource ParseField(const JsonValue& json, const std::string& place, Findings& findings) {
    FieldSource field{place, 0, 0, 0, 0, "", ""};
    if (!ExpectObject(json, place, {"id", "name", "type", "length", "version", "text"}, findings)) {
        return field;
    }
    const auto number = [&](const char* key, std::int64_t least, std::int64_t most, std::optional<std::int64_t> other) {
        return ReadNumber(json, place, key, least, most, other, findings).value_or(0);
    };
    field.id = static_cast<std::uint16_t>(number("id", 1, image::kMaxFieldId, std::nullopt));
    field.version = static_cast<std::int16_t>(number("version", 0, image::kMaxFieldVersion, 1));
    field.name = ReadText(json, place, "name", std::nullopt, findings);
    field.text = ReadText(json, place, "text", "", findings);
    if (const image::FieldTypeRule* rule = ReadType(json, place, findings)) {
        field.type = rule->type;
        field.length = ReadLength(json, place, *rule, findings);
    }
    return field;
}

bool ReadPresence(const JsonValue& object, const std::string& place, Findings& findings) {
    const std::string presence = ReadText(object, place, "presence", "optional", findings);
    if (presence != "mandatory" && presence != "optional" && !presence.empty()) {
        AddError(findings, MemberPlace(place, "presence"),
                 Shown(presence) + " is no presence; expected \"mandatory\" or \"optional\"");
    }
    return presence == "mandatory";
}

// A field's name alone, or an object with its name and presence.
void ParseEntry(const JsonValue& json, const std::string& place, MessageSource& message, Findings& findings) {
    if (json.Is(JsonKind::kText)) {
        message.entries.push_back({place, std::string(json.Text()), false});
        return;
    }
    if (json.Find("group")) {
        AddError(findings, place, "is a group within a group; expected a field");
        return;
    }
    if (!ExpectObject(json, place, {"field", "presence"}, findings)) {
        return;
    }
    const std::string name = ReadText(json, place, "field", std::nullopt, findings);
    const bool mandatory = ReadPresence(json, place, findings);
    if (!name.empty()) {
        message.entries.push_back({place, name, mandatory});
    }
}

void ParseGroup(const JsonValue& json, const std::string& place, MessageSource& message, Findings& findings) {
    if (message.hasGroup) {
        AddError(findings, place, "is a second repeating group; a message has at most one");
        return;
    }
    message.hasGroup = true;
    if (!ExpectObject(json, place, {"count", "fields"}, findings)) {
        return;
    }
    const JsonValue count = json.Find("count");
    if (!count) {
        AddError(findings, MemberPlace(place, "count"), "missing; expected the field that counts the repetitions");
        return;
    }
    const std::size_t before = message.entries.size();
    ParseEntry(count, MemberPlace(place, "count"), message, findings);
    if (message.entries.size() == before) {
        return;
    }
    message.groupStart = message.entries.size();
    std::size_t index = 0;
    for (const auto& [key, entry] : ReadArray(json, place, "fields", findings)) {
        ParseEntry(entry, ElementPlace(MemberPlace(place, "fields"), index++), message, findings);
    }
    message.groupSize = message.entries.size() - message.groupStart;
}

MessageSource ParseMessage(const JsonValue& json, const std::string& place, Findings& findings) {
    MessageSource message{place, 0, 0, "", {}, false, 0, 0};
    if (!ExpectObject(json, place, {"type", "subType", "name", "fields"}, findings)) {
        return message;
    }
    const auto number = [&](const char* key) {
        return static_cast<std::int16_t>(
            ReadNumber(json, place, key, kLeastShort, kMostShort, std::nullopt, findings).value_or(0));
    };
    message.type = number("type");
    message.subType = number("subType");
    message.name = ReadText(json, place, "name", std::nullopt, findings);
    std::size_t index = 0;
    for (const auto& [key, entry] : ReadArray(json, place, "fields", findings)) {
        const std::string entryPlace = ElementPlace(MemberPlace(place, "fields"), index++);
        const JsonValue group = entry.Find("group");
        if (!group) {
            ParseEntry(entry, entryPlace, message, findings);
            continue;
        }
        ExpectObject(entry, entryPlace, {"group"}, findings);
        ParseGroup(group, MemberPlace(entryPlace, "group"), message, findings);
    }
    return message;
}

}  // namespace

DictionarySource ParseDictionary(const JsonValue& root, Findings& findings) {
    DictionarySource dictionary;
    if (!ExpectObject(root, "", {"$schema", "fields", "messages"}, findings)) {
        return dictionary;
    }
    for (const auto& [key, json] : ReadArray(root, "", "fields", findings)) {
        if (IsHopeless(findings)) {
            return dictionary;
        }
        const std::size_t index = dictionary.fields.size();
        FieldSource field = ParseField(json, ElementPlace("fields", index), findings);
        if (!field.name.empty()) {
            dictionary.fieldByName.try_emplace(field.name, index);
        }
        dictionary.fields.push_back(std::move(field));
    }
    for (const auto& [key, json] : ReadArray(root, "", "messages", findings)) {
        if (IsHopeless(findings)) {
            return dictionary;
        }
        const std::string place = ElementPlace("messages", dictionary.messages.size());
        dictionary.messages.push_back(ParseMessage(json, place, findings));
    }
    return dictionary;
}

const FieldSource* FindField(const DictionarySource& dictionary, const std::string& name) {
    const auto found = dictionary.fieldByName.find(name);
    return found == dictionary.fieldByName.end() ? nullptr : &dictionary.fields[found->second];
}

std::string TypeAndSubType(const MessageSource& message) {
    return std::to_string(message.type) + '/' + std::to_string(message.subType);
}

const MessageSource* FindMessage(const DictionarySource& dictionary, const std::string& subject) {
    const auto found = std::find_if(dictionary.messages.begin(), dictionary.messages.end(), [&](const auto& message) {
        return message.name == subject || TypeAndSubType(message) == subject;
    });
    return found == dictionary.messages.end() ? nullptr : &*found;
}

std::string Summary(const DictionarySource& dictionary) {
    return Counted(dictionary.fields.size(), "field") + ", " + Counted(dictionary.messages.size(), "message");
}

}  // namespace zel::tools
