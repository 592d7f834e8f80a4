#include "zeldata/image_check.h"

#include <cstdio>
#include <cstring>

#include "zeldata/checksum.h"
#include "zeldata/field_rules.h"
#include "zeldata/name_table.h"

namespace zel::image {

namespace {

bool RefuseImage(ImageFault& fault, const char* text) noexcept {
    (void)std::snprintf(fault.text, sizeof fault.text, "%s", text);
    return false;
}

template <typename... Args>
bool RefuseImage(ImageFault& fault, const char* format, Args... args) noexcept {
    (void)std::snprintf(fault.text, sizeof fault.text, format, args...);
    return false;
}

template <std::size_t Size>
bool Terminated(const char (&text)[Size]) noexcept {
    return std::memchr(text, '\0', Size) != nullptr;
}

bool CheckHeader(const ImageHeader& header, std::size_t size, ImageFault& fault) noexcept {
    if (std::memcmp(header.magic, kMagic, sizeof kMagic) != 0) {
        return RefuseImage(fault, "is not a dictionary image");
    }
    if (header.version != kVersion) {
        return RefuseImage(fault, "has image version %u; this provider reads version %u", header.version, kVersion);
    }
    if (header.fileSize != size) {
        return RefuseImage(fault, "has %zu bytes; its header says %u", size, header.fileSize);
    }
    const char* bytes = static_cast<const char*>(static_cast<const void*>(&header));
    const std::uint32_t checksum = Checksum(bytes + sizeof header, size - sizeof header);
    if (checksum != header.checksum) {
        return RefuseImage(fault, "is damaged: its checksum is %08x; its header says %08x", checksum, header.checksum);
    }
    return true;
}

// The part of `count` elements at `offset`, or null with `fault` set.
template <typename Element>
const Element* FindPart(const ImageHeader& header, const char* part, std::uint32_t offset, std::uint64_t count,
                        ImageFault& fault) noexcept {
    if (offset % alignof(Element) != 0) {
        RefuseImage(fault, "has its %s at the unaligned offset %u", part, offset);
        return nullptr;
    }
    // No overflow: counts are below 2^33, elements below 2^8 bytes.
    if (offset < sizeof header || offset > header.fileSize || count * sizeof(Element) > header.fileSize - offset) {
        RefuseImage(fault, "has its %s outside the file (offset %u, %llu elements)", part, offset,
                    static_cast<unsigned long long>(count));
        return nullptr;
    }
    return static_cast<const Element*>(
        static_cast<const void*>(static_cast<const char*>(static_cast<const void*>(&header)) + offset));
}

// The dictionary with all its records, or null with `fault` set.
const ZELDictionaryHeader* FindDictionary(const ImageHeader& header, ImageFault& fault) noexcept {
    const auto* dictionary = FindPart<ZELDictionaryHeader>(header, "dictionary", header.dictionaryOffset, 1, fault);
    if (dictionary == nullptr) {
        return nullptr;
    }
    if (dictionary->count < 0) {
        RefuseImage(fault, "has a dictionary of %d fields", dictionary->count);
        return nullptr;
    }
    const auto records = static_cast<std::uint64_t>(dictionary->count) + 1;
    return FindPart<ZELDictionaryHeader>(header, "dictionary", header.dictionaryOffset, records, fault);
}

bool FindParts(const ImageHeader& header, ImageView& view, ImageFault& fault) noexcept {
    view.header = &header;
    view.dictionary = FindDictionary(header, fault);
    if (view.dictionary == nullptr) {
        return false;
    }
    view.types = FindPart<ImageType>(header, "types", header.typesOffset, header.typeCount, fault);
    if (view.types == nullptr) {
        return false;
    }
    view.subTypes = FindPart<ImageSubType>(header, "sub-types", header.subTypesOffset, header.subTypeCount, fault);
    if (view.subTypes == nullptr) {
        return false;
    }
    view.fieldLists =
        FindPart<ZELFieldListEntry>(header, "field lists", header.fieldListsOffset, header.fieldListCount, fault);
    if (view.fieldLists == nullptr) {
        return false;
    }
    view.names = FindPart<std::uint16_t>(header, "names", header.namesOffset, header.nameSlotCount, fault);
    return view.names != nullptr;
}

bool CheckUnusedField(const ZELDictionaryField& field, int id, ImageFault& fault) noexcept {
    if (field.version != 0 || field.length != 0 || field.name[0] != '\0' || field.text[0] != '\0') {
        return RefuseImage(fault, "has a field %d without a type", id);
    }
    return true;
}

bool CheckField(const ZELDictionaryField& field, int id, ImageFault& fault) noexcept {
    if (field.type == 0) {
        return CheckUnusedField(field, id, fault);
    }
    const FieldTypeRule* rule = FindFieldTypeRule(field.type);
    if (rule == nullptr) {
        return RefuseImage(fault, "has field %d with the unknown type %d", id, field.type);
    }
    if (!LengthFits(*rule, field.length)) {
        return RefuseImage(fault, "has field %d of type %s with the length %d", id, rule->name, field.length);
    }
    if (field.version < 0 || field.version > kMaxFieldVersion) {
        return RefuseImage(fault, "has field %d with the version %d", id, field.version);
    }
    if (field.name[0] == '\0' || !Terminated(field.name) || !Terminated(field.text)) {
        return RefuseImage(fault, "has field %d with an empty name, or a name or text without an end", id);
    }
    return true;
}

bool CheckFields(const ImageView& view, ImageFault& fault) noexcept {
    for (int id = 1; id <= view.dictionary->count; ++id) {
        if (!CheckField(FieldRecord(view.dictionary, static_cast<unsigned>(id)), id, fault)) {
            return false;
        }
    }
    return true;
}

bool IsUsed(const ImageView& view, std::uint16_t id) noexcept {
    return id >= 1 && id <= view.dictionary->count && FieldRecord(view.dictionary, id).type != 0;
}

// The group must follow the first entry of its repeat-count field directly and end within the list.
bool CheckGroup(const ImageView& view, std::uint32_t number, ImageFault& fault) noexcept {
    const ImageSubType& message = view.subTypes[number];
    if (message.repeatFieldId == 0) {
        return message.groupSize == 0 ||
               RefuseImage(fault, "has a group without a repeat-count field in message %u", number);
    }
    const ZELFieldListEntry* list = view.fieldLists + message.firstField;
    int countEntry = 0;
    while (countEntry < message.fieldCount && list[countEntry].fieldId != message.repeatFieldId) {
        ++countEntry;
    }
    if (message.groupSize < 1 || message.groupSize > message.fieldCount - countEntry - 1) {
        return RefuseImage(fault, "has a group of %d entries that does not fit message %u", message.groupSize, number);
    }
    if (!IsInteger(FieldRecord(view.dictionary, message.repeatFieldId).type)) {
        return RefuseImage(fault, "has the repeat-count field %d of message %u with a type that is no integer",
                           message.repeatFieldId, number);
    }
    return true;
}

bool CheckSubType(const ImageView& view, std::uint32_t number, std::uint32_t firstField, ImageFault& fault) noexcept {
    const ImageSubType& message = view.subTypes[number];
    if (!Terminated(message.name)) {
        return RefuseImage(fault, "has a name without an end in message %u", number);
    }
    if (message.fieldCount < 0 || message.firstField != firstField ||
        static_cast<std::uint32_t>(message.fieldCount) > view.header->fieldListCount - firstField) {
        return RefuseImage(fault, "has the field list of message %u in the wrong place", number);
    }
    for (int entry = 0; entry < message.fieldCount; ++entry) {
        const std::uint16_t id = view.fieldLists[firstField + static_cast<std::uint32_t>(entry)].fieldId;
        if (!IsUsed(view, id)) {
            return RefuseImage(fault, "has the unknown field %d in message %u", id, number);
        }
    }
    return CheckGroup(view, number, fault);
}

// Every sub-type must belong to one type, and every field-list entry to one sub-type, in order. Messages are numbered
// from 0.
bool CheckMessages(const ImageView& view, ImageFault& fault) noexcept {
    std::uint32_t nextSubType = 0;
    for (std::uint32_t i = 0; i < view.header->typeCount; ++i) {
        const ImageType& type = view.types[i];
        if (type.subTypeCount == 0 || type.firstSubType != nextSubType ||
            type.subTypeCount > view.header->subTypeCount - nextSubType) {
            return RefuseImage(fault, "has the sub-types of message type %d in the wrong place", type.type);
        }
        nextSubType += type.subTypeCount;
    }
    if (nextSubType != view.header->subTypeCount) {
        return RefuseImage(fault, "has sub-types that belong to no type");
    }
    std::uint32_t nextField = 0;
    for (std::uint32_t i = 0; i < view.header->subTypeCount; ++i) {
        if (!CheckSubType(view, i, nextField, fault)) {
            return false;
        }
        nextField += static_cast<std::uint32_t>(view.subTypes[i].fieldCount);
    }
    if (nextField != view.header->fieldListCount) {
        return RefuseImage(fault, "has field-list entries that belong to no message");
    }
    return true;
}

// Each field must be found by its name, and as many slots be taken as there are fields. Then no two names are equal,
// and no slot holds anything else.
bool CheckNames(const ImageView& view, ImageFault& fault) noexcept {
    const std::uint32_t slotCount = view.header->nameSlotCount;
    if (slotCount == 0 || (slotCount & (slotCount - 1)) != 0) {
        return RefuseImage(fault, "has a name table of %u slots, not a power of two", slotCount);
    }
    std::uint32_t taken = 0;
    for (std::uint32_t slot = 0; slot < slotCount; ++slot) {
        if (view.names[slot] != 0 && !IsUsed(view, view.names[slot])) {
            return RefuseImage(fault, "has the unknown field %d in its name table", view.names[slot]);
        }
        taken += view.names[slot] != 0 ? 1U : 0U;
    }
    std::uint32_t used = 0;
    for (int id = 1; id <= view.dictionary->count; ++id) {
        const ZELDictionaryField& field = FieldRecord(view.dictionary, static_cast<unsigned>(id));
        if (field.type == 0) {
            continue;
        }
        ++used;
        if (FindName(view.dictionary, view.names, slotCount, field.name) != id) {
            return RefuseImage(fault, "does not find field %d by its name", id);
        }
    }
    if (taken != used) {
        return RefuseImage(fault, "has %u names for %u fields", taken, used);
    }
    return true;
}

}  // namespace

bool CheckImage(const void* bytes, std::size_t size, ImageView& view, ImageFault& fault) noexcept {
    if (size < sizeof(ImageHeader)) {
        return RefuseImage(fault, "is too short for a dictionary image (%zu bytes)", size);
    }
    if (size > kMaxFileSize) {
        return RefuseImage(fault, "is too long for a dictionary image (%zu bytes)", size);
    }
    ImageView found;
    const auto& header = *static_cast<const ImageHeader*>(bytes);
    if (!CheckHeader(header, size, fault) || !FindParts(header, found, fault) || !CheckFields(found, fault) ||
        !CheckMessages(found, fault) || !CheckNames(found, fault)) {
        return false;
    }
    view = found;
    return true;
}

}  // namespace zel::image
