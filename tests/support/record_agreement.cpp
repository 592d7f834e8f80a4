#include "tests/support/record_agreement.h"

#include <map>
#include <set>

#include "convert/seconds.h"
#include "fuzz/check.h"
#include "tests/support/made_message.h"
#include "tests/support/recorded_reports.h"

namespace zel::test {

using fuzz::Check;

namespace {

// What a member for a field of each dictionary type may be.
constexpr int kKinds[][3] = {
    {ZEL_INT16, ZEL_INT32, ZEL_VIEW},  {ZEL_INT16, ZEL_INT32, ZEL_INT64},    {ZEL_INT32, ZEL_INT32, ZEL_INT64},
    {ZEL_INT32, ZEL_INT32, ZEL_INT64}, {ZEL_CHARS, ZEL_CHARS, ZEL_VIEW},     {ZEL_CHARS, ZEL_BYTES, ZEL_VIEW},
    {ZEL_FLOAT, ZEL_FLOAT, ZEL_FLOAT}, {ZEL_DOUBLE, ZEL_DOUBLE, ZEL_DOUBLE}, {ZEL_DATETIME, ZEL_DATETIME, ZEL_SECONDS},
    {ZEL_MONEY, ZEL_MONEY, ZEL_MONEY}, {ZEL_BYTES, ZEL_BYTES, ZEL_VIEW},     {ZEL_BYTES, ZEL_BYTES, ZEL_VIEW},
    {ZEL_INT16, ZEL_INT32, ZEL_VIEW}};
constexpr std::uint32_t kSizes[] = {0, 2, 4, 8, 4, 8, 8, 8, 0, 0, sizeof(void*), 8};
constexpr char kUntouched = 0x5A;

template <typename T>
T Load(const void* at) {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

template <typename T>
void Store(void* at, T value) {
    std::memcpy(at, &value, sizeof value);
}

// Sign-extended to 8 bytes.
std::int64_t Number(const void* at, std::size_t size) {
    return size == 2 ? Load<std::int16_t>(at) : size == 4 ? Load<std::int32_t>(at) : Load<std::int64_t>(at);
}

bool IsWhole(const ZELMember& member) {
    return member.kind <= ZEL_INT64;
}

bool IsArray(const ZELMember& member) {
    return member.kind == ZEL_CHARS || member.kind == ZEL_BYTES;
}

// Whether a member can be for it.
bool IsUsual(const ZELDictionaryField& field) {
    return field.type >= kZELShort && field.type <= kZELBytes11;
}

int FirstCode(const Lines& reports) {
    return reports.empty() ? 0 : std::stoi(reports.front());
}

void CheckFailure(int result, const ZELFailure& failure) {
    Check(result == 0 || (failure.result == result && *failure.text != '\0'), "a failure says what it is");
}

// The bytes that the member has for a field of text or bytes: 0, or what the record is to say of it.
int ReadText(const ZELMember& member, const char* base, bool isOne, std::string& bytes) {
    const char* at = base + member.offset;
    std::size_t length = isOne ? 1 : strnlen(at, member.size);
    if (member.kind == ZEL_BYTES) {
        length = Load<std::uint32_t>(base + member.lengthOffset);
        if (length > member.size) {
            return ZEL_TEXT_TOO_LONG;
        }
    } else if (member.kind == ZEL_VIEW) {
        length = Load<std::size_t>(base + member.lengthOffset);
        at = Load<const char*>(at);
        if (at == nullptr && length != 0) {
            return ZEL_BAD_ARGUMENT;
        }
    }
    bytes.assign(length != 0 ? at : "", length);
    return 0;
}

}  // namespace

// ---- The layout -----------------------------------------------------------------------------------------------------

RecordAgreement::RecordAgreement(Random& random, const RandomTables& tables)
    : RecordAgreement(random, tables.InUse(), RandomTables::kType, tables.Node(random.Below(RandomTables::kSubTypes))) {
}

RecordAgreement::RecordAgreement(Random& random, const Tables& tables, short msgType, const ZELSubTypeNode& node)
    : random_(random),
      tables_(tables),
      msgType_(msgType),
      node_(node),
      noise_(random.Long()),
      pool_(noise_.Bytes(64)),
      groupBegin_(node_.fieldCount),
      groupEnd_(node_.fieldCount) {
    pool_[8] = pool_[16] = '\0';
    for (int at = node_.fieldCount - node_.groupSize - 1; at >= 0 && node_.groupSize > 0; --at) {
        if (node_.fieldList[at].fieldId == node_.repeatFieldId && node_.repeatFieldId != 0) {
            groupBegin_ = at + 1;
            groupEnd_ = groupBegin_ + node_.groupSize;
        }
    }
    hasGroup_ = groupBegin_ != groupEnd_ && !random_.OneIn(6);
    MakeLayout();
    char text[400];
    const int result = ZELBind(&layout_, &binding_, text, sizeof text);
    Check((result == 0) == IsBound(), "a layout is bound, or it is not");
    Check((result == ZEL_BAD_LAYOUT) == (*text != '\0'), "a layout that is not bound is told why");
    Check(result != 0 || ZELIsCurrent(binding_) == 1, "a new binding is current");
}

ZELMember RecordAgreement::MakeMember(std::uint16_t id, std::uint32_t& end) {
    const ZELDictionaryField& field = FieldOrNone(tables_, id);
    const auto place = [&](std::size_t size) {
        const std::uint32_t at = end + static_cast<std::uint32_t>(noise_.Below(3));
        end = at + static_cast<std::uint32_t>(size);
        return at;
    };
    ZELMember member{nullptr, id, random_.Pick(kKinds[field.type]), 0, 0, 0, ZEL_NOWHERE};
    member.size = kSizes[member.kind];
    if (IsArray(member)) {
        member.size = static_cast<std::uint32_t>(1 + random_.Below(24) + std::max<int>(field.length, 0));
    }
    member.offset = place(member.size);
    member.lengthOffset =
        member.kind == ZEL_VIEW ? place(sizeof(std::size_t)) : place(member.kind == ZEL_BYTES ? 4 : 0);
    if (random_.Below(3) != 0) {
        member.presenceOffset = place(1);
    }
    return member;
}

// Members for most of the fields, in the order of the list: every one that is mandatory. A member is for the first
// entry with its id in the group, or outside it.
void RecordAgreement::MakeLayout() {
    std::set<std::uint16_t> seen[2];
    std::uint32_t ends[2] = {};
    for (int at = 0; at < node_.fieldCount; ++at) {
        const auto [id, presence] = node_.fieldList[at];
        const bool inGroup = at >= groupBegin_ && at < groupEnd_;
        const bool isNumber = (id == node_.repeatFieldId && id != 0) || (inGroup && id == kZELGroupMarker);
        memberOf_.push_back(-1);
        if (seen[inGroup].insert(id).second && !isNumber && (!inGroup || hasGroup_) &&
            (presence == kZELMandatory || !random_.OneIn(IsUsual(FieldOrNone(tables_, id)) ? 4 : 1))) {
            memberOf_.back() = static_cast<int>(members_[inGroup].size());
            members_[inGroup].push_back(MakeMember(id, ends[inGroup]));
        }
    }
    layout_ = {msgType_, node_.subType, ends[0] + 1, members_[0].data(), static_cast<std::uint32_t>(members_[0].size()),
               nullptr};
    if (hasGroup_) {
        const auto capacity = static_cast<std::uint32_t>(1 + random_.Below(6));
        group_ = {ends[0] + 5, ends[1] + 1,        capacity,
                  ends[0],     members_[1].data(), static_cast<std::uint32_t>(members_[1].size())};
        layout_.size = group_.offset + group_.stride * capacity;
        layout_.group = &group_;
    }
}

// The list with the group repeated as in the object. Without a repetition nothing after the group has a slot.
std::vector<RecordAgreement::Place> RecordAgreement::Places(const CZELMessage& object) const {
    const ZELDataBuf& slots = *object.message->dataBuf;
    const int groupSize = groupEnd_ - groupBegin_;
    const int repetitions = groupSize != 0 ? object.repeatCount : 0;
    std::vector<Place> places;
    const auto add = [&](int begin, int end, int repetition, int slotsBefore) {
        for (int entry = begin; entry < end; ++entry) {
            const int slot = entry + slotsBefore;
            const int member = memberOf_[static_cast<std::size_t>(entry)];
            const std::vector<ZELMember>& members = members_[repetition < 0 ? 0 : 1];
            places.push_back({slot < slots.count ? &slots.fields[slot] : nullptr,
                              member < 0 ? nullptr : &members[static_cast<std::size_t>(member)],
                              BaseOf(repetition),
                              {node_.fieldList[entry].fieldId, repetition}});
        }
    };
    add(0, groupBegin_, -1, 0);
    for (int repetition = 0; repetition < repetitions; ++repetition) {
        add(groupBegin_, groupEnd_, repetition, repetition * groupSize);
    }
    add(groupEnd_, node_.fieldCount, -1, repetitions != 0 ? (repetitions - 1) * groupSize : slots.count);
    return places;
}

// ---- Packing --------------------------------------------------------------------------------------------------------

// The record is noise: makes of it a value that mostly fits, or one that mostly does not.
void RecordAgreement::FillMember(const ZELMember& member, char* base, bool isWild) {
    char* at = base + member.offset;
    const std::uint32_t number = noise_();
    if (member.presenceOffset != ZEL_NOWHERE && noise_.Below(8) == 0) {
        base[member.presenceOffset] = '\0';
    }
    if (IsWhole(member) && !isWild) {
        const std::int64_t small = static_cast<std::int16_t>(number);
        std::memcpy(at, &small, member.size);
    } else if (member.kind == ZEL_SECONDS && !isWild) {
        Store(at, std::int64_t{number});
    } else if (member.kind == ZEL_BYTES) {
        Store(base + member.lengthOffset, number % (isWild ? 1U << noise_.Below(32) : member.size + 1));
    } else if (member.kind == ZEL_CHARS) {
        const ZELDictionaryField& field = FieldOrNone(tables_, static_cast<unsigned>(member.fieldId));
        const bool isShort = field.type == kZELChars && !isWild && field.length > 0;
        const std::uint32_t end = number % (1U + (isShort ? static_cast<std::uint32_t>(field.length) : member.size));
        if (end < member.size) {
            at[end] = '\0';
        }
    } else if (member.kind == ZEL_VIEW) {
        const std::size_t length = number % (isWild ? 40 : 6);
        const bool isNull = length == 0 || (isWild && noise_.Below(8) == 0);
        Store(at, isNull ? nullptr : pool_.data() + noise_.Below(24));
        Store(base + member.lengthOffset, length);
    }
}

std::string RecordAgreement::FillRecord() {
    std::string record = noise_.Bytes(static_cast<int>(layout_.size));
    const bool isWild = random_.OneIn(8);
    for (const ZELMember& member : members_[0]) {
        FillMember(member, record.data(), isWild);
    }
    for (std::uint32_t at = 0; at < group_.capacity; ++at) {
        for (const ZELMember& member : members_[1]) {
            FillMember(member, record.data() + BaseOf(static_cast<int>(at)), isWild);
        }
    }
    if (hasGroup_) {
        Store(record.data() + group_.countOffset, random_.OneIn(32) ? noise_() : noise_() % (group_.capacity + 1));
    }
    return record;
}

// Sets the field as a program with an object would: 0, or what the record is to say of the member.
int RecordAgreement::SetField(CZELMessage& object, const Place& place, short occurrence, const char* base) const {
    const ZELMember& member = *place.member;
    const auto id = static_cast<short>(member.fieldId);
    const ZELDictionaryField& field = FieldOrNone(tables_, place.slot->id);
    if (object.version != 0 && field.version > object.version) {
        object.setFieldValueBinary(id, "", 1, occurrence);
        return 0;
    }
    if (member.kind == ZEL_SECONDS) {
        const _datetime value = DateTimeOf(Load<std::int64_t>(base + member.offset));
        object.setFieldValue(id, &value, occurrence);
        return value.kind != 0 ? 0 : int{ZEL_OUT_OF_RANGE};
    }
    if (member.kind < ZEL_CHARS) {
        const char* at = base + member.offset;
        const std::int64_t number = IsWhole(member) ? Number(at, member.size) : 0;
        object.setFieldValue(id, IsWhole(member) ? static_cast<const void*>(&number) : at, occurrence);
        return number == Number(&number, field.type == kZELShort ? 2 : 4) ? 0 : int{ZEL_OUT_OF_RANGE};
    }
    const bool isOne = field.type == kZELChars && field.length == 1;
    std::string bytes;
    const int refused = ReadText(member, base, isOne, bytes);
    if (refused != 0) {
        return refused;
    }
    if (field.type == kZELChars) {
        object.setFieldValue(id, bytes.c_str(), occurrence);
        const std::size_t used = isOne ? bytes.size() : std::strlen(bytes.c_str());
        return used <= static_cast<std::size_t>(std::max<int>(field.length, 0)) ? 0 : int{ZEL_TEXT_TOO_LONG};
    }
    if (bytes.empty()) {
        object.getField(id, occurrence)->length = 0;
        object.setFieldValue(id, "", occurrence);
    } else {
        object.setFieldValueBinary(id, bytes.data(), static_cast<short>(bytes.size()), occurrence);
    }
    return 0;
}

int RecordAgreement::SetFields(CZELMessage& object, const char* record) const {
    std::map<int, short> occurrences;
    for (const Place& place : Places(object)) {
        if (place.slot == nullptr) {
            continue;
        }
        const auto id = static_cast<short>(place.slot->id);
        const short occurrence = ++occurrences[id];
        const char* base = record + place.base;
        const bool inGroup = place.field.repetition >= 0;
        if (place.member == nullptr) {
            const ZELLong number = inGroup ? place.field.repetition + 1 : object.repeatCount;
            if (inGroup ? id == kZELGroupMarker : id == node_.repeatFieldId && id != 0 && occurrence == 1) {
                object.setFieldValue(id, &number, occurrence);
            }
        } else if (place.member->presenceOffset == ZEL_NOWHERE || base[place.member->presenceOffset] != 0) {
            const int refused = SetField(object, place, occurrence, base);
            if (refused != 0) {
                return refused;
            }
        }
    }
    return 0;
}

ZELEnvelope RecordAgreement::MakeEnvelope(const std::string& userData) {
    ZELEnvelope envelope{};
    envelope.serviceIdLow = random_.Byte();
    envelope.version = static_cast<std::int16_t>(random_.Below(4));
    envelope.format = static_cast<std::int16_t>(random_.Below(3));
    envelope.compressMode = static_cast<std::int16_t>(random_.OneIn(4) ? random_.Below(3) : 0);
    envelope.encryptFlag = random_.OneIn(6) ? 3 : 0;
    envelope.frameKind = static_cast<std::int16_t>(random_.Below(2));
    envelope.sequence = 77;
    envelope.msgIdSeq = random_.OneIn(2) ? 9 : 0;
    envelope.userData = Load<std::int32_t>(pool_.data());
    if (random_.OneIn(4)) {
        envelope.varUserData = {userData.data(), userData.size()};
    }
    return envelope;
}

std::string RecordAgreement::Pack() {
    constexpr std::size_t kMost = kZELMaxFrame + 100;
    const ExactCopy record(FillRecord());
    const std::uint32_t count = hasGroup_ ? Load<std::uint32_t>(record.data.get() + group_.countOffset) : 0;
    std::string userData = random_.Bytes(random_.Below(8));
    ZELEnvelope envelope = MakeEnvelope(userData);

    static CZELMessage object(0, 0);
    object.msgType = msgType_;
    object.subType = node_.subType;
    object.serviceIdLow = envelope.serviceIdLow;
    object.version = envelope.version;
    object.compressMode = envelope.compressMode;
    object.shortFrame = envelope.frameKind;
    object.sequence = static_cast<short>(envelope.sequence);
    object.repeatCount = static_cast<short>(count);
    RecordedReports reports;
    std::string frame;
    int refused = count > group_.capacity ? int{ZEL_TOO_MANY} : 0;
    if (refused == 0) {
        object.createStruct();
        if (object.message != nullptr) {
            ZelMsgStruct& message = *object.message;
            refused = SetFields(object, record.data.get());
            message.format = static_cast<unsigned short>(envelope.format);
            message.encryptFlag = envelope.encryptFlag;
            message.msgIdSeq = envelope.msgIdSeq;
            message.userData = envelope.userData;
            message.varUserData = envelope.varUserData.data != nullptr ? userData.data() : nullptr;
            message.varUserDataLen = static_cast<unsigned short>(envelope.varUserData.length);
        }
        frame = refused == 0 ? test::Pack(object) : "";
        object.destroyStruct();
    }
    const Lines expected = reports.Take();
    const bool isShort = !frame.empty() && random_.OneIn(4);

    const std::size_t room = frame.empty() ? kMost : frame.size() - (isShort ? 1 : 0);
    const std::unique_ptr<char[]> buffer(new char[room]);
    std::size_t size = 0;
    ZELFailure failure{};
    const int result = ZELPackRecord(binding_, record.data.get(), &envelope, buffer.get(), room, &size, &failure);
    CheckFailure(result, failure);
    Check(result == (refused != 0 ? refused
                     : isShort    ? int{ZEL_BUFFER_TOO_SMALL}
                                  : FirstCode(expected)),
          "packing has the same result");
    Check(refused != 0 || reports.Take() == expected, "packing has the same reports");
    Check(result != 0 || std::string_view(buffer.get(), size) == frame, "packing gives the same bytes");
    Check(envelope.sequence == (result < ZEL_BAD_ARGUMENT ? 78 : 77), "the sequence counts");
    return frame.empty() ? "" : frame.substr(envelope.frameKind == ZEL_FRAME_SHORT ? 4 : 6);
}

// ---- Unpacking ------------------------------------------------------------------------------------------------------

// Writes what unpacking should have left of a member. Of a view that is right, and of what is left as it was, it takes
// what the record has.
void RecordAgreement::Expect(const Place& place, std::string& expected, const char* record) const {
    const ZELMember& member = *place.member;
    const bool isSet = place.IsSet();
    const std::string_view value = isSet ? ValueOf(*place.slot) : std::string_view();
    char* base = expected.data() + place.base;
    char* at = base + member.offset;
    if (member.presenceOffset != ZEL_NOWHERE) {
        base[member.presenceOffset] = isSet ? 1 : 0;
    }
    std::memset(at, 0, member.size);
    if (member.kind == ZEL_VIEW) {
        const auto* data = Load<const char*>(record + place.base + member.offset);
        Check(value.empty() || std::memcmp(data, value.data(), value.size()) == 0, "a view");
        Store(at, isSet ? data : nullptr);
        Store(base + member.lengthOffset, value.size());
    } else if (member.kind == ZEL_BYTES) {
        std::memcpy(at, record + place.base + member.offset, member.size);
        value.copy(at, value.size());
        Store(base + member.lengthOffset, static_cast<std::uint32_t>(value.size()));
    } else if (member.kind == ZEL_SECONDS) {
        Store(at, isSet ? SecondsOf(Load<_datetime>(place.slot->value)) : kNoSeconds);
    } else if (!isSet || member.kind == ZEL_CHARS) {
        value.copy(at, value.size());
    } else if (IsWhole(member)) {
        const bool isShort = FieldOrNone(tables_, place.slot->id).type == kZELShort;
        const std::int64_t number = Number(place.slot->value, isShort ? 2 : 4);
        std::memcpy(at, &number, member.size);
    } else {
        std::memcpy(at, place.slot->value, member.size);
    }
}

// What unpacking into a record should come to, after the object did: 0 or a result. Where the record says 0, too,
// its bytes and the fields that did not arrive.
int RecordAgreement::ExpectRecord(const CZELMessage& object, int result, std::string& expected, const char* record,
                                  std::vector<ZELAbsent>& absent) const {
    if (hasGroup_ && object.repeatCount > static_cast<int>(group_.capacity)) {
        return ZEL_TOO_MANY;
    }
    for (const Place& place : Places(object)) {
        if (place.member == nullptr) {
            continue;
        }
        if (place.IsSet() && IsArray(*place.member) && place.slot->length > place.member->size) {
            return ZEL_TEXT_TOO_LONG;
        }
        if (result == 0) {
            Expect(place, expected, record);
            if (!place.IsSet() && place.member->presenceOffset == ZEL_NOWHERE) {
                absent.push_back(place.field);
            }
        }
    }
    return 0;
}

std::string RecordAgreement::Values(const CZELMessage& object) const {
    std::string values = std::to_string(object.serviceIdLow) + ' ' + std::to_string(object.message->msgIdSeq) + ' ' +
                         std::to_string(object.message->userData) + '\n';
    for (const Place& place : Places(object)) {
        if (place.member != nullptr && place.IsSet()) {
            values += std::to_string(place.field.repetition) + ' ' + std::to_string(place.field.fieldId) + ' ' +
                      ToHex(ValueOf(*place.slot)) + '\n';
        }
    }
    return values;
}

std::string RecordAgreement::Unpack(const std::string& message) {
    static CZELMessage object(0, 0);
    const ExactCopy bytes(message);
    RecordedReports reports;
    const bool isUnpacked = object.unpackMessageNoFrame(bytes.data.get(), static_cast<long>(bytes.size)) == 0;
    const Lines sent = reports.Take();

    std::string expected(layout_.size, kUntouched);
    const ExactCopy record(expected);
    const std::unique_ptr<char[]> scratch(new char[ZEL_SCRATCH_SIZE]);
    ZELAbsent listed[256];
    ZELEnvelope envelope{};
    ZELReading reading{scratch.get(), ZEL_SCRATCH_SIZE, listed, 256, 0, &envelope, 0};
    ZELFailure failure{};
    const int result =
        ZELUnpackRecordNoFrame(binding_, bytes.data.get(), bytes.size, record.data.get(), &reading, &failure);
    CheckFailure(result, failure);
    if (result == ZEL_OTHER_MESSAGE) {
        Check(message.size() < 12 || message[11] != static_cast<char>(node_.subType),
              "another message has another type");
    } else {
        Check(reports.Take() == sent, "unpacking has the same reports");
        std::vector<ZELAbsent> absent;
        Check(result ==
                  (isUnpacked ? ExpectRecord(object, result, expected, record.data.get(), absent) : FirstCode(sent)),
              "unpacking has the same result");
        Check(reading.absentCount == absent.size() &&
                  (absent.empty() || std::memcmp(absent.data(), listed, absent.size() * sizeof listed[0]) == 0),
              "the fields that did not arrive are listed");
        for (const ZELMember& member : members_[0]) {
            if (result != 0) {
                Expect({nullptr, &member, 0, {}}, expected, record.data.get());
            }
        }
    }
    if (result != ZEL_OTHER_MESSAGE && hasGroup_) {
        const int count = result == 0 ? object.repeatCount : 0;
        Store(expected.data() + group_.countOffset, static_cast<std::uint32_t>(count));
        // What the quick way read before it gave up may lie beyond.
        expected.resize(BaseOf(count));
        expected.append(record.data.get() + expected.size(), record.size - expected.size());
    }
    Check(std::string_view(record.data.get(), record.size) == expected, "unpacking fills, or clears, the record");
    if (result == 0) {
        const ZelMsgStruct& header = *object.message;
        Check(envelope.serviceIdLow == header.serviceIdLow && envelope.format == static_cast<short>(header.format) &&
                  envelope.version == static_cast<short>(header.version) && envelope.msgIdSeq == header.msgIdSeq &&
                  envelope.packFlags == header.packFlags && envelope.userData == header.userData,
              "what travels beside the fields");
    }
    std::string values = result == 0 ? Values(object) : std::to_string(result);
    object.destroyStruct();
    return values;
}

}  // namespace zel::test
