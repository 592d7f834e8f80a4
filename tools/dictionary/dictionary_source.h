// A dictionary source as plain records: the JSON form read, its shape and the range of each number checked.
#ifndef ZEL_TOOLS_DICTIONARY_DICTIONARY_SOURCE_H
#define ZEL_TOOLS_DICTIONARY_DICTIONARY_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/text/findings.h"
#include "tools/text/json_document.h"

namespace zel::tools {

// Members that could not be read are 0 or empty.
struct FieldSource {
    std::string place;  // in the source, for findings
    std::uint16_t id;
    std::uint16_t type;
    std::int16_t length;
    std::int16_t version;
    std::string name;
    std::string text;
};

struct EntrySource {
    std::string place;
    std::string field;
    bool mandatory;
};

struct MessageSource {
    std::string place;
    std::int16_t type;
    std::int16_t subType;
    std::string name;
    std::vector<EntrySource> entries;
    bool hasGroup;
    std::size_t groupStart;  // index of the group's first entry, the repeat count lying before it; 0: not readable
    std::size_t groupSize;
};

struct DictionarySource {
    std::vector<FieldSource> fields;
    std::vector<MessageSource> messages;
    std::unordered_map<std::string, std::size_t> fieldByName;  // of equal names the first
};

[[nodiscard]] DictionarySource ParseDictionary(const JsonValue& root, Findings& findings);

// The field with this name, or null.
[[nodiscard]] const FieldSource* FindField(const DictionarySource& dictionary, const std::string& name);

// "10/2"
[[nodiscard]] std::string TypeAndSubType(const MessageSource& message);

// The message with this name or type and sub-type, or null.
[[nodiscard]] const MessageSource* FindMessage(const DictionarySource& dictionary, const std::string& subject);

// "12 fields, 2 messages"
[[nodiscard]] std::string Summary(const DictionarySource& dictionary);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_DICTIONARY_SOURCE_H
