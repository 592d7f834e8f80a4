#include "tools/message/message_writer.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "core/wire/compression.h"
#include "core/wire/header.h"
#include "tools/io/out_of_memory.h"
#include "tools/message/payload_walk.h"
#include "tools/message/stream_json.h"
#include "tools/text/findings.h"
#include "tools/text/json_members.h"
#include "tools/text/message_error.h"
#include "tools/text/value_json.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

constexpr std::size_t kMostUserData = UINT16_MAX;

std::string TypeText(std::int64_t type, std::int64_t subType) {
    return "type " + std::to_string(type) + ", sub-type " + std::to_string(subType);
}

// Where a member of "fields" or of an element of "group" stands.
std::string WhereIs(std::size_t repetition) {
    return repetition == 0 ? "fields" : ElementPlace("group", repetition - 1);
}

std::string WhereIs(std::size_t repetition, std::string_view key) {
    return MemberPlace(WhereIs(repetition), key);
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

MessageWriter::MessageWriter(const Catalog& catalog, Reading reading)
    : catalog_(catalog),
      reading_(reading),
      object_(0, 0),
      buffer_(kZELMaxFrame + kMostUserData),
      slotsOfId_(std::size_t{UINT16_MAX} + 1) {
    object_.sequence = 1;
}

std::string_view MessageWriter::Write(const JsonValue& json) {
    members_ = MessageMembers(json);
    reports_.Clear();
    ReadKind();
    const FrameKind frame = ReadFrameJson(members_);
    header_ = ReadHeaderJson(members_);
    ReadFields();
    Create(RepeatCount());
    for (const GivenField& given : given_) {
        SetField(given);
    }
    SetMissing();
    const std::string_view packed = Pack(frame);
    const std::size_t frameSize = FrameSize(frame == FrameKind::kShort ? frame : FrameKind::kLong);
    if (const JsonValue& order = members_[MemberKey::kOrder]) {
        Reorder(order, buffer_.data() + frameSize, packed.size() - frameSize);
    }
    return frame == FrameKind::kNone ? packed.substr(frameSize) : packed;
}

// By name, by type and sub-type, or by both when they agree.
void MessageWriter::ReadKind() {
    const JsonValue& name = members_[MemberKey::kName];
    const bool hasType = static_cast<bool>(members_[MemberKey::kType]);
    const bool hasSubType = static_cast<bool>(members_[MemberKey::kSubType]);
    kind_ = nullptr;
    if (name) {
        kind_ = name.Is(JsonKind::kText) ? catalog_.FindMessage(name.Text()) : nullptr;
        if (kind_ == nullptr) {
            throw MessageError("name: the dictionary has no message " + Shown(name));
        }
        if (!hasType && !hasSubType) {
            return;
        }
    }
    if (!hasType || !hasSubType) {
        throw MessageError("type: a message has a name, or type and subType");
    }
    const std::int64_t type = members_.Number(MemberKey::kType, INT16_MIN, INT16_MAX, 0);
    const std::int64_t subType = members_.Number(MemberKey::kSubType, INT16_MIN, INT16_MAX, 0);
    if (kind_ != nullptr && (kind_->type != type || kind_->subType != subType)) {
        throw MessageError("name: " + kind_->name + " has " + TypeText(kind_->type, kind_->subType));
    }
    kind_ = catalog_.FindMessage(static_cast<int>(type), static_cast<int>(subType));
    if (kind_ == nullptr) {
        throw MessageError("type: the dictionary has no message of " + TypeText(type, subType));
    }
}

void MessageWriter::ReadFields() {
    given_.clear();
    if (const JsonValue& fields = members_[MemberKey::kFields]) {
        ReadObject(fields, 0);
    }
    const JsonValue& group = members_[MemberKey::kGroup];
    if (!group) {
        return;
    }
    if (!group.Is(JsonKind::kArray)) {
        throw MessageError("group: is " + Shown(group) + "; expected an array of objects");
    }
    if (kind_->groupSize == 0) {
        throw MessageError("group: the message has no repeating group");
    }
    std::size_t repetition = 0;
    for (const JsonValue::Member& element : group) {
        ReadObject(element.value, ++repetition);
    }
}

// The fields of one repetition, or with 0 those outside the group.
void MessageWriter::ReadObject(const JsonValue& object, std::size_t repetition) {
    if (!object.Is(JsonKind::kObject)) {
        throw MessageError(WhereIs(repetition) + ": is " + Shown(object) +
                           "; expected an object with the values of fields");
    }
    // Mostly the fields stand in the order of the message table.
    const MessagePart part = repetition == 0 ? MessagePart::kBefore : MessagePart::kGroup;
    std::size_t next = part == MessagePart::kGroup ? kind_->groupStart : 0;
    for (const JsonValue::Member& member : object) {
        if (part == MessagePart::kBefore && next == kind_->groupStart) {
            next += kind_->groupSize;
        }
        const bool isNext = next < kind_->entries.size() && kind_->entries[next].key == member.key &&
                            (part == MessagePart::kGroup) == (kind_->PartOf(next) == MessagePart::kGroup);
        const std::size_t entry = isNext ? next : FindEntry(member.key, repetition);
        given_.push_back({{entry, repetition}, member});
        next = entry + 1;
    }
}

// The entry of the field that a key names: by name or id, with a number in brackets when the part lists it again.
std::size_t MessageWriter::FindEntry(std::string_view key, std::size_t repetition) const {
    const auto& entries = repetition == 0 ? kind_->outside : kind_->inside;
    const auto& others = repetition == 0 ? kind_->inside : kind_->outside;
    const std::size_t bracket = std::min(key.find('['), key.size());
    const CatalogField* field = catalog_.FindField(key);
    std::string named(key);
    if (field != nullptr) {
        named = field->name;
    } else if (const CatalogField* twin = catalog_.FindField(key.substr(0, bracket))) {
        named = twin->name + std::string(key.substr(bracket));
    }
    if (const auto entry = entries.find(named); entry != entries.end()) {
        return entry->second;
    }
    const char* fault = field == nullptr ? ": the dictionary has no such field" : ": the message has no such field";
    if (others.contains(named)) {
        fault = repetition == 0 ? ": belongs into the elements of group" : ": belongs into fields, outside the group";
    }
    throw MessageError(WhereIs(repetition, key) + fault);
}

// What the message says, what its count field says, or as many as there are elements.
int MessageWriter::RepeatCount() const {
    if (members_[MemberKey::kRepeatCount]) {
        return static_cast<int>(members_.Number(MemberKey::kRepeatCount, 0, INT16_MAX, 0));
    }
    if (kind_->groupSize == 0) {
        return -1;
    }
    const std::size_t countEntry = kind_->groupStart - 1;
    const CatalogField& count = *kind_->entries[countEntry].field;
    const auto isCount = [countEntry](const GivenField& given) { return given.place.entry == countEntry; };
    const auto given = std::find_if(given_.begin(), given_.end(), isCount);
    if (given == given_.end() || !image::IsInteger(count.type)) {
        return static_cast<int>(std::min<std::size_t>(members_[MemberKey::kGroup].size(), kZELMaxSlots));
    }
    return CountIn(ReadValue(*given));
}

// The value as the message holds it.
std::string MessageWriter::ReadValue(const GivenField& given) const {
    const CatalogField& field = *kind_->entries[given.place.entry].field;
    try {
        const bool isBytes = field.type == kZELBytes10 || field.type == kZELBytes11;
        if (isBytes && IsStreamJson(given.member.value)) {
            return ReadStreamJson(given.member.value, catalog_, reading_);
        }
        return ReadValueJson(given.member.value, {field.type, field.length}, reading_);
    } catch (const MessageError& error) {
        throw MessageError(WhereIs(given.place.repetition, given.member.key) + ": " + error.what());
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
    if (numberedKind_ == kind_ && numberedCount_ == object_.repeatCount) {
        return;
    }
    numberedKind_ = kind_;
    numberedCount_ = object_.repeatCount;
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
    const auto refuse = [&given](const std::string& fault) {
        throw MessageError(WhereIs(given.place.repetition, given.member.key) + ": " + fault);
    };
    const std::string bytes = ReadValue(given);
    if (bytes.size() > kZELMaxPayload) {
        refuse("is longer than a payload");
    }
    if (field.type == kZELChars && format != kIdLengthAndValue &&
        bytes.size() != static_cast<std::size_t>(field.length)) {
        refuse("has " + Counted(bytes.size(), "byte") + "; expected " + std::to_string(field.length));
    }
    const std::size_t slot = SlotAt(given.place);
    if (slot == places_.size() || places_[slot].entry != given.place.entry) {
        refuse("the message has " + Counted(static_cast<std::uint64_t>(object_.repeatCount), "repetition"));
    }
    if (object_.message->dataBuf->fields[slot].isSet != 0) {
        refuse("the field is given twice");
    }
    SetValue(slot, bytes);
    const int version = object_.version;
    if (version != 0 && field.version > version) {
        // The library would leave the field out. What is written here goes out, but where no id tells what is missing.
        if (format == kValueOnly) {
            refuse("is of version " + std::to_string(field.version) + "; a message of version " +
                   std::to_string(version) + " leaves it out");
        }
        object_.version = 0;
    }
}

void MessageWriter::SetValue(std::size_t slot, const std::string& bytes) {
    const CatalogField& field = *kind_->entries[places_[slot].entry].field;
    const auto id = static_cast<short>(field.id);
    const short occurrence = occurrences_[slot];
    if (IsFixed(ShapeOf(field.type))) {
        object_.setFieldValue(id, bytes.data(), occurrence);
    } else {
        object_.setFieldValueBinary(id, bytes.data(), static_cast<short>(bytes.size()), occurrence);
    }
    _field_data& set = object_.message->dataBuf->fields[slot];
    if (set.isSet == 0) {
        throw MessageError(Explain(reports_.reports(), &catalog_));
    }
    if (bytes.empty()) {
        // The library sets no value of no bytes, but sends one.
        set.length = 0;
    }
}

// What the JSON need not say: the number of repetitions, and mandatory fields that are newer than the message. Those
// must be there for the library to leave them out.
void MessageWriter::SetMissing() {
    const std::size_t countEntry = kind_->groupStart - 1;
    if (members_[MemberKey::kGroup] && !members_[MemberKey::kRepeatCount] &&
        image::IsInteger(kind_->entries[countEntry].field->type) &&
        object_.message->dataBuf->fields[countEntry].isSet == 0) {
        const std::int32_t count = object_.repeatCount;
        std::string bytes(sizeof count, '\0');
        std::memcpy(bytes.data(), &count, sizeof count);
        SetValue(SlotAt({countEntry, 0}), bytes);
    }
    const ZELDataBuf& buffer = *object_.message->dataBuf;
    for (int i = 0; object_.version != 0 && i < buffer.count; ++i) {
        const _field_data& slot = buffer.fields[i];
        const CatalogField& field = catalog_.Field(slot.id);
        if (slot.isSet == 0 && slot.presence == kZELMandatory && field.version > object_.version) {
            const Shape shape = ShapeOf(field.type);
            const std::size_t size = IsFixed(shape) ? FixedMemorySize(shape) : static_cast<std::size_t>(field.length);
            SetValue(static_cast<std::size_t>(i), std::string(size, '\0'));
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
void MessageWriter::Reorder(const JsonValue& order, char* message, std::size_t size) const {
    HeaderView header{};
    Reader payload{message, message + size};
    const unsigned format = header_.numbers.format;
    if (!order.Is(JsonKind::kArray)) {
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
    for (const JsonValue::Member& element : order) {
        const JsonValue& id = element.value;
        const std::int64_t number = id.WholeNumber().value_or(0);
        const auto found =
            std::in_range<std::uint16_t>(number) ? fields.find(static_cast<std::uint16_t>(number)) : fields.end();
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
