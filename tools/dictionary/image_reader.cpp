#include "tools/dictionary/image_reader.h"

#include <utility>

#include "tools/text/json_members.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

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

}  // namespace zel::tools
