#include "tools/image_source.h"

#include <utility>

#include "tools/json_members.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

using Json = nlohmann::ordered_json;

void AddFields(const image::ImageView& view, DictionarySource& dictionary) {
    for (int id = 1; id <= view.dictionary->count; ++id) {
        const ZELDictionaryField& record = image::FieldRecord(view.dictionary, static_cast<unsigned>(id));
        if (record.type == 0) {
            continue;
        }
        const std::size_t index = dictionary.fields.size();
        dictionary.fieldByName.try_emplace(record.name, index);
        dictionary.fields.push_back({ElementPlace("fields", index), static_cast<std::uint16_t>(id), record.type,
                                     record.length, record.version, record.name, record.text});
    }
}

MessageSource ReadMessage(const image::ImageView& view, std::int16_t type, const image::ImageSubType& subType,
                          const std::string& place) {
    MessageSource message{place, type, subType.subType, subType.name, {}, subType.repeatFieldId != 0, 0, 0};
    const ZELFieldListEntry* list = view.fieldLists + subType.firstField;
    for (std::int16_t i = 0; i < subType.fieldCount; ++i) {
        const ZELDictionaryField& record = image::FieldRecord(view.dictionary, list[i].fieldId);
        message.entries.push_back({ElementPlace(MemberPlace(place, "fields"), static_cast<std::size_t>(i)), record.name,
                                   list[i].presence == kZELMandatory});
        if (message.hasGroup && message.groupStart == 0 && list[i].fieldId == subType.repeatFieldId) {
            message.groupStart = message.entries.size();
            message.groupSize = static_cast<std::size_t>(subType.groupSize);
        }
    }
    return message;
}

Json FieldJson(const FieldSource& field) {
    const image::FieldTypeRule& rule = *image::FindFieldTypeRule(field.type);
    Json json = {{"id", field.id}, {"name", field.name}, {"type", rule.name}};
    if (rule.length == image::kAnyLength) {
        json["length"] = field.length;
    }
    if (field.version != 1) {
        json["version"] = field.version;
    }
    if (!field.text.empty()) {
        json["text"] = field.text;
    }
    return json;
}

Json EntryJson(const EntrySource& entry) {
    return entry.mandatory ? Json{{"field", entry.field}, {"presence", "mandatory"}} : Json(entry.field);
}

// The entries with the group folded into one.
std::vector<Json> EntriesJson(const MessageSource& message) {
    std::vector<Json> entries;
    Json group = Json::array();
    for (std::size_t i = 0; i < message.entries.size(); ++i) {
        const Json entry = EntryJson(message.entries[i]);
        if (i < message.groupStart || i >= message.groupStart + message.groupSize) {
            entries.push_back(entry);
            continue;
        }
        group.push_back(entry);
        if (group.size() == message.groupSize) {
            entries.back() = {{"group", {{"count", entries.back()}, {"fields", group}}}};
        }
    }
    return entries;
}

std::string Line(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string MessageText(const MessageSource& message) {
    std::string head = Line({{"type", message.type}, {"subType", message.subType}, {"name", message.name}});
    head.pop_back();
    std::string text = head + ",\"fields\":[";
    const char* separator = "\n";
    for (const Json& entry : EntriesJson(message)) {
        text += separator + std::string("      ") + Line(entry);
        separator = ",\n";
    }
    return text + "]}";
}

}  // namespace

DictionarySource SourceOfImage(const image::ImageView& view) {
    DictionarySource dictionary;
    AddFields(view, dictionary);
    for (std::uint32_t i = 0; i < view.header->typeCount; ++i) {
        const image::ImageType& type = view.types[i];
        for (std::uint32_t j = 0; j < type.subTypeCount; ++j) {
            const std::string place = ElementPlace("messages", dictionary.messages.size());
            dictionary.messages.push_back(ReadMessage(view, type.type, view.subTypes[type.firstSubType + j], place));
        }
    }
    return dictionary;
}

std::string SourceText(const DictionarySource& dictionary) {
    std::string text = "{\n  \"fields\": [";
    const char* separator = "\n    ";
    for (const FieldSource& field : dictionary.fields) {
        text += separator + Line(FieldJson(field));
        separator = ",\n    ";
    }
    text += "\n  ],\n  \"messages\": [";
    separator = "\n    ";
    for (const MessageSource& message : dictionary.messages) {
        text += separator + MessageText(message);
        separator = ",\n    ";
    }
    return text + "\n  ]\n}\n";
}

}  // namespace zel::tools
