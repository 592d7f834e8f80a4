#include "tools/dictionary/source_text.h"

#include <nlohmann/json.hpp>
#include <vector>

#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

using Json = nlohmann::ordered_json;

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
