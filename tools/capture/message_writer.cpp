#include "tools/capture/message_writer.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "core/wire/compression.h"
#include "core/wire/header.h"
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

constexpr std::size_t kMostUserData = UINT16_MAX;

std::string TypeText(std::int64_t type, std::int64_t subType) {
    return "type " + std::to_string(type) + ", sub-type " + std::to_string(subType);
}

// The repetitions that a value of the count field stands for: the low 16 bits of the number.
int CountIn(const std::string& bytes) {
    return ValueAt<std::int16_t>(bytes.data());
}

std::uint32_t JoinWithoutBorrow(short high, short low) {
    return std::uint32_t{static_cast<std::uint16_t>(high)} << 16U | static_cast<std::uint16_t>(low);
}

// Writes these numbers over those of a packed message. The library takes some of them from elsewhere: it sets packing
// flags by its own rules, joins negative halves with a borrow, and gives a message without a sequence number a new id.
void StampHeader(const ZelMsgStruct& numbers, Writer header) {
    (void)(EncodeNumber<kFlags>(JoinFlags(numbers), header) &&
           EncodeNumber<kMsgType>(JoinWithoutBorrow(numbers.msgType, numbers.subType), header) &&
           EncodeNumber<kServiceId>(JoinWithoutBorrow(numbers.serviceIdHigh, numbers.serviceIdLow), header) &&
           EncodeNumber<kMsgId>(JoinMsgId(numbers), header));
}

}  // namespace

MessageWriter::MessageWriter(const Catalog& catalog)
    : catalog_(catalog), object_(0, 0), buffer_(kZELMaxFrame + kMostUserData), slotsOfId_(std::size_t{UINT16_MAX} + 1) {
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
    const std::size_t frameSize = FrameSize(frame == FrameKind::kShort ? frame : FrameKind::kLong);
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
        // The number in brackets tells the fields of one id apart.
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
    object_.serviceIdHigh = header_.numbers.serviceIdHigh;
    object_.serviceIdLow = header_.numbers.serviceIdLow;
    object_.repeatCount = static_cast<short>(repeatCount);
    object_.version = static_cast<short>(header_.numbers.version);
    object_.compressMode = CompressModeOf(header_.numbers.packFlags);
    object_.createStruct();
    if (object_.message == nullptr) {
        throw MessageError(Explain(reports_.reports(), &catalog_));
    }
    ZelMsgStruct& message = *object_.message;
    message.format = header_.numbers.format;
    message.encryptFlag = header_.numbers.encryptFlag;
    message.userData = header_.numbers.userData;
    if (header_.hasVarUserData) {
        message.varUserData = header_.varUserData.data();
        message.varUserDataLen = static_cast<unsigned short>(header_.varUserData.size());
    }
    NumberSlots();
}

// Finds the occurrence by which the message object knows each slot.
void MessageWriter::NumberSlots() {
    const ZELDataBuf& buffer = *object_.message->dataBuf;
    places_ = PlaceSlots(*kind_, buffer);
    firstSlots_.assign(kind_->entries.size(), places_.size());
    occurrences_.resize(places_.size());
    for (std::size_t i = 0; i < places_.size(); ++i) {
        slotsOfId_[buffer.fields[i].id] = 0;
    }
    for (std::size_t i = 0; i < places_.size(); ++i) {
        occurrences_[i] = ++slotsOfId_[buffer.fields[i].id];
        firstSlots_[places_[i].entry] = std::min(firstSlots_[places_[i].entry], i);
    }
}

// The slot's number, or that of all slots when the message has no such slot.
std::size_t MessageWriter::SlotAt(const SlotPlace& place) const {
    const std::size_t earlier = place.repetition > 1 ? place.repetition - 1 : 0;
    return std::min(firstSlots_[place.entry] + earlier * kind_->groupSize, places_.size());
}

void MessageWriter::SetField(const GivenField& given) {
    const CatalogField& field = *kind_->entries[given.place.entry].field;
    const unsigned format = header_.numbers.format;
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
    const std::size_t index = SlotAt(given.place);
    if (index == places_.size() || places_[index].entry != given.place.entry) {
        throw MessageError(given.where + ": the message has " +
                           Counted(static_cast<std::uint64_t>(object_.repeatCount), "repetition"));
    }
    if (object_.message->dataBuf->fields[index].isSet != 0) {
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
    const short occurrence = occurrences_[SlotAt(place)];
    if (IsFixed(ShapeOf(field.type))) {
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
            const Shape shape = ShapeOf(field.type);
            const std::size_t size = IsFixed(shape) ? FixedMemorySize(shape) : static_cast<std::size_t>(field.length);
            SetValue(places_[static_cast<std::size_t>(i)], std::string(size, '\0'));
        }
    }
}

std::string_view MessageWriter::Pack(FrameKind frame) {
    object_.shortFrame = frame == FrameKind::kShort ? 1 : 0;
    const std::size_t frameSize = FrameSize(frame == FrameKind::kShort ? frame : FrameKind::kLong);
    long length = 0;
    if (WithMemory([&] { return object_.packMessage(buffer_.data(), &length); }) != 0) {
        throw MessageError(reports_.reports().empty() ? "cannot be packed" : Explain(reports_.reports(), &catalog_));
    }
    const auto size = static_cast<std::size_t>(length);
    if (frame == FrameKind::kShort && size - frameSize > INT16_MAX) {
        throw MessageError("frame: a short frame holds at most 32767 bytes; the message has " +
                           std::to_string(size - frameSize));
    }
    HeaderView packed{};
    Reader sent{buffer_.data() + frameSize, buffer_.data() + size};
    if (!ViewHeader(sent, packed)) {
        throw MessageError("the dictionary's header fields are not those of the protocol");
    }
    ZelMsgStruct numbers = header_.numbers;
    numbers.msgType = kind_->type;
    numbers.subType = kind_->subType;
    if (!header_.hasMessageId) {
        SplitMsgId(JoinMsgId(packed.numbers), numbers);
    }
    if (IsCompressed(numbers.packFlags) && !IsCompressed(packed.numbers.packFlags)) {
        // Compression would not have made it smaller: the payload went out uncompressed.
        numbers.packFlags = static_cast<unsigned short>(numbers.packFlags & ~unsigned{kPackCompressed});
    }
    StampHeader(numbers, {buffer_.data() + frameSize, buffer_.data() + size});
    return {buffer_.data(), size};
}

// Puts the fields of an uncompressed payload into the order in which they were received.
void MessageWriter::Reorder(const Json& order, char* message, std::size_t size) const {
    HeaderView header{};
    Reader payload{message, message + size};
    const unsigned format = header_.numbers.format;
    if (!order.is_array()) {
        throw MessageError("order: is " + Shown(order) + "; expected an array of field ids");
    }
    if (!ViewHeader(payload, header) || format == kValueOnly || IsCompressed(header.numbers.packFlags)) {
        throw MessageError("order: only a plain payload of fields with ids has an order of its own");
    }
    char* const fieldsAt = message + (payload.next - message);
    std::unordered_map<std::uint16_t, std::vector<std::string_view>> fields;
    WireField field{};
    std::size_t count = 0;
    for (; NextWireField(catalog_, format, payload, field); ++count) {
        fields[field.id].push_back(field.bytes);
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
    reordered.copy(fieldsAt, reordered.size());
}

}  // namespace zel::tools
