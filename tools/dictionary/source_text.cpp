#include "tools/dictionary/source_text.h"

#include "tools/text/json_text.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

void AppendField(std::string& out, const FieldSource& field) {
    const image::FieldTypeRule& rule = *image::FindFieldTypeRule(field.type);
    out += "{\"id\":";
    AppendNumber(out, field.id);
    out += ",\"name\":";
    AppendText(out, field.name);
    out += ",\"type\":";
    AppendText(out, rule.name);
    if (rule.length == image::kAnyLength) {
        out += ",\"length\":";
        AppendNumber(out, field.length);
    }
    if (field.version != 1) {
        out += ",\"version\":";
        AppendNumber(out, field.version);
    }
    if (!field.text.empty()) {
        out += ",\"text\":";
        AppendText(out, field.text);
    }
    out += '}';
}

void AppendEntry(std::string& out, const EntrySource& entry) {
    out += entry.mandatory ? "{\"field\":" : "";
    AppendText(out, entry.field);
    out += entry.mandatory ? ",\"presence\":\"mandatory\"}" : "";
}

// The entries, the group folded into one.
void AppendEntries(std::string& out, const MessageSource& message) {
    const std::size_t groupEnd = message.groupStart + message.groupSize;
    const char* separator = "\n      ";
    for (std::size_t i = 0; i < message.entries.size(); ++i) {
        const bool inGroup = i >= message.groupStart && i < groupEnd;
        const bool isCount = message.groupSize != 0 && i + 1 == message.groupStart;
        out += !inGroup ? separator : i == message.groupStart ? ",\"fields\":[" : ",";
        out += isCount ? "{\"group\":{\"count\":" : "";
        AppendEntry(out, message.entries[i]);
        out += inGroup && i + 1 == groupEnd ? "]}}" : "";
        separator = ",\n      ";
    }
}

void AppendMessage(std::string& out, const MessageSource& message) {
    out += "{\"type\":";
    AppendNumber(out, message.type);
    out += ",\"subType\":";
    AppendNumber(out, message.subType);
    out += ",\"name\":";
    AppendText(out, message.name);
    out += ",\"fields\":[";
    AppendEntries(out, message);
    out += "]}";
}

}  // namespace

std::string SourceText(const DictionarySource& dictionary) {
    std::string text = "{\n  \"fields\": [";
    const char* separator = "\n    ";
    for (const FieldSource& field : dictionary.fields) {
        text += separator;
        AppendField(text, field);
        separator = ",\n    ";
    }
    text += "\n  ],\n  \"messages\": [";
    separator = "\n    ";
    for (const MessageSource& message : dictionary.messages) {
        text += separator;
        AppendMessage(text, message);
        separator = ",\n    ";
    }
    return text + "\n  ]\n}\n";
}

}  // namespace zel::tools
