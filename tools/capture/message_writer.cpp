#include "tools/capture/message_writer.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

#include "tools/capture/payload_walk.h"
#include "tools/io/out_of_memory.h"
#include "tools/text/findings.h"
#include "tools/text/json_members.h"
#include "tools/text/message_error.h"
#include "tools/text/value_json.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

using Json = nlohmann::json;

constexpr unsigned kValueOnly = 1;
constexpr unsigned kIdLengthAndValue = 2;

constexpr std::size_t kMostUserData = UINT16_MAX;

// compressMode of the message object.
enum CompressMode { kPlain = 0, kCompressed = 1, kMarked = 2 };

bool IsSeparate(std::uint16_t type) {
    return type == kZELChars || type == kZELText || type == kZELBytes10 || type == kZELBytes11;
}

CompressMode ModeOf(unsigned packFlags) {
    if ((packFlags & kPackMarked) != 0) {
        return kMarked;
    }
    return IsCompressed(packFlags) ? kCompressed : kPlain;
}

std::string TypeText(std::int64_t type, std::int64_t subType) {
    return "type " + std::to_string(type) + ", sub-type " + std::to_string(subType);
}

// The repetitions that a value of the count field stands for: the low 16 bits of the number.
int CountIn(const std::string& bytes) {
    return ValueAt<std::int16_t>(bytes.data());
}

}  // namespace

MessageWriter::MessageWriter(const Catalog& catalog)
    : catalog_(catalog), object_(0, 0), buffer_(kZELMaxFrame + kMostUserData) {
    object_.sequence = 1;
}

std::string_view MessageWriter::Write(const Json& json) {
    Findings findings;
    ExpectObject(json, "",
                 {"offset", "frame", "name", "type", "subType", "serviceId", "messageId", "userData", "varUserData",
                  "format", "version", "packFlags", "encryptFlag", "repeatCount", "order", "fields", "group"},
                 findings);
    if (!findings.empty()) {
        throw MessageError(findings.front().place + (findings.front().place.empty() ? "" : ": ") +
                           findings.front().text);
    }
    reports_.Clear();
    ReadKind(json);
    const FrameKind frame = ReadFrameJson(json);
    header_ = ReadHeaderJson(json);
    ReadFields(json);
    Create(RepeatCount(json));
    for (const GivenField& given : given_) {
        SetField(given);
    }
    SetMissing(json);
    const std::string_view packed = Pack(frame);
    const std::size_t frameSize = frame == FrameKind::kShort ? kShortFrameSize : kLongFrameSize;
    if (json.contains("order")) {
        Reorder(json["order"], buffer_.data() + frameSize, packed.size() - frameSize);
    }
    return frame == FrameKind::kNone ? packed.substr(frameSize) : packed;
}

// By name, by type and sub-type, or by both when they agree.
void MessageWriter::ReadKind(const Json& json) {
    const bool isNamed = json.contains("name");
    kind_ = nullptr;
    if (isNamed) {
        const Json& name = json["name"];
        kind_ = name.is_string() ? catalog_.FindMessage(name.get<std::string>()) : nullptr;
        if (kind_ == nullptr) {
            throw MessageError("name: the dictionary has no message " + Shown(name));
        }
    }
    if (isNamed && !json.contains("type") && !json.contains("subType")) {
        return;
    }
    if (!json.contains("type") || !json.contains("subType")) {
        throw MessageError("type: a message has a name, or type and subType");
    }
    const std::int64_t type = ReadNumberMember(json, "type", INT16_MIN, INT16_MAX, 0);
    const std::int64_t subType = ReadNumberMember(json, "subType", INT16_MIN, INT16_MAX, 0);
    if (isNamed && (kind_->type != type || kind_->subType != subType)) {
        throw MessageError("name: " + kind_->name + " has " + TypeText(kind_->type, kind_->subType));
    }
    kind_ = catalog_.FindMessage(static_cast<int>(type), static_cast<int>(subType));
    if (kind_ == nullptr) {
        throw MessageError("type: the dictionary has no message of " + TypeText(type, subType));
    }
}

void MessageWriter::ReadFields(const Json& json) {
    given_.clear();
    if (const auto fields = json.find("fields"); fields != json.end()) {
        ReadObject(*fields, 0, "fields");
    }
    const auto group = json.find("group");
    if (group == json.end()) {
        return;
    }
    if (!group->is_array()) {
        throw MessageError("group: is " + Shown(*group) + "; expected an array of objects");
    }
    if (kind_->groupSize == 0) {
        throw MessageError("group: the message has no repeating group");
    }
    for (std::size_t i = 0; i < group->size(); ++i) {
        ReadObject((*group)[i], i + 1, ElementPlace("group", i));
    }
}

// The fields of one repetition, or with 0 those outside the group.
void MessageWriter::ReadObject(const Json& object, std::size_t repetition, const std::string& where) {
    if (!object.is_object()) {
        throw MessageError(where + ": is " + Shown(object) + "; expected an object with the values of fields");
    }
    const auto& entries = repetition == 0 ? kind_->outside : kind_->inside;
    const auto& others = repetition == 0 ? kind_->inside : kind_->outside;
    for (const auto& item : object.items()) {
        const std::string place = MemberPlace(where, item.key().c_str());
        // What is behind the name or the id tells the fields of one id apart.
        const std::size_t bracket = std::min(item.key().find('['), item.key().size());
        const CatalogField* field = catalog_.FindField(item.key());
        std::string key = item.key();
        if (field != nullptr) {
            key = field->name;
        } else if (const CatalogField* twin = catalog_.FindField(key.substr(0, bracket))) {
            key = twin->name + key.substr(bracket);
        }
        const auto entry = entries.find(key);
        if (entry != entries.end()) {
            given_.push_back({{entry->second, repetition}, place, &item.value()});
            continue;
        }
        if (others.contains(key)) {
            throw MessageError(place + (repetition == 0 ? ": belongs into the elements of group"
                                                        : ": belongs into fields, outside the group"));
        }
        throw MessageError(
            place + (field == nullptr ? ": the dictionary has no such field" : ": the message has no such field"));
    }
}

// What the message says, what its count field says, or as many as there are elements.
int MessageWriter::RepeatCount(const Json& json) const {
    if (json.contains("repeatCount")) {
        return static_cast<int>(ReadNumberMember(json, "repeatCount", 0, INT16_MAX, 0));
    }
    if (kind_->groupSize == 0) {
        return -1;
    }
    const std::size_t countEntry = kind_->groupStart - 1;
    const CatalogField& count = *kind_->entries[countEntry].field;
    const auto isCount = [countEntry](const GivenField& given) { return given.place.entry == countEntry; };
    const auto given = std::find_if(given_.begin(), given_.end(), isCount);
    if (given == given_.end() || !image::IsInteger(count.type)) {
        return json.contains("group") ? static_cast<int>(std::min<std::size_t>(json["group"].size(), kZELMaxSlots)) : 0;
    }
    try {
        return CountIn(ReadValueJson(*given->value, {count.type, count.length}));
    } catch (const MessageError& error) {
        throw MessageError(given->where + ": " + error.what());
    }
}

void MessageWriter::Create(int repeatCount) {
    object_.msgType = kind_->type;
    object_.subType = kind_->subType;
    object_.serviceIdHigh = static_cast<short>(HighHalf(header_.numbers.serviceId));
    object_.serviceIdLow = static_cast<short>(LowHalf(header_.numbers.serviceId));
    object_.repeatCount = static_cast<short>(repeatCount);
    object_.version = static_cast<short>(Version(header_.numbers.flags));
    object_.compressMode = ModeOf(PackFlags(header_.numbers.flags));
    object_.createStruct();
    if (object_.message == nullptr) {
        throw MessageError(Explain(reports_.reports(), &catalog_));
    }
    ZelMsgStruct& message = *object_.message;
    message.format = static_cast<unsigned short>(FieldFormat(header_.numbers.flags));
    message.encryptFlag = static_cast<unsigned short>(EncryptFlag(header_.numbers.flags));
    message.userData = header_.numbers.userData;
    if (header_.hasVarUserData) {
        message.varUserData = header_.varUserData.data();
        message.varUserDataLen = static_cast<unsigned short>(header_.varUserData.size());
    }
}

void MessageWriter::SetField(const GivenField& given) {
    const CatalogField& field = *kind_->entries[given.place.entry].field;
    const unsigned format = FieldFormat(header_.numbers.flags);
    std::string bytes;
    try {
        bytes = ReadValueJson(*given.value, {field.type, field.length});
    } catch (const MessageError& error) {
        throw MessageError(given.where + ": " + error.what());
    }
    if (bytes.size() > kZELMaxPayload) {
        throw MessageError(given.where + ": is longer than a payload");
    }
    if (field.type == kZELChars && format != kIdLengthAndValue &&
        bytes.size() != static_cast<std::size_t>(field.length)) {
        throw MessageError(given.where + ": has " + Counted(bytes.size(), "byte") + "; expected " +
                           std::to_string(field.length));
    }
    const auto id = static_cast<short>(field.id);
    const auto occurrence = static_cast<short>(OccurrenceOf(*kind_, object_.repeatCount, given.place));
    const _field_data* slot = object_.getField(id, occurrence);
    const bool inGroup = given.place.repetition != 0;
    if (slot == nullptr || (inGroup && object_.repeatCount > 0 &&
                            given.place.repetition > static_cast<std::size_t>(object_.repeatCount))) {
        throw MessageError(given.where + ": the message has " +
                           Counted(static_cast<std::size_t>(object_.repeatCount), "repetition"));
    }
    if (slot->isSet != 0) {
        throw MessageError(given.where + ": the field is given twice");
    }
    SetValue(given.place, bytes);
    const int version = object_.version;
    if (version != 0 && field.version > version) {
        // The library would leave the field out. What is written here goes out, but where no id tells what is missing.
        if (format == kValueOnly) {
            throw MessageError(given.where + ": is of version " + std::to_string(field.version) +
                               "; a message of version " + std::to_string(version) + " leaves it out");
        }
        object_.version = 0;
    }
}

void MessageWriter::SetValue(const SlotPlace& place, const std::string& bytes) {
    const CatalogField& field = *kind_->entries[place.entry].field;
    const auto id = static_cast<short>(field.id);
    const auto occurrence = static_cast<short>(OccurrenceOf(*kind_, object_.repeatCount, place));
    if (!IsSeparate(field.type)) {
        object_.setFieldValue(id, bytes.data(), occurrence);
    } else {
        object_.setFieldValueBinary(id, bytes.data(), static_cast<short>(bytes.size()), occurrence);
    }
    _field_data* slot = object_.getField(id, occurrence);
    if (slot->isSet == 0) {
        throw MessageError(Explain(reports_.reports(), &catalog_));
    }
    if (bytes.empty()) {
        // The library sets no value of no bytes, but sends one.
        slot->length = 0;
    }
}

// What the JSON need not say: the number of repetitions, and mandatory fields that are newer than the message. Those
// must be there for the library to leave them out.
void MessageWriter::SetMissing(const Json& json) {
    const std::size_t countEntry = kind_->groupStart - 1;
    if (json.contains("group") && !json.contains("repeatCount") &&
        image::IsInteger(kind_->entries[countEntry].field->type) &&
        object_.message->dataBuf->fields[countEntry].isSet == 0) {
        const std::int32_t count = object_.repeatCount;
        std::string bytes(sizeof count, '\0');
        std::memcpy(bytes.data(), &count, sizeof count);
        SetValue({countEntry, 0}, bytes);
    }
    const ZELDataBuf& buffer = *object_.message->dataBuf;
    for (int i = 0; object_.version != 0 && i < buffer.count; ++i) {
        const _field_data& slot = buffer.fields[i];
        const CatalogField& field = catalog_.Field(slot.id);
        if (slot.isSet == 0 && slot.presence == kZELMandatory && field.version > object_.version) {
            const std::size_t size = IsSeparate(field.type) ? static_cast<std::size_t>(field.length) : sizeof(_money);
            SetValue(PlaceOf(*kind_, object_.repeatCount, static_cast<std::size_t>(i)), std::string(size, '\0'));
        }
    }
}

std::string_view MessageWriter::Pack(FrameKind frame) {
    object_.shortFrame = frame == FrameKind::kShort ? 1 : 0;
    const std::size_t frameSize = frame == FrameKind::kShort ? kShortFrameSize : kLongFrameSize;
    long length = 0;
    if (WithMemory([&] { return object_.packMessage(buffer_.data(), &length); }) != 0) {
        throw MessageError(reports_.reports().empty() ? "cannot be packed" : Explain(reports_.reports(), &catalog_));
    }
    const auto size = static_cast<std::size_t>(length);
    if (frame == FrameKind::kShort && size - frameSize > INT16_MAX) {
        throw MessageError("frame: a short frame holds at most 32767 bytes; the message has " +
                           std::to_string(size - frameSize));
    }
    HeaderNumbers packed{};
    if (!ReadHeader(buffer_.data() + frameSize, size - frameSize, packed)) {
        throw MessageError("the dictionary's header fields are not those of the protocol");
    }
    HeaderNumbers numbers = header_.numbers;
    numbers.msgType = static_cast<std::uint32_t>(static_cast<std::uint16_t>(kind_->type)) << 16U |
                      static_cast<std::uint16_t>(kind_->subType);
    numbers.msgId = header_.hasMessageId ? numbers.msgId : packed.msgId;
    if (IsCompressed(PackFlags(numbers.flags)) && !IsCompressed(PackFlags(packed.flags))) {
        // Compression would not have made it smaller: the payload went out plain.
        numbers.flags = static_cast<std::uint16_t>(numbers.flags & ~(kPackCompressed << 8U));
    }
    StampHeader(buffer_.data() + frameSize, numbers);
    return {buffer_.data(), size};
}

// Puts the fields of a plain payload into the order in which they were received.
void MessageWriter::Reorder(const Json& order, char* message, std::size_t size) const {
    HeaderNumbers header{};
    const unsigned format = FieldFormat(header_.numbers.flags);
    if (!order.is_array()) {
        throw MessageError("order: is " + Shown(order) + "; expected an array of field ids");
    }
    if (!ReadHeader(message, size, header) || format == kValueOnly || IsCompressed(PackFlags(header.flags))) {
        throw MessageError("order: only a plain payload of fields with ids has an order of its own");
    }
    const std::string payload(message + header.size, size - header.size);
    std::unordered_map<std::uint16_t, std::vector<std::string_view>> fields;
    WireField field{};
    std::size_t count = 0;
    for (std::string_view rest = payload; NextWireField(catalog_, format, rest, field); ++count) {
        fields[field.id].push_back(rest.substr(0, field.size));
        rest.remove_prefix(field.size);
    }
    std::unordered_map<std::uint16_t, std::size_t> used;
    std::string reordered;
    for (const Json& id : order) {
        const std::int64_t number = WholeNumber(id).value_or(0);
        const auto found = fields.find(static_cast<std::uint16_t>(number));
        if (found == fields.end() || used[found->first] == found->second.size()) {
            throw MessageError("order: " + Shown(id) + " is the id of no further field of the message");
        }
        reordered += found->second[used[found->first]++];
    }
    if (order.size() != count) {
        throw MessageError("order: names " + Counted(order.size(), "field") + "; the message has " +
                           std::to_string(count));
    }
    reordered.copy(message + header.size, reordered.size());
}

}  // namespace zel::tools
