#include "fuzz/record_agreement.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "fuzz/check.h"
#include "fuzz/exact_copy.h"
#include "fuzz/received_bytes.h"

namespace zel::fuzz {

namespace {

using Reports = std::vector<std::string>;

void Note(int code, const char* text, void* context) {
    static_cast<Reports*>(context)->push_back(std::to_string(code) + " " + text);
}

template <typename Work>
Reports ReportsOf(Work work) {
    Reports reports;
    ZELSetErrorSink(&Note, &reports);
    work();
    ZELSetErrorSink(nullptr, nullptr);
    return reports;
}

int FirstCode(const Reports& reports) {
    return reports.empty() ? 0 : std::stoi(reports.front());
}

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

// The objects are made once: each tells on standard error that there is no provider.
CZELMessage& Sender() {
    static CZELMessage object(0, 0);
    return object;
}
CZELMessage& Receiver() {
    static CZELMessage object(0, 0);
    return object;
}

bool IsMarker(const ZELSubTypeNode& node, int entry) {
    return node.fieldList[entry].fieldId == kZELGroupMarker;
}

std::int64_t NumberIn(const ZELMember& member, const char* base) {
    const char* at = base + member.offset;
    return member.kind == ZEL_INT16   ? Load<std::int16_t>(at)
           : member.kind == ZEL_INT32 ? Load<std::int32_t>(at)
                                      : Load<std::int64_t>(at);
}

bool IsWhole(std::uint16_t type) {
    return type == kZELShort || type == kZELLong || type == kZELInt;
}

bool IsPresent(const ZELMember& member, const char* base) {
    return member.presenceOffset == ZEL_NOWHERE || base[member.presenceOffset] != 0;
}

}  // namespace

RecordAgreement::RecordAgreement(Input& input, const GeneratedTables& tables)
    : tables_(tables),
      subType_(input.Below(GeneratedTables::kSubTypes)),
      node_(tables.Node(subType_)),
      random_(input.Long()) {
    groupBegin_ = groupEnd_ = node_.fieldCount;
    for (int at = 0; node_.repeatFieldId != 0 && node_.groupSize > 0 && at + node_.groupSize < node_.fieldCount; ++at) {
        if (node_.fieldList[at].fieldId == node_.repeatFieldId) {
            groupBegin_ = at + 1;
            groupEnd_ = groupBegin_ + node_.groupSize;
            break;
        }
    }
    for (int i = 0; i < 64; ++i) {
        pool_ += static_cast<char>(random_() % 8 == 0 ? 0 : 'a' + random_() % 26);
    }
    MakeLayout(input);
    Bind();
}

RecordAgreement::~RecordAgreement() {
    Sender().destroyStruct();
    Receiver().destroyStruct();
    ZELFreeBinding(binding_);
}

void RecordAgreement::AddMember(Input& input, int entry, bool inGroup, std::uint32_t& end) {
    const std::uint16_t id = node_.fieldList[entry].fieldId;
    const ZELDictionaryField& field = tables_.Field(id);
    ZELMember member{};
    static constexpr std::uint32_t kSizes[] = {0, 2, 4, 8, 4, 8, 8, 8, 0, 0, 0};
    const int choice = input.Below(6);
    const auto among = [&](std::initializer_list<int> kinds) {
        return *(kinds.begin() + choice % static_cast<int>(kinds.size()));
    };
    static constexpr int kOnly[] = {0, 0, 0, 0, 0, 0, ZEL_FLOAT, ZEL_DOUBLE, ZEL_DATETIME, ZEL_MONEY};
    const int type = field.type;
    member.kind = type == kZELShort                            ? among({ZEL_INT16, ZEL_INT32, ZEL_INT64})
                  : type == kZELLong || type == kZELInt        ? among({ZEL_INT32, ZEL_INT64})
                  : type == kZELChars                          ? among({ZEL_CHARS, ZEL_VIEW})
                  : type == kZELText                           ? among({ZEL_CHARS, ZEL_BYTES, ZEL_VIEW})
                  : type >= kZELBytes10 && type <= kZELBytes11 ? among({ZEL_BYTES, ZEL_VIEW})
                  : type < 10                                  ? kOnly[type]
                                                               : ZEL_INT16;
    const auto place = [&](std::uint32_t size) {
        const std::uint32_t at = end + static_cast<std::uint32_t>(random_() % 3);
        end = at + size;
        return at;
    };
    member.size = kSizes[member.kind];
    if (member.kind == ZEL_CHARS || member.kind == ZEL_BYTES) {
        member.size = 1 + static_cast<std::uint32_t>(input.Below(24) + std::max<int>(field.length, 0));
    }
    member.offset = place(member.kind == ZEL_VIEW ? sizeof(void*) : member.size);
    member.lengthOffset = member.kind == ZEL_VIEW    ? place(sizeof(std::size_t))
                          : member.kind == ZEL_BYTES ? place(4)
                                                     : 0xDEADBEEF;
    member.presenceOffset = input.Below(3) != 0 ? place(1) : ZEL_NOWHERE;
    member.fieldId = id;
    if (choice % 2 == 0 && id < 200) {
        names_.push_back("F" + std::to_string(id));
        member.field = names_.back().c_str();
    }
    (inGroup ? inside_ : outside_).push_back({member, entry, inGroup});
}

// Members for most of the fields, in the order of the list: every one that is mandatory.
void RecordAgreement::MakeLayout(Input& input) {
    hasGroup_ = groupBegin_ != groupEnd_ && !input.OneIn(6);
    std::uint32_t end = 0;
    std::uint32_t stride = 0;
    for (int at = 0; at < node_.fieldCount; ++at) {
        const bool inGroup = at >= groupBegin_ && at < groupEnd_;
        const std::uint16_t id = node_.fieldList[at].fieldId;
        // A member is for the first entry with its id in the group, or outside it.
        bool isFirst = true;
        for (int before = 0; before < at; ++before) {
            const bool isSamePart = (before >= groupBegin_ && before < groupEnd_) == inGroup;
            isFirst = isFirst && !(isSamePart && node_.fieldList[before].fieldId == id);
        }
        const bool isNumber = (id == node_.repeatFieldId && id != 0) || (inGroup && IsMarker(node_, at));
        const bool isLeftOut = input.OneIn(4) && node_.fieldList[at].presence != kZELMandatory;
        if (isFirst && !isNumber && !isLeftOut && (!inGroup || hasGroup_)) {
            AddMember(input, at, inGroup, inGroup ? stride : end);
        }
    }
    if (hasGroup_) {
        group_.countOffset = end;
        group_.offset = end + 5;
        group_.stride = stride + static_cast<std::uint32_t>(random_() % 3);
        group_.capacity = static_cast<std::uint32_t>(1 + input.Below(6));
        end = group_.offset + group_.stride * group_.capacity;
    }
    layout_.msgType = GeneratedTables::kType;
    layout_.subType = static_cast<std::int16_t>(subType_);
    layout_.size = std::max(end, 1U);
}

void RecordAgreement::Bind() {
    std::vector<ZELMember> outside;
    std::vector<ZELMember> inside;
    for (const Member& member : outside_) {
        outside.push_back(member.layout);
    }
    for (const Member& member : inside_) {
        inside.push_back(member.layout);
    }
    layout_.members = outside.data();
    layout_.memberCount = static_cast<std::uint32_t>(outside.size());
    group_.members = inside.data();
    group_.memberCount = static_cast<std::uint32_t>(inside.size());
    layout_.group = hasGroup_ ? &group_ : nullptr;
    char text[400];
    const int result = ZELBind(&layout_, &binding_, text, sizeof text);
    Check((result == 0) == (binding_ != nullptr), "a layout is bound, or it is not");
    Check((result == ZEL_BAD_LAYOUT) == (*text != '\0'), "a layout that is not bound is told why");
    Check(result != 0 || ZELIsCurrent(binding_) == 1, "a new binding is current");
}

std::uint32_t RecordAgreement::CountOf(const char* record) const {
    return hasGroup_ ? Load<std::uint32_t>(record + group_.countOffset) : 0;
}

void RecordAgreement::FillValues(Input& input, char* base, const std::vector<Member>& members) {
    const bool isWild = input.OneIn(8);
    for (const Member& each : members) {
        const ZELMember& member = each.layout;
        char* at = base + member.offset;
        for (std::uint32_t i = 0; i < member.size; ++i) {
            at[i] = static_cast<char>(random_());
        }
        if (member.presenceOffset != ZEL_NOWHERE) {
            base[member.presenceOffset] = static_cast<char>(random_() % 8 == 0 ? 0 : random_() % 255 + 1);
        }
        const std::int32_t number = static_cast<std::int16_t>(random_());
        if (member.kind == ZEL_INT32) {
            Store(at, isWild ? Load<std::int32_t>(at) : number);
        } else if (member.kind == ZEL_INT64) {
            Store(at, isWild ? Load<std::int64_t>(at) : std::int64_t{number});
        } else if (member.kind == ZEL_BYTES) {
            Store(base + member.lengthOffset,
                  static_cast<std::uint32_t>(isWild ? random_() : random_() % (member.size + 1)));
        } else if (member.kind == ZEL_CHARS) {
            const int length = tables_.Field(static_cast<unsigned>(member.fieldId)).length;
            const bool isChars = tables_.Field(static_cast<unsigned>(member.fieldId)).type == kZELChars;
            const std::uint32_t most =
                isChars && !isWild ? static_cast<std::uint32_t>(std::max(length, 0)) : member.size;
            const std::uint32_t end = static_cast<std::uint32_t>(random_() % (std::min(most, member.size) + 1));
            if (end < member.size) {
                at[end] = '\0';
            }
        } else if (member.kind == ZEL_VIEW) {
            const std::size_t length = random_() % (isWild ? 40 : 6);
            const bool isNull = length == 0 || (isWild && random_() % 8 == 0);
            Store(at, isNull ? nullptr : pool_.data() + pool_.size() - length);
            Store(base + member.lengthOffset, length);
        }
    }
}

// The place among the slots of an entry in a repetition, from 0; or -1.
int RecordAgreement::SlotOf(int entry, int repetition, int repetitions) const {
    const int groupSize = groupEnd_ - groupBegin_;
    if (entry < groupBegin_) {
        return entry;
    }
    if (entry < groupEnd_) {
        return repetition < repetitions ? entry + repetition * groupSize : -1;
    }
    return repetitions > 0 ? entry + (repetitions - 1) * groupSize : -1;
}

short RecordAgreement::OccurrenceOf(const CZELMessage& object, int slot) const {
    const _field_data* slots = object.message->dataBuf->fields;
    return static_cast<short>(
        1 + std::count_if(slots, slots + slot, [&](const _field_data& other) { return other.id == slots[slot].id; }));
}

// Sets the field as a program with an object would: 0, or what the record is to say of the member.
int RecordAgreement::SetField(CZELMessage& object, const Member& each, const char* base, int slot, int newest) const {
    const ZELMember& member = each.layout;
    if (slot < 0 || slot >= object.message->dataBuf->count || !IsPresent(member, base)) {
        return 0;
    }
    _field_data& field = object.message->dataBuf->fields[slot];
    const auto id = static_cast<short>(field.id);
    const ZELDictionaryField& record = tables_.Field(field.id);
    const short occurrence = OccurrenceOf(object, slot);
    const char* at = base + member.offset;
    if (record.version > newest) {
        static const char nothing[UINT16_MAX + 1] = {};
        object.setFieldValue(id, nothing, occurrence);
        return 0;
    }
    if (IsWhole(record.type)) {
        const std::int64_t number = NumberIn(member, base);
        const auto wide = static_cast<std::int32_t>(number);
        const auto narrow = static_cast<std::int16_t>(number);
        if (record.type == kZELShort ? narrow != number : wide != number) {
            return ZEL_OUT_OF_RANGE;
        }
        record.type == kZELShort ? object.setFieldValue(id, &narrow, occurrence)
                                 : object.setFieldValue(id, &wide, occurrence);
        return 0;
    }
    if (member.kind < ZEL_CHARS) {
        object.setFieldValue(id, at, occurrence);
        return 0;
    }
    std::string bytes;
    if (member.kind == ZEL_CHARS) {
        bytes.assign(at, record.type == kZELChars && record.length == 1 ? 1 : strnlen(at, member.size));
    } else if (member.kind == ZEL_BYTES) {
        const auto length = Load<std::uint32_t>(base + member.lengthOffset);
        if (length > member.size) {
            return ZEL_TEXT_TOO_LONG;
        }
        bytes.assign(at, length);
    } else {
        const auto length = Load<std::size_t>(base + member.lengthOffset);
        if (Load<const char*>(at) == nullptr && length != 0) {
            return ZEL_BAD_ARGUMENT;
        }
        bytes.assign(length != 0 ? Load<const char*>(at) : "", length);
    }
    if (record.type == kZELChars) {
        const auto most = static_cast<std::size_t>(std::max<int>(record.length, 0));
        const std::string text = most == 1 ? bytes : std::string(bytes.c_str());
        if (text.size() > most) {
            return ZEL_TEXT_TOO_LONG;
        }
        object.setFieldValue(id, text.c_str(), occurrence);
    } else if (record.type != kZELText) {
        field.length = static_cast<unsigned short>(bytes.size());
        object.setFieldValue(id, bytes.data(), occurrence);
    } else if (bytes.empty() || member.kind == ZEL_CHARS) {
        object.setFieldValue(id, bytes.c_str(), occurrence);
    } else {
        object.setFieldValueBinary(id, bytes.data(), static_cast<short>(bytes.size()), occurrence);
    }
    return 0;
}

int RecordAgreement::SetAll(CZELMessage& object, const char* record, int repetitions) const {
    const int newest = object.version != 0 ? object.version : INT16_MAX;
    const auto setNumber = [&](int slot, ZELLong number) {
        if (slot >= 0 && slot < object.message->dataBuf->count) {
            const _field_data& field = object.message->dataBuf->fields[slot];
            object.setFieldValue(static_cast<short>(field.id), &number, OccurrenceOf(object, slot));
        }
    };
    const auto setEntry = [&](int entry, int repetition) {
        const bool inGroup = entry >= groupBegin_ && entry < groupEnd_;
        const int slot = SlotOf(entry, repetition, repetitions);
        for (const Member& member : inGroup ? inside_ : outside_) {
            if (member.entry == entry) {
                const char* base =
                    record + (inGroup ? group_.offset + static_cast<unsigned>(repetition) * group_.stride : 0);
                return SetField(object, member, base, slot, newest);
            }
        }
        const auto first = [&] {
            int at = 0;
            while (node_.fieldList[at].fieldId != node_.repeatFieldId) {
                ++at;
            }
            return at;
        };
        if (inGroup && IsMarker(node_, entry)) {
            setNumber(slot, repetition + 1);
        } else if (!inGroup && node_.repeatFieldId != 0 && node_.fieldList[entry].fieldId == node_.repeatFieldId &&
                   entry == first()) {
            setNumber(slot, repetitions);
        }
        return 0;
    };
    int result = 0;
    for (int entry = 0; entry < groupBegin_ && result == 0; ++entry) {
        result = setEntry(entry, 0);
    }
    for (int repetition = 0; repetition < repetitions; ++repetition) {
        for (int entry = groupBegin_; entry < groupEnd_ && result == 0; ++entry) {
            result = setEntry(entry, repetition);
        }
    }
    for (int entry = groupEnd_; entry < node_.fieldCount && result == 0; ++entry) {
        result = setEntry(entry, 0);
    }
    return result;
}

std::string RecordAgreement::Pack(Input& input) {
    std::string record(layout_.size, '\0');
    for (char& byte : record) {
        byte = static_cast<char>(random_());
    }
    FillValues(input, record.data(), outside_);
    if (hasGroup_) {
        Store(record.data() + group_.countOffset,
              static_cast<std::uint32_t>(input.OneIn(32) ? random_() : random_() % (group_.capacity + 1)));
        for (std::uint32_t at = 0; at < group_.capacity; ++at) {
            FillValues(input, record.data() + group_.offset + at * group_.stride, inside_);
        }
    }
    const std::string userData = input.Bytes(static_cast<std::size_t>(input.Below(8)));
    ZELEnvelope envelope{};
    envelope.serviceIdLow = static_cast<std::int16_t>(input.Byte());
    envelope.version = static_cast<std::int16_t>(input.Below(4));
    envelope.format = static_cast<std::int16_t>(input.Below(3));
    envelope.compressMode = static_cast<std::int16_t>(input.OneIn(4) ? input.Below(3) : 0);
    envelope.encryptFlag = input.OneIn(6) ? 3 : 0;
    envelope.frameKind = static_cast<std::int16_t>(input.Below(2));
    envelope.sequence = 77;
    envelope.msgIdSeq = input.OneIn(2) ? 9 : 0;
    envelope.userData = 5;
    if (input.OneIn(4)) {
        envelope.varUserData = {userData.data(), userData.size()};
    }

    CZELMessage& object = Sender();
    object.msgType = GeneratedTables::kType;
    object.subType = static_cast<short>(subType_);
    object.serviceIdHigh = 0;
    object.serviceIdLow = envelope.serviceIdLow;
    object.version = envelope.version;
    object.useFormat2 = 0;
    object.compressMode = envelope.compressMode;
    object.shortFrame = envelope.frameKind;
    object.sequence = static_cast<short>(envelope.sequence);
    const std::uint32_t count = CountOf(record.data());
    object.repeatCount = static_cast<short>(count);
    long length = 0;
    long packed = -1;
    std::string frame(kZELMaxFrame + 100, '\0');
    int refused = count > group_.capacity ? int{ZEL_TOO_MANY} : 0;
    const Reports expected = ReportsOf([&] {
        if (refused == 0) {
            object.createStruct();
        }
        if (refused == 0 && object.message != nullptr) {
            ZelMsgStruct& message = *object.message;
            refused = SetAll(object, record.data(), static_cast<int>(count));
            message.format = static_cast<unsigned short>(envelope.format);
            message.encryptFlag = envelope.encryptFlag;
            message.msgIdSeq = envelope.msgIdSeq;
            message.userData = envelope.userData;
            message.varUserData = const_cast<char*>(static_cast<const char*>(envelope.varUserData.data));
            message.varUserDataLen = static_cast<unsigned short>(envelope.varUserData.length);
        }
        packed = refused == 0 ? object.packMessage(frame.data(), &length) : -1;
    });
    frame.resize(packed == 0 ? static_cast<std::size_t>(length) : 0);

    const auto members = ExactCopy(record);
    const auto buffer = std::make_unique<char[]>(kZELMaxFrame + 100);
    std::size_t size = 0;
    ZELFailure failure{};
    int result = 0;
    const Reports reports = ReportsOf([&] {
        result = ZELPackRecord(binding_, members.get(), &envelope, buffer.get(), kZELMaxFrame + 100, &size, &failure);
    });
    Check(result == (refused != 0 ? refused : packed == 0 ? 0 : FirstCode(expected)), "packing has the same result");
    Check(refused != 0 || reports == expected, "packing has the same reports");
    Check(result == 0 || (failure.result == result && *failure.text != '\0'), "a failure says what it is");
    Check(result != 0 || std::string_view(buffer.get(), size) == frame, "packing gives the same bytes");
    Check(envelope.sequence == (result < ZEL_BAD_ARGUMENT ? 78 : 77), "the sequence counts");
    if (result == 0) {
        const std::size_t room = input.OneIn(2) ? frame.size() - 1 : frame.size();
        const auto exact = std::make_unique<char[]>(room);
        envelope.sequence = 77;
        result = ZELPackRecord(binding_, members.get(), &envelope, exact.get(), room, &size, nullptr);
        Check(result == (room == frame.size() ? 0 : ZEL_BUFFER_TOO_SMALL), "a frame fits a buffer of its size");
        Check(result != 0 || std::string_view(exact.get(), size) == frame, "and is the same there");
    }
    return frame;
}

// Compares a member with its slot. 0, or what the record is to say of it.
int RecordAgreement::CheckField(const CZELMessage& object, const Member& each, const char* base, int slot,
                                int repetition, const ZELReading& reading, std::uint32_t& absent, bool isFilled) const {
    const ZELMember& member = each.layout;
    const char* at = base + member.offset;
    const bool isThere = slot >= 0 && slot < object.message->dataBuf->count;
    const _field_data* field = isThere ? &object.message->dataBuf->fields[slot] : nullptr;
    const bool isSet = field != nullptr && field->isSet != 0;
    if (isSet && (member.kind == ZEL_CHARS || member.kind == ZEL_BYTES) && field->length > member.size) {
        return ZEL_TEXT_TOO_LONG;
    }
    if (!isFilled) {
        return 0;
    }
    const bool isListed = member.presenceOffset == ZEL_NOWHERE && !isSet;
    Check(member.presenceOffset == ZEL_NOWHERE || base[member.presenceOffset] == (isSet ? 1 : 0), "presence");
    if (isListed) {
        Check(absent < reading.absentCount && reading.absent[absent].fieldId == node_.fieldList[each.entry].fieldId &&
                  reading.absent[absent].repetition == repetition,
              "a field that did not arrive is listed");
        ++absent;
    }
    const std::string value = isSet ? std::string(static_cast<const char*>(field->value), field->length) : "";
    const std::string zeros(64, '\0');
    if (member.kind == ZEL_VIEW) {
        const auto length = Load<std::size_t>(base + member.lengthOffset);
        const auto* data = Load<const char*>(at);
        Check(length == value.size() && (length == 0 || std::memcmp(data, value.data(), length) == 0), "a view");
        Check(isSet || data == nullptr, "a view of nothing");
    } else if (member.kind == ZEL_BYTES) {
        Check(Load<std::uint32_t>(base + member.lengthOffset) == value.size(), "a count of bytes");
        Check(std::memcmp(at, value.data(), value.size()) == 0, "counted bytes");
    } else if (member.kind == ZEL_CHARS) {
        std::string padded = value;
        padded.resize(member.size);
        Check(std::memcmp(at, padded.data(), padded.size()) == 0, "an array of characters");
    } else if (!isSet) {
        Check(std::memcmp(at, zeros.data(), member.size) == 0, "an absent number is zero");
    } else if (IsWhole(tables_.Field(field->id).type)) {
        const bool isShort = tables_.Field(field->id).type == kZELShort;
        Check(NumberIn(member, base) == (isShort ? Load<std::int16_t>(field->value) : Load<std::int32_t>(field->value)),
              "a number");
    } else {
        Check(std::memcmp(at, field->value, member.kind == ZEL_MONEY ? 6 : member.size) == 0, "a value");
    }
    return 0;
}

// Compares the record with the object's message, or, after a failure, with nothing.
void RecordAgreement::CheckRecord(const CZELMessage& object, const char* record, const ZELReading& reading,
                                  int result) const {
    const int repetitions = groupBegin_ != groupEnd_ ? object.repeatCount : 0;
    int expected = hasGroup_ && repetitions > static_cast<int>(group_.capacity) ? int{ZEL_TOO_MANY} : 0;
    std::uint32_t absent = 0;
    const auto check = [&](const std::vector<Member>& members, int from, int to, int repetition) {
        const char* base =
            record + (repetition >= 0 ? group_.offset + static_cast<unsigned>(repetition) * group_.stride : 0);
        for (const Member& member : members) {
            if (expected == 0 && member.entry >= from && member.entry < to) {
                expected = CheckField(object, member, base, SlotOf(member.entry, std::max(repetition, 0), repetitions),
                                      repetition, reading, absent, result == 0);
            }
        }
    };
    check(outside_, 0, groupBegin_, -1);
    for (int repetition = 0; hasGroup_ && expected == 0 && repetition < repetitions; ++repetition) {
        check(inside_, groupBegin_, groupEnd_, repetition);
    }
    check(outside_, groupEnd_, node_.fieldCount, -1);
    Check(result == expected, "unpacking has the same result");
    Check(result != 0 || reading.absentCount == absent, "the fields that did not arrive are counted");
    Check(result != 0 || !hasGroup_ || static_cast<int>(CountOf(record)) == repetitions, "the repetitions are counted");
}

void RecordAgreement::Unpack(const std::string& framed) {
    const std::size_t frameSize = FrameSize(framed);
    const std::string message = framed.substr(frameSize);
    const auto exact = ExactCopy(message);
    CZELMessage& object = Receiver();
    object.compressMode = 0;
    long unpacked = 0;
    const Reports expected =
        ReportsOf([&] { unpacked = object.unpackMessageNoFrame(exact.get(), static_cast<long>(message.size())); });

    const auto record = std::make_unique<char[]>(layout_.size);
    std::memset(record.get(), 0x5A, layout_.size);
    const auto scratch = std::make_unique<char[]>(ZEL_SCRATCH_SIZE);
    ZELAbsent absent[256];
    ZELEnvelope envelope{};
    ZELReading reading{scratch.get(), ZEL_SCRATCH_SIZE, absent, 256, 0, &envelope, 0};
    ZELFailure failure{};
    int result = 0;
    const Reports reports = ReportsOf([&] {
        result = ZELUnpackRecordNoFrame(binding_, exact.get(), message.size(), record.get(), &reading, &failure);
    });
    Check(result == 0 || (failure.result == result && *failure.text != '\0'), "a failure says what it is");
    if (result == ZEL_OTHER_MESSAGE) {
        Check(message.size() < 12 || message[11] != static_cast<char>(subType_), "another message has another type");
        Check(record[0] == 0x5A, "and is not read");
        return;
    }
    Check(reports == expected, "unpacking has the same reports");
    if (unpacked != 0) {
        Check(result == FirstCode(expected), "unpacking fails with the first report");
    } else {
        CheckRecord(object, record.get(), reading, result);
    }
    for (const Member& member : outside_) {
        Check(result == 0 || member.layout.kind == ZEL_VIEW || record[member.layout.offset] == 0, "a failure clears");
    }
    if (result == 0) {
        const ZelMsgStruct& header = *object.message;
        Check(envelope.serviceIdLow == header.serviceIdLow && envelope.format == static_cast<short>(header.format) &&
                  envelope.version == static_cast<short>(header.version) && envelope.msgIdSeq == header.msgIdSeq &&
                  envelope.packFlags == header.packFlags && envelope.userData == header.userData,
              "what travels beside the fields");
    }
}

}  // namespace zel::fuzz
