#include "tools/dictionary/catalog.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <set>

#include "runtime/digits.h"
#include "tools/text/json_text.h"

namespace zel::tools {

namespace {

std::uint32_t MessageKey(int type, int subType) {
    return static_cast<std::uint32_t>(static_cast<std::uint16_t>(type)) << 16U | static_cast<std::uint16_t>(subType);
}

// Empty when it is not known.
std::string MessageName(const image::ImageView& names, int type, int subType) {
    const std::uint32_t typeCount = names.header != nullptr ? names.header->typeCount : 0;
    for (std::uint32_t i = 0; i < typeCount; ++i) {
        const image::ImageType& imageType = names.types[i];
        for (std::uint32_t j = 0; imageType.type == type && j < imageType.subTypeCount; ++j) {
            const image::ImageSubType& imageSubType = names.subTypes[imageType.firstSubType + j];
            if (imageSubType.subType == subType) {
                return imageSubType.name;
            }
        }
    }
    return "";
}

std::string MessageJson(const CatalogMessage& message) {
    std::string json;
    if (!message.name.empty()) {
        json += "\"name\":";
        AppendText(json, message.name);
        json += ',';
    }
    json += "\"type\":";
    AppendNumber(json, message.type);
    json += ",\"subType\":";
    AppendNumber(json, message.subType);
    return json;
}

// The group stands behind the first entry of the field that counts it.
void FindGroup(const ZELSubTypeNode& node, CatalogMessage& message) {
    message.groupStart = message.entries.size();
    const auto isCount = [&node](const CatalogEntry& entry) { return entry.field->id == node.repeatFieldId; };
    const auto count = std::find_if(message.entries.begin(), message.entries.end(), isCount);
    if (node.repeatFieldId == 0 || node.groupSize <= 0 || count == message.entries.end()) {
        return;
    }
    message.repeatFieldId = node.repeatFieldId;
    message.groupStart = static_cast<std::size_t>(count - message.entries.begin()) + 1;
    message.groupSize = static_cast<std::size_t>(node.groupSize);
}

// Fields may be listed twice; a member of an object may not.
void NameEntries(CatalogMessage& message) {
    struct Listed {
        int parts[3];
    };
    std::unordered_map<const CatalogField*, Listed> listed;
    for (std::size_t i = 0; i < message.entries.size(); ++i) {
        CatalogEntry& entry = message.entries[i];
        int(&parts)[3] = listed[entry.field].parts;
        const auto part = static_cast<int>(message.PartOf(i));
        entry.rank = ++parts[part];
        // What stands behind the group shares an object with what stands before it.
        const int twin = entry.rank + (message.PartOf(i) == MessagePart::kBehind ? parts[0] : 0);
        entry.key = entry.field->name + (twin == 1 ? "" : '[' + std::to_string(twin) + ']');
        entry.memberText += ',';
        AppendText(entry.memberText, entry.key);
        entry.memberText += ':';
        (message.PartOf(i) == MessagePart::kGroup ? message.inside : message.outside).try_emplace(entry.key, i);
    }
    for (std::size_t i = message.groupStart; i < message.entries.size(); ++i) {
        CatalogEntry& entry = message.entries[i];
        entry.before = listed[entry.field].parts[0];
        entry.inGroup = listed[entry.field].parts[1];
    }
}

}  // namespace

SlotPlace PlaceOf(const CatalogMessage& message, int repeatCount, std::size_t index) {
    if (index < message.groupStart) {
        return {index, 0};
    }
    const std::size_t inGroup = index - message.groupStart;
    const std::size_t repetition = inGroup / message.groupSize;
    if (repeatCount == 0 || repetition < static_cast<std::size_t>(repeatCount)) {
        return {message.groupStart + inGroup % message.groupSize, repetition + 1};
    }
    return {index - (static_cast<std::size_t>(repeatCount) - 1) * message.groupSize, 0};
}

int OccurrenceOf(const CatalogMessage& message, int repeatCount, const SlotPlace& place) {
    const CatalogEntry& entry = message.entries[place.entry];
    const bool isBehind = message.PartOf(place.entry) == MessagePart::kBehind;
    const int repetitions = isBehind ? repeatCount : std::max(static_cast<int>(place.repetition) - 1, 0);
    return entry.before + repetitions * entry.inGroup + entry.rank;
}

Catalog::Catalog(const DictionaryTables& tables) : unknown_{0, 0, 0, 0, ""} {
    if (tables.fields != nullptr) {
        AddFields(tables.fields);
    }
    // The first node of a type holds, and the first of a sub-type below it.
    std::set<std::int16_t> types;
    for (const ZELTypeNode* type = tables.messages; type != nullptr; type = type->next) {
        const bool isFirst = types.insert(type->type).second;
        for (const ZELSubTypeNode* node = type->subTypes; isFirst && node != nullptr; node = node->next) {
            AddMessage(tables.names, type->type, *node);
        }
    }
}

void Catalog::AddFields(const ZELDictionaryHeader* dictionary) {
    const int count = std::max<int>(dictionary->count, 0);
    fields_.push_back(unknown_);
    for (int id = 1; id <= count; ++id) {
        const ZELDictionaryField& record = image::FieldRecord(dictionary, static_cast<unsigned>(id));
        const std::string name(record.name, strnlen(record.name, sizeof record.name));
        const auto fieldId = static_cast<std::uint16_t>(id);
        // Of equal names the first holds.
        const bool usable = record.type != 0 && !name.empty() && IsUtf8(name) && !HasDigitsOnly(name) &&
                            idByName_.try_emplace(name, fieldId).second;
        fields_.push_back({fieldId, record.type, record.length, record.version, usable ? name : std::to_string(id)});
    }
}

void Catalog::AddMessage(const image::ImageView& names, std::int16_t type, const ZELSubTypeNode& node) {
    CatalogMessage message{type, node.subType, MessageName(names, type, node.subType), "", {}, 0, 0, 0, {}, {}};
    message.jsonText = MessageJson(message);
    for (int i = 0; i < node.fieldCount; ++i) {
        message.entries.push_back({&Field(node.fieldList[i].fieldId), "", "", 0, 0, 0});
    }
    FindGroup(node, message);
    NameEntries(message);
    messages_.try_emplace(MessageKey(type, node.subType), std::move(message));
}

const CatalogField* Catalog::FindField(const std::string& nameOrId) const {
    if (!HasDigitsOnly(nameOrId)) {
        const auto found = idByName_.find(nameOrId);
        return found == idByName_.end() ? nullptr : &fields_[found->second];
    }
    unsigned id = 0;
    std::from_chars(nameOrId.data(), nameOrId.data() + nameOrId.size(), id);
    return id < fields_.size() && fields_[id].type != 0 ? &fields_[id] : nullptr;
}

const CatalogMessage* Catalog::FindMessage(int type, int subType) const {
    const auto found = messages_.find(MessageKey(type, subType));
    return found == messages_.end() ? nullptr : &found->second;
}

const CatalogMessage* Catalog::FindMessage(const std::string& name) const {
    const auto found = std::find_if(messages_.begin(), messages_.end(),
                                    [&name](const auto& each) { return each.second.name == name; });
    return found == messages_.end() ? nullptr : &found->second;
}

}  // namespace zel::tools
