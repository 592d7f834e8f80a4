#include "tools/dictionary/image_builder.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <unordered_map>

#include "zeldata/checksum.h"
#include "zeldata/image.h"
#include "zeldata/name_table.h"

namespace zel::tools {

namespace {

using image::ImageHeader;
using image::ImageSubType;
using image::ImageType;

// Any presence but kZELMandatory is optional.
constexpr std::uint16_t kOptional = 1;

// Texts that are too long were refused before; what follows a text stays zero.
template <std::size_t Size>
void CopyText(char (&to)[Size], const std::string& from) {
    std::memcpy(to, from.data(), std::min(from.size(), Size - 1));
}

std::vector<ZELDictionaryField> BuildRecords(const DictionarySource& dictionary) {
    std::uint16_t highestId = 0;
    for (const FieldSource& field : dictionary.fields) {
        highestId = std::max(highestId, field.id);
    }
    std::vector<ZELDictionaryField> records(std::size_t{highestId} + 1);
    ZELDictionaryHeader header{};
    header.count = static_cast<std::int16_t>(highestId);
    std::memcpy(records.data(), &header, sizeof header);
    for (const FieldSource& field : dictionary.fields) {
        ZELDictionaryField& record = records[field.id];
        record.version = field.version;
        record.type = field.type;
        record.length = field.length;
        CopyText(record.name, field.name);
        CopyText(record.text, field.text);
    }
    return records;
}

// The smallest table, at most half full, in which every name lies near its hash. Names go in by the ids of their
// fields, so that the order of a source does not show in the image.
std::vector<std::uint16_t> BuildNames(const DictionarySource& dictionary) {
    constexpr std::size_t kMostSlots = std::size_t{1} << 20U;
    std::map<std::uint16_t, const char*> nameById;
    for (const FieldSource& field : dictionary.fields) {
        nameById[field.id] = field.name.c_str();
    }
    for (std::size_t count = std::bit_ceil(2 * dictionary.fields.size() + 2); count <= kMostSlots; count *= 2) {
        std::vector<std::uint16_t> slots(count);
        const bool allFit = std::all_of(nameById.begin(), nameById.end(), [&](const auto& field) {
            return image::InsertName(slots.data(), static_cast<std::uint32_t>(count), field.second, field.first);
        });
        if (allFit) {
            return slots;
        }
    }
    throw std::runtime_error("the field names have too many hash collisions for a name table; rename some fields");
}

struct MessageTables {
    std::vector<ImageType> types;
    std::vector<ImageSubType> subTypes;
    std::vector<ZELFieldListEntry> fieldLists;
};

ImageSubType BuildSubType(const DictionarySource& dictionary, const MessageSource& message, std::size_t firstField) {
    ImageSubType subType{};
    subType.subType = message.subType;
    subType.fieldCount = static_cast<std::int16_t>(message.entries.size());
    subType.firstField = static_cast<std::uint32_t>(firstField);
    CopyText(subType.name, message.name);
    if (message.hasGroup) {
        subType.repeatFieldId = FindField(dictionary, message.entries[message.groupStart - 1].field)->id;
        subType.groupSize = static_cast<std::int16_t>(message.groupSize);
    }
    return subType;
}

void AppendMessage(const DictionarySource& dictionary, const MessageSource& message, MessageTables& tables) {
    tables.subTypes.push_back(BuildSubType(dictionary, message, tables.fieldLists.size()));
    ++tables.types.back().subTypeCount;
    for (const EntrySource& entry : message.entries) {
        tables.fieldLists.push_back(
            {FindField(dictionary, entry.field)->id, entry.mandatory ? kZELMandatory : kOptional});
    }
}

// Types in the order in which the source first names them, the sub-types of each in source order.
MessageTables BuildMessages(const DictionarySource& dictionary) {
    std::vector<std::vector<const MessageSource*>> types;
    std::unordered_map<std::int16_t, std::size_t> indexByType;
    for (const MessageSource& message : dictionary.messages) {
        const auto [index, isNew] = indexByType.try_emplace(message.type, types.size());
        if (isNew) {
            types.emplace_back();
        }
        types[index->second].push_back(&message);
    }
    MessageTables tables;
    for (const std::vector<const MessageSource*>& messages : types) {
        tables.types.push_back({messages.front()->type, 0, static_cast<std::uint32_t>(tables.subTypes.size())});
        for (const MessageSource* message : messages) {
            AppendMessage(dictionary, *message, tables);
        }
    }
    return tables;
}

// Appends a part and returns its offset. Parts come in falling order of alignment, so that none needs padding.
template <typename Element>
std::uint32_t AppendPart(std::vector<char>& bytes, const std::vector<Element>& part) {
    const std::size_t offset = bytes.size();
    bytes.resize(offset + part.size() * sizeof(Element));
    if (!part.empty()) {
        std::memcpy(bytes.data() + offset, part.data(), part.size() * sizeof(Element));
    }
    return static_cast<std::uint32_t>(offset);
}

}  // namespace

std::vector<char> BuildDictionaryImage(const DictionarySource& dictionary) {
    const MessageTables tables = BuildMessages(dictionary);
    const std::vector<std::uint16_t> names = BuildNames(dictionary);
    std::vector<char> bytes(sizeof(ImageHeader));
    ImageHeader header{};
    std::memcpy(header.magic, image::kMagic, sizeof header.magic);
    header.version = image::kVersion;
    header.dictionaryOffset = AppendPart(bytes, BuildRecords(dictionary));
    header.typesOffset = AppendPart(bytes, tables.types);
    header.typeCount = static_cast<std::uint32_t>(tables.types.size());
    header.subTypesOffset = AppendPart(bytes, tables.subTypes);
    header.subTypeCount = static_cast<std::uint32_t>(tables.subTypes.size());
    header.fieldListsOffset = AppendPart(bytes, tables.fieldLists);
    header.fieldListCount = static_cast<std::uint32_t>(tables.fieldLists.size());
    header.namesOffset = AppendPart(bytes, names);
    header.nameSlotCount = static_cast<std::uint32_t>(names.size());
    header.fileSize = static_cast<std::uint32_t>(bytes.size());
    header.checksum = image::Checksum(bytes.data() + sizeof header, bytes.size() - sizeof header);
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

}  // namespace zel::tools
