// Messages of any type, over CZELMessage: the same objects, bytes, results and reports, with every name, type and
// length checked. zel.hpp includes it.
//
//     zel::AnyMessage order("MULTI_LEG_ORDER", 2);  // with two repetitions of its group
//     order.Set("CLIENT_ORDER_REF", "ORD-2024-000117");
//     for (zel::Repetition leg : order.Group()) {
//         leg.Set("LEG_RATIO", 1);
//     }
//     const auto frame = order.Pack(buffer);  // the first thing that went wrong, or the bytes
//
//     zel::AnyMessage received;
//     const auto used = received.Unpack(bytes);
//     const std::optional<long> limit = received.Get<long>("ROW_LIMIT");
#ifndef ZEL_ZELANYMESSAGE_HPP
#define ZEL_ZELANYMESSAGE_HPP

#include <algorithm>
#include <charconv>
#include <climits>
#include <concepts>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <ranges>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "zelfield.hpp"
#include "zelmessage.h"
#include "zelrecord.h"
#include "zelresult.hpp"
#include "zelvalue.hpp"

namespace zel {

class AnyMessage;

// ---- Values in slots ------------------------------------------------------------------------------------------------

namespace detail {

// The bytes of a value that carries its length. Chars end at their first zero byte, but a single one is a byte.
[[nodiscard]] inline std::string_view BytesIn(const _field_data& slot, unsigned type) noexcept {
    const std::string_view bytes(static_cast<const char*>(slot.value), slot.value != nullptr ? slot.length : 0);
    return type == kZELChars && bytes.size() > 1 ? bytes.substr(0, bytes.find('\0')) : bytes;
}

// A value of one size. The slot has as many bytes.
template <typename T>
[[nodiscard]] T FixedIn(const _field_data& slot) noexcept {
    T value{};
    if (slot.value != nullptr) {
        std::memcpy(static_cast<void*>(&value), slot.value, sizeof value);
    }
    return value;
}

[[nodiscard]] inline ZELLong NumberIn(const _field_data& slot, unsigned type) noexcept {
    return type == kZELShort ? FixedIn<short>(slot) : FixedIn<ZELLong>(slot);
}

[[nodiscard]] inline Value ValueIn(const _field_data& slot, unsigned type) noexcept {
    if (slot.isSet == 0) {
        return {};
    }
    switch (type) {
        case kZELShort:
        case kZELLong:
        case kZELInt:
            return NumberIn(slot, type);
        case kZELFloat:
            return FixedIn<float>(slot);
        case kZELDouble:
            return FixedIn<double>(slot);
        case kZELMoney:
            return Money(FixedIn<_money>(slot));
        case kZELDateTime:
            return DateTime(FixedIn<_datetime>(slot));
        case kZELChars:
        case kZELText:
            return BytesIn(slot, type);
        case kZELBytes10:
        case kZELBytes11:
            return std::as_bytes(std::span(BytesIn(slot, type)));
        default:
            return {};
    }
}

}  // namespace detail

// ---- Fields of a message --------------------------------------------------------------------------------------------

// A field of a message, set or not.
class FieldView {
public:
    explicit FieldView(const _field_data& slot) noexcept : slot_(&slot), key_(detail::KeyOf(long{slot.id})) {}

    [[nodiscard]] int Id() const noexcept { return slot_->id; }
    // Empty, and 0, for a field that the dictionary in use does not have.
    [[nodiscard]] std::string_view Name() const noexcept { return key_.id != 0 ? key_.name : ""; }
    [[nodiscard]] int Type() const noexcept { return key_.type; }
    [[nodiscard]] const char* TypeName() const noexcept { return detail::NameOfType(key_.type); }
    [[nodiscard]] bool IsSet() const noexcept { return slot_->isSet != 0; }
    [[nodiscard]] bool IsMandatory() const noexcept { return slot_->presence == kZELMandatory; }
    // None when the field is not set. Texts and bytes lead into the message.
    [[nodiscard]] zel::Value Value() const noexcept { return detail::ValueIn(*slot_, key_.type); }

private:
    const _field_data* slot_;
    FieldKey key_;
};

// Fields in the order of the dictionary's list; those of a group in between are passed over.
class FieldRange {
public:
    class Iterator {
    public:
        using value_type = FieldView;
        using difference_type = std::ptrdiff_t;

        Iterator() noexcept = default;
        Iterator(const _field_data* slot, const FieldRange& range) noexcept : slot_(slot), range_(&range) { Pass(); }

        FieldView operator*() const noexcept { return FieldView(*slot_); }
        Iterator& operator++() noexcept {
            ++slot_;
            Pass();
            return *this;
        }
        Iterator operator++(int) noexcept {  // NOLINT(cert-dcl21-cpp): a const copy could not be moved
            const Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator& other) const noexcept { return slot_ == other.slot_; }

    private:
        void Pass() noexcept { slot_ = slot_ == range_->passed_.data() ? slot_ + range_->passed_.size() : slot_; }

        const _field_data* slot_ = nullptr;
        const FieldRange* range_ = nullptr;
    };

    explicit FieldRange(std::span<const _field_data> slots, std::span<const _field_data> passed = {}) noexcept
        : slots_(slots), passed_(passed) {}

    [[nodiscard]] Iterator begin() const noexcept { return {slots_.data(), *this}; }
    [[nodiscard]] Iterator end() const noexcept { return {slots_.data() + slots_.size(), *this}; }

private:
    std::span<const _field_data> slots_;
    std::span<const _field_data> passed_;
};

// ---- The repeating group --------------------------------------------------------------------------------------------

// One repetition of a message's group. It leads into the message, which keeps what goes wrong.
class Repetition {
public:
    Repetition(AnyMessage& message, int number) noexcept : message_(&message), number_(number) {}

    // From 0.
    [[nodiscard]] int Number() const noexcept { return number_; }
    template <NamesField Field, Settable T>
    bool Set(const Field& field, const T& value) const noexcept;
    template <NamesField Field, Settable T>
    bool Replace(const Field& field, const T& value) const noexcept;
    template <Gettable T, NamesField Field>
    [[nodiscard]] std::optional<T> Get(const Field& field) const;
    [[nodiscard]] FieldRange Fields() const noexcept;

private:
    AnyMessage* message_;
    int number_;
};

class GroupRange {
public:
    class Iterator {
    public:
        using value_type = Repetition;
        using difference_type = std::ptrdiff_t;

        Iterator() noexcept = default;
        Iterator(AnyMessage& message, int number) noexcept : message_(&message), number_(number) {}

        Repetition operator*() const noexcept { return {*message_, number_}; }
        Iterator& operator++() noexcept {
            ++number_;
            return *this;
        }
        Iterator operator++(int) noexcept { return {*message_, number_++}; }  // NOLINT(cert-dcl21-cpp)
        bool operator==(const Iterator& other) const noexcept { return number_ == other.number_; }

    private:
        AnyMessage* message_ = nullptr;
        int number_ = 0;
    };

    GroupRange(AnyMessage& message, int count) noexcept : message_(&message), count_(count) {}

    [[nodiscard]] std::size_t size() const noexcept { return static_cast<std::size_t>(count_); }
    // `number` is below size().
    [[nodiscard]] Repetition operator[](std::size_t number) const noexcept {
        return {*message_, static_cast<int>(number)};
    }
    [[nodiscard]] Iterator begin() const noexcept { return {*message_, 0}; }
    [[nodiscard]] Iterator end() const noexcept { return {*message_, count_}; }

private:
    AnyMessage* message_;
    int count_;
};

// ---- The message ----------------------------------------------------------------------------------------------------

// A message of a type that the program knows when it runs. It keeps the first thing that goes wrong with it, from its
// creation on, which Pack then says: calls in between need not be looked at, but may be.
class AnyMessage : public Checked {
public:
    // To unpack into, or to Start.
    AnyMessage() noexcept = default;

    // An empty message of this type: by name, by type and sub-type, or by a key. Where the type has a repeating group,
    // the count field and the markers are set; without a repetition fields after the group have no place.
    explicit AnyMessage(std::string_view name, int repetitions = 0) noexcept { Start(name, repetitions); }
    AnyMessage(int msgType, int subType, int repetitions = 0) noexcept { Start(msgType, subType, repetitions); }
    explicit AnyMessage(const MessageKey& key, int repetitions = 0) noexcept { Start(key, repetitions); }

    // The same in place of the message that the object holds. The members of Object() stay as they are.
    bool Start(const MessageKey& key, int repetitions = 0) noexcept;
    bool Start(int msgType, int subType, int repetitions = 0) noexcept {
        const MessageKey key{static_cast<short>(msgType), static_cast<short>(subType)};
        const bool isKey = key.msgType == msgType && key.subType == subType;
        return isKey ? Start(key, repetitions) : (Clear(), Keep(detail::FailureOf(ZEL_NO_SUCH_MESSAGE, "")));
    }
    bool Start(std::string_view name, int repetitions = 0) noexcept {
        const Result<MessageKey> key = FindMessage(name);
        return key ? Start(*key, repetitions) : (Clear(), Keep(*key.Why()));
    }

    // What lies below: service id, version, format, compression, frame. Its setters go past the checks made here.
    [[nodiscard]] CZELMessage& Object() noexcept { return object_; }
    [[nodiscard]] const CZELMessage& Object() const noexcept { return object_; }
    [[nodiscard]] short MsgType() const noexcept { return object_.msgType; }
    [[nodiscard]] short SubType() const noexcept { return object_.subType; }

    // Sets a field that is not set yet and does not belong to the group. False: refused, and kept.
    template <NamesField Field, Settable T>
    bool Set(const Field& field, const T& value) noexcept {
        return SetIn<Named<Field>>(field, kOutside, value, false);
    }
    // The same, also where the field is set.
    template <NamesField Field, Settable T>
    bool Replace(const Field& field, const T& value) noexcept {
        return SetIn<Named<Field>>(field, kOutside, value, true);
    }

    // The value; none when the field is not set. None also for what cannot be, which is kept: a field that the
    // message's type lacks, another type, a number too large for T. Views are valid until the field is set or the
    // message ends.
    template <Gettable T, NamesField Field>
    [[nodiscard]] std::optional<T> Get(const Field& field) {
        return GetFrom<T, Named<Field>>(field, kOutside);
    }

    // Every field outside the group.
    [[nodiscard]] FieldRange Fields() const noexcept {
        const std::span<const _field_data> slots = Slots();
        return FieldRange(slots, slots.first(At(groupEnd_, slots)).subspan(At(groupBegin_, slots)));
    }

    // The repetitions of the group; none where the type has none.
    [[nodiscard]] GroupRange Group() noexcept { return {*this, group_.repetitions}; }

    // The largest frame that this message can take: what a buffer for Pack needs, so that nothing is copied.
    [[nodiscard]] std::size_t MostBytes() const noexcept {
        const ZelMsgStruct* message = object_.message;
        return kZELMaxFrame + (message != nullptr && message->varUserData != nullptr ? message->varUserDataLen : 0U);
    }

    // Packs into an array, vector or span of bytes: the part of it that holds the frame.
    template <detail::IsMemory Buffer>
    requires(!std::is_const_v<detail::ElementOf<Buffer>>)
        [[nodiscard]] Result<std::span<detail::ElementOf<Buffer>>> Pack(Buffer&& buffer) noexcept {
        const std::span<detail::ElementOf<Buffer>> room(std::ranges::data(buffer), std::ranges::size(buffer));
        const Result<std::size_t> size = PackInto(std::as_writable_bytes(room));
        if (!size) {
            return *size.Why();
        }
        return room.first(*size);
    }

    // Packs behind what a vector holds: how many bytes that makes. A failure leaves it as it was.
    template <detail::IsByte Byte>
    [[nodiscard]] Result<std::size_t> Append(std::vector<Byte>& bytes) {
        const std::size_t before = bytes.size();
        bytes.resize(before + MostBytes());
        const Result<std::size_t> size = PackInto(std::as_writable_bytes(std::span(bytes).subspan(before)));
        bytes.resize(before + (size ? *size : 0));
        return size;
    }

    // Unpacks the frame at the head of `bytes`, in place of the message that the object holds: how many bytes it takes.
    // The bytes must not lie in that message.
    template <detail::HasBytes Bytes>
    [[nodiscard]] Result<std::size_t> Unpack(const Bytes& bytes) noexcept {
        std::size_t size = 0;
        const int found = ZELFindFrame(std::ranges::data(bytes), std::ranges::size(bytes), &size);
        if (found != ZEL_OK) {
            return detail::FailureOf(found, "");
        }
        const auto* frame = reinterpret_cast<const char*>(std::ranges::data(bytes));
        return Received(size, [&] { return object_.unpackMessage(frame); });
    }
    // The same for a message without a frame.
    template <detail::HasBytes Bytes>
    [[nodiscard]] Result<std::size_t> UnpackNoFrame(const Bytes& bytes) noexcept {
        const auto* message = reinterpret_cast<const char*>(std::ranges::data(bytes));
        const std::size_t size = std::ranges::size(bytes);
        const auto length = static_cast<long>(std::min<std::size_t>(size, LONG_MAX));
        return Received(size, [&] { return object_.unpackMessageNoFrame(message, length); });
    }

private:
    friend class Repetition;

    void Clear() noexcept {
        Forget();
        object_.destroyStruct();
        FindGroup();
    }
    // Takes over where the message's group lies.
    void FindGroup() noexcept {
        ZELFindGroup(object_.message, &group_);
        const bool isEmpty = group_.repetitions == 0;
        groupBegin_ = group_.size != 0 ? group_.first : kZELMaxSlots;
        groupEnd_ = isEmpty ? kZELMaxSlots : group_.first + group_.size * group_.repetitions;
        next_ = 0;
        nextEnd_ = group_.hasRepeatedIds != 0 ? 0 : isEmpty ? groupBegin_ : kZELMaxSlots;
    }

    [[nodiscard]] std::span<_field_data> Slots() const noexcept {
        const ZelMsgStruct* message = object_.message;
        return message != nullptr
                   ? std::span(message->dataBuf->fields, static_cast<std::size_t>(message->dataBuf->count))
                   : std::span<_field_data>();
    }
    // A slot's number as an offset. The program may have given the object another message.
    [[nodiscard]] static std::size_t At(int number, std::span<const _field_data> slots) noexcept {
        return std::min(static_cast<std::size_t>(number), slots.size());
    }
    [[nodiscard]] std::span<_field_data> SlotsOf(int repetition) const noexcept {
        const std::span<_field_data> slots = Slots();
        if (repetition < 0 || repetition >= group_.repetitions) {
            return {};
        }
        const int first = group_.first + repetition * group_.size;
        return slots.first(At(first + group_.size, slots)).subspan(At(first, slots));
    }
    [[nodiscard]] bool IsInGroup(std::ptrdiff_t at) const noexcept { return at >= groupBegin_ && at < groupEnd_; }

    // The slot after the one that was found before, if it is the field's, as it mostly is; else null.
    [[nodiscard]] _field_data* NextSlot(short fieldId, int repetition) noexcept {
        const ZelMsgStruct* message = object_.message;
        if (message != nullptr && next_ < nextEnd_ && next_ < message->dataBuf->count) [[likely]] {
            _field_data& slot = message->dataBuf->fields[next_];
            const int part = IsInGroup(next_) ? slot.repetition : kOutside;
            if (slot.id == static_cast<unsigned short>(fieldId) && part == repetition) [[likely]] {
                ++next_;
                return &slot;
            }
        }
        return nullptr;
    }
    // The field's slot in a repetition, or outside the group; null where it has none.
    [[nodiscard]] _field_data* FindSlot(short fieldId, int repetition) noexcept;

    ZEL_NOINLINE bool Refuse(int code, const FieldRef& field, int repetition, const char* text = nullptr) noexcept {
        return Keep(detail::FieldFailure(code, field, repetition, text));
    }
    // Whether the field has a slot, and one for values of these types; kept otherwise.
    template <typename Field>
    bool Finds(const Field& field, const _field_data* slot, int repetition, unsigned types,
               const char* value) noexcept {
        if (slot != nullptr && detail::Allows(types, field.Key().type)) [[likely]] {
            return true;
        }
        return slot == nullptr ? HasNoSlot(field, repetition) : HasOtherType(field, repetition, value);
    }
    ZEL_NOINLINE inline bool HasOtherType(const FieldRef& field, int repetition, const char* value) noexcept;
    ZEL_NOINLINE inline bool HasNoSlot(const FieldRef& field, int repetition) noexcept;
    // Whether the type has the field, whatever has a place in this message.
    [[nodiscard]] ZEL_NOINLINE inline bool IsOfType(short fieldId) const noexcept;

    // The slot of a field that may be set, or null.
    template <typename Field>
    ZEL_NOINLINE _field_data* SlotToSet(const Field& field, int repetition, unsigned types, const char* value,
                                        bool replaces) noexcept;
    template <typename Field, typename T>
    bool SetIn(const std::remove_reference_t<Field>& field, int repetition, const T& value, bool replaces) noexcept;
    // For fields that are not next.
    template <typename Field, typename T>
    ZEL_NOINLINE bool SetElsewhere(const std::remove_reference_t<Field>& field, int repetition, const T& value,
                                   bool replaces) noexcept;
    template <typename T>
    bool SetSlot(const FieldKey& field, _field_data& slot, int repetition, const T& value) noexcept;
    template <typename T>
    bool SetNumber(const FieldKey& field, _field_data& slot, int repetition, T number) noexcept;
    bool SetBytes(const FieldKey& field, _field_data& slot, int repetition, std::string_view bytes) noexcept;
    // How many bytes a field takes whose values have no size of their own.
    [[nodiscard]] static std::size_t MostBytesOf(const FieldKey& field) noexcept {
        return static_cast<std::size_t>(field.type == kZELChars ? field.length : kZELMaxPayload);
    }
    // These keep why a value is refused.
    template <typename T>
    ZEL_NOINLINE bool IsOutOfRange(const FieldKey& field, int repetition, T number) noexcept;
    ZEL_NOINLINE inline bool IsNotHeld(const FieldKey& field, int repetition, std::size_t size) noexcept;
    template <typename T>
    bool SetFixed(_field_data& slot, T value) noexcept;
    template <typename T>
    ZEL_NOINLINE bool SetFixedAnew(_field_data& slot, T value, unsigned short size) noexcept;
    void SetCountAndMarkers() noexcept;
    // The slot of a field that may be read, or null. For those that are not next.
    template <typename Field>
    ZEL_NOINLINE const _field_data* SlotToGet(const Field& field, int repetition, unsigned types,
                                              const char* value) noexcept;
    // Whether there is a value.
    template <typename Field, typename T>
    bool Read(const std::remove_reference_t<Field>& field, int repetition, T& value);
    // Only wraps the one above, so that compilers put it where it is called: returned by a call, an optional is written
    // in two parts and read as one, which takes long.
    template <typename T, typename Field>
    std::optional<T> GetFrom(const std::remove_reference_t<Field>& field, int repetition) {
        T value{};
        return Read<Field>(field, repetition, value) ? std::optional<T>(std::move(value)) : std::nullopt;
    }

    [[nodiscard]] Result<std::size_t> PackInto(std::span<std::byte> room) noexcept;
    [[nodiscard]] Result<std::size_t> PackElsewhere(std::span<std::byte> room) noexcept;
    template <typename Unpacking>
    [[nodiscard]] Result<std::size_t> Received(std::size_t size, Unpacking unpack) noexcept;

    static constexpr int kOutside = -1;  // in place of a repetition

    CZELMessage object_{0, 0};
    ZELGroupSlots group_{};
    // The slots of the group, to the end of the message where it has no repetition: nothing has a place there.
    int groupBegin_ = kZELMaxSlots;
    int groupEnd_ = kZELMaxSlots;
    // The slot that is looked at first, the one after that found last, if it is below the end. Where a type lists a
    // field several times, its id does not tell which is meant: then none.
    int next_ = 0;
    int nextEnd_ = 0;
};

// ---- Its start ------------------------------------------------------------------------------------------------------

inline bool AnyMessage::Start(const MessageKey& key, int repetitions) noexcept {
    if (repetitions < 0 || repetitions > kZELMaxSlots) {
        Clear();
        return Keep(detail::FailureOf(ZEL_TOO_MANY, "repetitions"));
    }
    Forget();
    object_.msgType = key.msgType;
    object_.subType = key.subType;
    object_.repeatCount = static_cast<short>(repetitions);
    {
        const Reports heard;
        object_.createStruct();
        FindGroup();
        if (object_.message == nullptr) {
            char what[32];
            (void)std::snprintf(what, sizeof what, "message %d/%d", key.msgType, key.subType);
            return Keep(detail::ReportedFailure(heard.List(), what));
        }
    }
    if (group_.repetitions != repetitions) {
        return Keep(detail::FailureOf(ZEL_TOO_MANY, "repetitions", "the message's type has no repeating group"));
    }
    SetCountAndMarkers();
    next_ = 0;
    return static_cast<bool>(*this);
}

inline void AnyMessage::SetCountAndMarkers() noexcept {
    if (group_.size == 0) {
        return;
    }
    (void)Set(group_.countId, group_.repetitions);
    const FieldKey marker = detail::KeyOf(long{group_.markerId});
    for (int repetition = 0; marker.id != 0 && repetition < group_.repetitions; ++repetition) {
        (void)SetIn<const FieldKey&>(marker, repetition, repetition + 1, false);
    }
}

// ---- Its fields -----------------------------------------------------------------------------------------------------

inline _field_data* AnyMessage::FindSlot(short fieldId, int repetition) noexcept {
    if (repetition == kOutside) {
        _field_data* first = fieldId != 0 ? object_.getField(fieldId, -1) : nullptr;
        if (first == nullptr) {
            return nullptr;
        }
        const auto at = static_cast<int>(first - object_.message->dataBuf->fields);
        if (!IsInGroup(at)) [[likely]] {
            next_ = at + 1;
            return first;
        }
    }
    const std::span<_field_data> all = Slots();
    // A type may list a field of its group again after it.
    for (_field_data& slot : repetition == kOutside ? all.subspan(At(groupEnd_, all)) : SlotsOf(repetition)) {
        if (slot.id == static_cast<unsigned short>(fieldId)) {
            next_ = static_cast<int>(&slot - all.data()) + 1;
            return &slot;
        }
    }
    return nullptr;
}

bool AnyMessage::HasOtherType(const FieldRef& field, int repetition, const char* value) noexcept {
    char text[80];
    (void)std::snprintf(text, sizeof text, "the field is of type %s; the value is %s",
                        detail::NameOfType(field.Key().type), value);
    return Refuse(ZEL_WRONG_TYPE, field, repetition, text);
}

bool AnyMessage::HasNoSlot(const FieldRef& field, int repetition) noexcept {
    if (field.Key().id == 0) {
        return Refuse(ZEL_NO_SUCH_FIELD, field, repetition);
    }
    if (object_.message == nullptr) {
        return Refuse(ZEL_NO_MESSAGE, field, repetition);
    }
    const _field_data* elsewhere = object_.getField(field.Key().id, -1);
    const char* text = nullptr;
    if (elsewhere != nullptr && group_.repetitions != 0) {
        text = IsInGroup(elsewhere - Slots().data()) ? "the field is one of the group's: use it through Group()"
                                                     : "the field is none of the group's: use it through the message";
    } else if (IsOfType(field.Key().id)) {
        text = "the message has no repetition of its group, and therefore no place for the field";
    }
    return Refuse(ZEL_NOT_IN_MESSAGE, field, repetition, text);
}

bool AnyMessage::IsOfType(short fieldId) const noexcept {
    VormaZelData* provider = CZELMessage::getVormaZelData();
    const ZELTypeNode* type = provider != nullptr ? provider->messageTable() : nullptr;
    while (type != nullptr && type->type != object_.msgType) {
        type = type->next;
    }
    const ZELSubTypeNode* node = type != nullptr ? type->subTypes : nullptr;
    while (node != nullptr && node->subType != object_.subType) {
        node = node->next;
    }
    const auto count = static_cast<std::size_t>(node != nullptr && node->fieldCount > 0 ? node->fieldCount : 0);
    const std::span fields(node != nullptr ? node->fieldList : nullptr, count);
    return std::any_of(fields.begin(), fields.end(),
                       [&](const ZELFieldListEntry& entry) { return entry.fieldId == fieldId; });
}

template <typename Field>
_field_data* AnyMessage::SlotToSet(const Field& field, int repetition, unsigned types, const char* value,
                                   bool replaces) noexcept {
    _field_data* slot = FindSlot(field.Key().id, repetition);
    if (!Finds(field, slot, repetition, types, value)) {
        return nullptr;
    }
    if (slot->isSet != 0) [[unlikely]] {
        if (!replaces) {
            Refuse(ZEL_SET_TWICE, field, repetition);
            return nullptr;
        }
        // What follows counts it again.
        --object_.message->numFields;
    }
    return slot;
}

template <typename Field, typename T>
bool AnyMessage::SetIn(const std::remove_reference_t<Field>& field, int repetition, const T& value,
                       bool replaces) noexcept {
    constexpr unsigned types = detail::kGoesInto<T>;
    _field_data* slot = NextSlot(field.Key().id, repetition);
    if (slot == nullptr || slot->isSet != 0 || !detail::Allows(types, field.Key().type)) [[unlikely]] {
        return SetElsewhere<Field>(field, repetition, value, replaces);
    }
    return SetSlot(field.Key(), *slot, repetition, value);
}

template <typename Field, typename T>
bool AnyMessage::SetElsewhere(const std::remove_reference_t<Field>& field, int repetition, const T& value,
                              bool replaces) noexcept {
    _field_data* slot = SlotToSet(field, repetition, detail::kGoesInto<T>, detail::NameOfValue<T>(), replaces);
    return slot != nullptr && SetSlot(field.Key(), *slot, repetition, value);
}

template <typename T>
bool AnyMessage::SetSlot(const FieldKey& field, _field_data& slot, int repetition, const T& value) noexcept {
    if constexpr (detail::IsNumber<T>) {
        return SetNumber(field, slot, repetition, static_cast<detail::Integer<T>>(value));
    } else if constexpr (std::same_as<T, float>) {
        return field.type == kZELFloat ? SetFixed(slot, value) : SetFixed(slot, double{value});
    } else if constexpr (std::same_as<T, double>) {
        return SetFixed(slot, value);
    } else if constexpr (std::derived_from<T, _money>) {
        return SetFixed<_money>(slot, value);
    } else if constexpr (std::derived_from<T, _datetime>) {
        return SetFixed<_datetime>(slot, value);
    } else if constexpr (std::same_as<T, char>) {
        return SetBytes(field, slot, repetition, {&value, 1});
    } else if constexpr (detail::IsText<T>) {
        return SetBytes(field, slot, repetition, std::string_view(value));
    } else {
        return SetBytes(field, slot, repetition,
                        {reinterpret_cast<const char*>(std::ranges::data(value)), std::ranges::size(value)});
    }
}

template <typename T>
bool AnyMessage::SetNumber(const FieldKey& field, _field_data& slot, int repetition, T number) noexcept {
    const bool isShort = field.type == kZELShort;
    if (isShort ? !std::in_range<short>(number) : !std::in_range<ZELLong>(number)) [[unlikely]] {
        return IsOutOfRange(field, repetition, number);
    }
    return isShort ? SetFixed(slot, static_cast<short>(number)) : SetFixed(slot, static_cast<ZELLong>(number));
}

template <typename T>
bool AnyMessage::IsOutOfRange(const FieldKey& field, int repetition, T number) noexcept {
    char text[80];
    char* end = std::to_chars(text, text + 24, number).ptr;
    (void)std::snprintf(end, sizeof text - 24, " does not fit: %s",
                        field.type == kZELShort ? "-32768 to 32767" : "-2147483648 to 2147483647");
    return Refuse(ZEL_OUT_OF_RANGE, field, repetition, text);
}

// Where the slot is as it was created, without a call.
template <typename T>
bool AnyMessage::SetFixed(_field_data& slot, T value) noexcept {
    // Amount and code of money; the rest of the record is padding.
    constexpr unsigned short size = std::same_as<T, _money> ? 6 : sizeof value;
    if (slot.value != slot.inlineValue || slot.length < size) [[unlikely]] {
        return SetFixedAnew(slot, value, size);
    }
    std::memcpy(slot.inlineValue, &value, size);
    slot.isSet = 1;
    ++object_.message->numFields;
    return true;
}

template <typename T>
bool AnyMessage::SetFixedAnew(_field_data& slot, T value, unsigned short size) noexcept {
    return ZELSetSlot(object_.message, &slot, &value, size) != 0;
}

inline bool AnyMessage::SetBytes(const FieldKey& field, _field_data& slot, int repetition,
                                 std::string_view bytes) noexcept {
    const auto size = static_cast<unsigned short>(bytes.size());
    const bool isDone =
        bytes.size() <= MostBytesOf(field) && ZELSetSlot(object_.message, &slot, bytes.data(), size) != 0;
    return isDone || IsNotHeld(field, repetition, bytes.size());
}

bool AnyMessage::IsNotHeld(const FieldKey& field, int repetition, std::size_t size) noexcept {
    const std::size_t most = MostBytesOf(field);
    if (size <= most) {
        constexpr int kNoMemory = 12;
        return Refuse(kNoMemory, field, repetition);
    }
    char text[80];
    (void)std::snprintf(text, sizeof text, "%zu bytes; %s %zu", size,
                        field.type == kZELChars ? "the field holds" : "a message holds", most);
    return Refuse(ZEL_TEXT_TOO_LONG, field, repetition, text);
}

template <typename Field>
const _field_data* AnyMessage::SlotToGet(const Field& field, int repetition, unsigned types,
                                         const char* value) noexcept {
    const _field_data* slot = FindSlot(field.Key().id, repetition);
    if (slot == nullptr && group_.size != 0 && group_.repetitions == 0 && IsOfType(field.Key().id)) {
        return nullptr;
    }
    return Finds(field, slot, repetition, types, value) ? slot : nullptr;
}

template <typename Field, typename T>
bool AnyMessage::Read(const std::remove_reference_t<Field>& field, int repetition, T& value) {
    constexpr unsigned types = detail::kComesFrom<T>;
    const unsigned type = field.Key().type;
    const _field_data* slot = NextSlot(field.Key().id, repetition);
    if (slot == nullptr || !detail::Allows(types, type)) [[unlikely]] {
        slot = SlotToGet(field, repetition, types, detail::NameOfValue<T>());
    }
    if (slot == nullptr || slot->isSet == 0) {
        return false;
    }
    if constexpr (detail::IsNumber<T>) {
        const ZELLong number = detail::NumberIn(*slot, type);
        value = static_cast<T>(number);
        return std::in_range<detail::Integer<T>>(number) ||
               Refuse(ZEL_OUT_OF_RANGE, field, repetition, "the value does not fit what it is read into");
    } else if constexpr (std::same_as<T, double>) {
        value = type == kZELFloat ? double{detail::FixedIn<float>(*slot)} : detail::FixedIn<double>(*slot);
    } else if constexpr (std::same_as<T, float>) {
        value = detail::FixedIn<float>(*slot);
    } else if constexpr (std::derived_from<T, _money>) {
        value = T(detail::FixedIn<_money>(*slot));
    } else if constexpr (std::derived_from<T, _datetime>) {
        value = T(detail::FixedIn<_datetime>(*slot));
    } else {
        const std::string_view bytes = detail::BytesIn(*slot, type);
        if constexpr (std::same_as<T, char>) {
            value = bytes.empty() ? '\0' : bytes[0];
            return bytes.size() == 1 || Refuse(ZEL_TEXT_TOO_LONG, field, repetition, "the value is not one character");
        } else if constexpr (detail::IsText<T>) {
            value = T(bytes);
        } else {
            value = T(reinterpret_cast<typename T::pointer>(bytes.data()), bytes.size());
        }
    }
    return true;
}

template <NamesField Field, Settable T>
bool Repetition::Set(const Field& field, const T& value) const noexcept {
    return message_->SetIn<Named<Field>>(field, number_, value, false);
}
template <NamesField Field, Settable T>
bool Repetition::Replace(const Field& field, const T& value) const noexcept {
    return message_->SetIn<Named<Field>>(field, number_, value, true);
}
template <Gettable T, NamesField Field>
std::optional<T> Repetition::Get(const Field& field) const {
    return message_->GetFrom<T, Named<Field>>(field, number_);
}
inline FieldRange Repetition::Fields() const noexcept {
    return FieldRange(message_->SlotsOf(number_));
}

// ---- Its bytes ------------------------------------------------------------------------------------------------------

inline Result<std::size_t> AnyMessage::PackInto(std::span<std::byte> room) noexcept {
    if (!*this) {
        return *Why();
    }
    if (object_.message == nullptr) {
        return detail::FailureOf(ZEL_NO_MESSAGE, "");
    }
    if (room.size() < MostBytes()) {
        return PackElsewhere(room);
    }
    long length = 0;
    const Reports heard;
    if (object_.packMessage(reinterpret_cast<char*>(room.data()), &length) != 0) {
        return detail::ReportedFailure(heard.List());
    }
    return static_cast<std::size_t>(length);
}

// Nobody knows how long a message is before it is packed.
inline Result<std::size_t> AnyMessage::PackElsewhere(std::span<std::byte> room) noexcept {
    const std::size_t most = MostBytes();
    const std::unique_ptr<std::byte[]> memory(new (std::nothrow) std::byte[most]);
    if (memory == nullptr) {
        return detail::FailureOf(ZEL_BUFFER_TOO_SMALL, "");
    }
    Result<std::size_t> size = PackInto({memory.get(), most});
    if (size && *size > room.size()) {
        return detail::FailureOf(ZEL_BUFFER_TOO_SMALL, "");
    }
    if (size) {
        std::memcpy(room.data(), memory.get(), *size);
    }
    return size;
}

template <typename Unpacking>
Result<std::size_t> AnyMessage::Received(std::size_t size, Unpacking unpack) noexcept {
    Forget();
    const Reports heard;
    if (unpack() != 0) {
        const Failure failure = detail::ReportedFailure(heard.List());
        Clear();
        Keep(failure);
        return failure;
    }
    FindGroup();
    return size;
}

}  // namespace zel

#endif  // ZEL_ZELANYMESSAGE_HPP
