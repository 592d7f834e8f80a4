// What the dictionary in use says of fields and messages, prepared once for reading and writing messages as text.
#ifndef ZEL_TOOLS_DICTIONARY_CATALOG_H
#define ZEL_TOOLS_DICTIONARY_CATALOG_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "zeldata/image.h"

namespace zel::tools {

// The tables of a dictionary as a provider hands them over, or null. They have no names of messages: the image does
// that holds the very dictionary. Its header is null when no such image is known.
struct DictionaryTables {
    const ZELDictionaryHeader* fields;
    const ZELTypeNode* messages;
    image::ImageView names;
};

struct CatalogField {
    std::uint16_t id;
    std::uint16_t type;   // 0: not in the dictionary
    std::int16_t length;  // of the dictionary
    std::int16_t version;
    std::string name;  // its id in digits when the name is missing, not printable, or another field's
};

// Texts as keys, which are looked up without a copy.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};
template <typename Value>
using TextMap = std::unordered_map<std::string, Value, TextHash, std::equal_to<>>;

// One entry of a message's field list.
struct CatalogEntry {
    const CatalogField* field;
    bool isMandatory;
    std::string key;         // the field's name; with "[2]" and so on when the part lists it again
    std::string memberText;  // the key as it begins a further member of a JSON object: ,"NAME":
};

// The parts of a message: what stands before the repeating group, the group, and what stands after it.
enum class MessagePart { kBefore, kGroup, kAfter };

struct CatalogMessage {
    std::int16_t type;
    std::int16_t subType;
    std::string name;      // or empty
    std::string jsonText;  // its members in JSON: name, type and sub-type
    std::vector<CatalogEntry> entries;
    std::uint16_t repeatFieldId;  // 0: no group
    std::size_t groupStart;       // index of the group's first entry; entries.size() without a group
    std::size_t groupSize;
    // Indices of entries by key: of the parts outside the group, and of the group.
    TextMap<std::size_t> outside;
    TextMap<std::size_t> inside;

    [[nodiscard]] MessagePart PartOf(std::size_t entry) const {
        if (entry < groupStart) {
            return MessagePart::kBefore;
        }
        return entry < groupStart + groupSize ? MessagePart::kGroup : MessagePart::kAfter;
    }
};

// Where a slot stands in its message.
struct SlotPlace {
    std::size_t entry;
    std::size_t repetition;  // from 1; 0: outside the group
};

// The place of each slot of a message.
[[nodiscard]] std::vector<SlotPlace> PlaceSlots(const CatalogMessage& message, const ZELDataBuf& slots);

class Catalog {
public:
    explicit Catalog(const DictionaryTables& tables);
    Catalog(const Catalog&) = delete;
    Catalog& operator=(const Catalog&) = delete;

    // The field with this id; for ids that the dictionary does not have, one of type 0.
    [[nodiscard]] const CatalogField& Field(std::uint16_t id) const {
        return id < fields_.size() ? fields_[id] : unknown_;
    }
    // The field with this name, or with this id in digits.
    [[nodiscard]] const CatalogField* FindField(std::string_view nameOrId) const;

    // In the order of type and sub-type.
    [[nodiscard]] std::vector<const CatalogMessage*> Messages() const;
    [[nodiscard]] const CatalogMessage* FindMessage(int type, int subType) const;
    [[nodiscard]] const CatalogMessage* FindMessage(std::string_view name) const;

private:
    void AddFields(const ZELDictionaryHeader* dictionary);
    void AddMessage(const image::ImageView& names, std::int16_t type, const ZELSubTypeNode& node);

    std::vector<CatalogField> fields_;  // by id
    CatalogField unknown_;
    TextMap<std::uint16_t> idByName_;
    std::unordered_map<std::uint32_t, CatalogMessage> messages_;
    TextMap<const CatalogMessage*> messageByName_;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_DICTIONARY_CATALOG_H
