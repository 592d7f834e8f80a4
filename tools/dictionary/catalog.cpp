#include "tools/dictionary/catalog.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <set>

#include "runtime/digits.h"
#include "tools/text/complaint.h"
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
                return Printable(imageSubType.name) == imageSubType.name ? imageSubType.name : "";
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

// The group follows the first entry of the field that counts it.
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

// Fields may be listed twice; a member of an object may not. What stands after the group shares an object with what
// stands before it.
void NameEntries(CatalogMessage& message) {
    std::unordered_map<const CatalogField*, int> listedOutside;
    std::unordered_map<const CatalogField*, int> listedInside;
    for (std::size_t i = 0; i < message.entries.size(); ++i) {
        CatalogEntry& entry = message.entries[i];
        const bool inGroup = message.PartOf(i) == MessagePart::kGroup;
        const int rank = ++(inGroup ? listedInside : listedOutside)[entry.field];
        entry.key = entry.field->name + (rank == 1 ? "" : '[' + std::to_string(rank) + ']');
        entry.memberText += ',';
        AppendText(entry.memberText, entry.key);
        entry.memberText += ':';
        (inGroup ? message.inside : message.outside).try_emplace(entry.key, i);
    }
}

}  // namespace

std::vector<SlotPlace> PlaceSlots(const CatalogMessage& message, const ZELDataBuf& slots) {
    std::vector<SlotPlace> places(static_cast<std::size_t>(slots.count));
    std::size_t entry = 0;
    unsigned repetition = 0;
    for (std::size_t i = 0; i < places.size(); ++i) {
        // Each repetition begins at the group's first entry; after the group the library counts from 0 again.
        if (slots.fields[i].repetition > repetition) {
            entry = message.groupStart;
        }
        repetition = slots.fields[i].repetition;
        const bool inGroup = message.PartOf(entry) == MessagePart::kGroup;
        places[i] = {entry, inGroup ? repetition + std::size_t{1} : 0};
        ++entry;
    }
    return places;
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
        const bool usable = record.type != 0 && !name.empty() && Printable(name) == name && !HasDigitsOnly(name) &&
                            idByName_.try_emplace(name, fieldId).second;
        fields_.push_back({fieldId, record.type, record.length, record.version, usable ? name : std::to_string(id)});
    }
}

void Catalog::AddMessage(const image::ImageView& names, std::int16_t type, const ZELSubTypeNode& node) {
    CatalogMessage message{type, node.subType, MessageName(names, type, node.subType), "", {}, 0, 0, 0, {}, {}};
    message.jsonText = MessageJson(message);
    for (int i = 0; i < node.fieldCount; ++i) {
        message.entries.push_back(
            {&Field(node.fieldList[i].fieldId), node.fieldList[i].presence == kZELMandatory, "", ""});
    }
    FindGroup(node, message);
    NameEntries(message);
    const auto added = messages_.try_emplace(MessageKey(type, node.subType), std::move(message)).first;
    if (const CatalogMessage& kept = added->second; !kept.name.empty()) {
        messageByName_.try_emplace(kept.name, &kept);
    }
}

const CatalogField* Catalog::FindField(std::string_view nameOrId) const {
    if (!HasDigitsOnly(nameOrId)) {
        const auto found = idByName_.find(nameOrId);
        return found == idByName_.end() ? nullptr : &fields_[found->second];
    }
    unsigned id = 0;
    std::from_chars(nameOrId.data(), nameOrId.data() + nameOrId.size(), id);
    return id < fields_.size() && fields_[id].type != 0 ? &fields_[id] : nullptr;
}

std::vector<const CatalogMessage*> Catalog::Messages() const {
    std::vector<const CatalogMessage*> messages;
    messages.reserve(messages_.size());
    for (const auto& [key, message] : messages_) {
        messages.push_back(&message);
    }
    std::sort(messages.begin(), messages.end(), [](const CatalogMessage* left, const CatalogMessage* right) {
        return std::pair(left->type, left->subType) < std::pair(right->type, right->subType);
    });
    return messages;
}

const CatalogMessage* Catalog::FindMessage(int type, int subType) const {
    const auto found = messages_.find(MessageKey(type, subType));
    return found == messages_.end() ? nullptr : &found->second;
}

const CatalogMessage* Catalog::FindMessage(std::string_view name) const {
    const auto found = messageByName_.find(name);
    return found == messageByName_.end() ? nullptr : found->second;
}

}  // namespace zel::tools
