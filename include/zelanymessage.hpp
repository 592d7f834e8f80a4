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
#include <array>
#include <charconv>
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
        Iterator operator++(int) noexcept {
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
    template <Settable T>
    bool Set(const FieldRef& field, const T& value) const noexcept;
    template <Settable T>
    bool Replace(const FieldRef& field, const T& value) const noexcept;
    template <Gettable T>
    [[nodiscard]] std::optional<T> Get(const FieldRef& field) const;
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
        Iterator operator++(int) noexcept { return {*message_, number_++}; }
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
    template <Settable T>
    bool Set(const FieldRef& field, const T& value) noexcept {
        return SetIn(field, FindSlot(field), -1, value, false);
    }
    // The same, also where the field is set.
    template <Settable T>
    bool Replace(const FieldRef& field, const T& value) noexcept {
        return SetIn(field, FindSlot(field), -1, value, true);
    }

    // The value; none when the field is not set. None also for what cannot be, which is kept: a field that the
    // message's type lacks, another type, a number too large for T. Views are valid until the field is set or the
    // message ends.
    template <Gettable T>
    [[nodiscard]] std::optional<T> Get(const FieldRef& field) {
        return GetFrom<T>(field, FindSlot(field), -1);
    }

    // Every field outside the group.
    [[nodiscard]] FieldRange Fields() const noexcept {
        const std::span<const _field_data> slots = Slots();
        const auto first = static_cast<std::size_t>(group_.first);
        return FieldRange(slots, group_.size != 0 ? slots.subspan(first, GroupSlots(slots.size())) : slots.first(0));
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
        return Received(size, [&] { return object_.unpackMessageNoFrame(message, static_cast<long>(size)); });
    }

private:
    friend class Repetition;

    void Clear() noexcept {
        Forget();
        object_.destroyStruct();
        group_ = {};
    }

    [[nodiscard]] std::span<_field_data> Slots() const noexcept {
        const ZelMsgStruct* message = object_.message;
        return message != nullptr
                   ? std::span(message->dataBuf->fields, static_cast<std::size_t>(message->dataBuf->count))
                   : std::span<_field_data>();
    }
    // Those of the group, to the end of the message where it has no repetition: nothing has a place there.
    [[nodiscard]] std::size_t GroupSlots(std::size_t all) const noexcept {
        return group_.repetitions == 0 ? all - static_cast<std::size_t>(group_.first)
                                       : static_cast<std::size_t>(group_.size * group_.repetitions);
    }
    [[nodiscard]] std::span<_field_data> SlotsOf(int repetition) const noexcept {
        if (repetition >= group_.repetitions) {
            return {};
        }
        return Slots().subspan(static_cast<std::size_t>(group_.first + repetition * group_.size),
                               static_cast<std::size_t>(group_.size));
    }
    [[nodiscard]] bool IsInGroup(const _field_data* slot) const noexcept {
        const std::ptrdiff_t at = slot - object_.message->dataBuf->fields - group_.first;
        return group_.size != 0 && at >= 0 && (group_.repetitions == 0 || at < group_.size * group_.repetitions);
    }

    [[nodiscard]] _field_data* FindSlot(const FieldRef& field) noexcept {
        _field_data* slot = field.Key().id != 0 ? object_.getField(field.Key().id, -1) : nullptr;
        return slot != nullptr && IsInGroup(slot) ? nullptr : slot;
    }
    [[nodiscard]] _field_data* FindSlot(const FieldRef& field, int repetition) const noexcept {
        const std::span<_field_data> slots = SlotsOf(repetition);
        const auto id = static_cast<unsigned short>(field.Key().id);
        const auto slot = std::find_if(slots.begin(), slots.end(), [id](const _field_data& at) { return at.id == id; });
        return slot != slots.end() && id != 0 ? &*slot : nullptr;
    }

    // How the calls of the object name the slot of a field: mostly the first guess is right.
    [[nodiscard]] short OccurrenceOf(const _field_data& slot, int repetition) noexcept {
        const auto id = static_cast<short>(slot.id);
        auto occurrence = static_cast<short>(repetition < 0 ? -1 : repetition + 1);
        if (object_.getField(id, occurrence) != &slot) {
            for (occurrence = 1; object_.getField(id, occurrence) != &slot; ++occurrence) {
            }
        }
        return occurrence;
    }

    bool Refuse(int code, const FieldRef& field, int repetition, const char* text = nullptr) noexcept {
        return Keep(detail::FieldFailure(code, field, repetition, text));
    }
    // Whether the field has a slot, and one for values of these types; kept otherwise.
    bool Finds(const FieldRef& field, const _field_data* slot, int repetition, unsigned types,
               const char* value) noexcept;
    bool HasNoSlot(const FieldRef& field, int repetition) noexcept;
    // Whether the type has the field, whatever has a place in this message.
    [[nodiscard]] bool IsOfType(short fieldId) const noexcept;

    template <typename T>
    bool SetIn(const FieldRef& field, _field_data* slot, int repetition, const T& value, bool replaces) noexcept;
    template <typename T>
    bool SetNumber(const FieldRef& field, _field_data& slot, int repetition, T number) noexcept;
    bool SetBytes(const FieldRef& field, _field_data& slot, int repetition, std::string_view bytes) noexcept;
    template <std::size_t size>
    bool SetFixed(_field_data& slot, int repetition, const void* value) noexcept;
    void SetCountAndMarkers() noexcept;
    template <typename T>
    std::optional<T> GetFrom(const FieldRef& field, const _field_data* slot, int repetition);

    [[nodiscard]] Result<std::size_t> PackInto(std::span<std::byte> room) noexcept;
    [[nodiscard]] Result<std::size_t> PackElsewhere(std::span<std::byte> room) noexcept;
    template <typename Unpacking>
    [[nodiscard]] Result<std::size_t> Received(std::size_t size, Unpacking unpack) noexcept;

    CZELMessage object_{0, 0};
    ZELGroupSlots group_{};
};

// ---- Its start ------------------------------------------------------------------------------------------------------

inline bool AnyMessage::Start(const MessageKey& key, int repetitions) noexcept {
    Clear();
    if (repetitions < 0 || repetitions > kZELMaxSlots) {
        return Keep(detail::FailureOf(ZEL_TOO_MANY, "repetitions"));
    }
    object_.msgType = key.msgType;
    object_.subType = key.subType;
    object_.repeatCount = static_cast<short>(repetitions);
    {
        const Reports heard;
        object_.createStruct();
        if (object_.message == nullptr) {
            char what[32];
            (void)std::snprintf(what, sizeof what, "message %d/%d", key.msgType, key.subType);
            return Keep(detail::ReportedFailure(heard.List(), what));
        }
    }
    ZELFindGroup(object_.message, &group_);
    if (group_.repetitions != repetitions) {
        return Keep(detail::FailureOf(ZEL_TOO_MANY, "repetitions", "the message's type has no repeating group"));
    }
    SetCountAndMarkers();
    return static_cast<bool>(*this);
}

inline void AnyMessage::SetCountAndMarkers() noexcept {
    if (group_.size == 0) {
        return;
    }
    _field_data& count = Slots()[static_cast<std::size_t>(group_.first - 1)];
    (void)SetIn(FieldRef(group_.countId), &count, -1, group_.repetitions, false);
    if (group_.markerId == 0) {
        return;
    }
    const FieldRef marker(group_.markerId);
    for (int repetition = 0; repetition < group_.repetitions; ++repetition) {
        for (_field_data& slot : SlotsOf(repetition)) {
            if (slot.id == group_.markerId) {
                (void)SetIn(marker, &slot, repetition, repetition + 1, false);
            }
        }
    }
}

// ---- Its fields -----------------------------------------------------------------------------------------------------

inline bool AnyMessage::Finds(const FieldRef& field, const _field_data* slot, int repetition, unsigned types,
                              const char* value) noexcept {
    if (slot == nullptr) [[unlikely]] {
        return HasNoSlot(field, repetition);
    }
    if (detail::Allows(types, field.Key().type)) [[likely]] {
        return true;
    }
    char text[80];
    (void)std::snprintf(text, sizeof text, "the field is of type %s; the value is %s",
                        detail::NameOfType(field.Key().type), value);
    return Refuse(ZEL_WRONG_TYPE, field, repetition, text);
}

inline bool AnyMessage::HasNoSlot(const FieldRef& field, int repetition) noexcept {
    if (field.Key().id == 0) {
        return Refuse(ZEL_NO_SUCH_FIELD, field, repetition);
    }
    if (object_.message == nullptr) {
        return Refuse(ZEL_NO_MESSAGE, field, repetition);
    }
    const _field_data* elsewhere = object_.getField(field.Key().id, -1);
    const char* text = nullptr;
    if (elsewhere != nullptr && group_.repetitions != 0) {
        text = IsInGroup(elsewhere) ? "the field is one of the group's: use it through Group()"
                                    : "the field is none of the group's: use it through the message";
    } else if (IsOfType(field.Key().id)) {
        text = "the message has no repetition of its group, and therefore no place for the field";
    }
    return Refuse(ZEL_NOT_IN_MESSAGE, field, repetition, text);
}

inline bool AnyMessage::IsOfType(short fieldId) const noexcept {
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

template <typename T>
bool AnyMessage::SetIn(const FieldRef& field, _field_data* slot, int repetition, const T& value,
                       bool replaces) noexcept {
    if (!Finds(field, slot, repetition, detail::kGoesInto<T>, detail::NameOfValue<T>())) {
        return false;
    }
    const bool wasSet = slot->isSet != 0;
    if (wasSet && !replaces) [[unlikely]] {
        return Refuse(ZEL_SET_TWICE, field, repetition);
    }
    bool isDone = false;
    if constexpr (detail::IsNumber<T>) {
        isDone = SetNumber(field, *slot, repetition, static_cast<detail::Integer<T>>(value));
    } else if constexpr (std::same_as<T, float>) {
        const double wide{value};
        isDone = field.Key().type == kZELFloat ? SetFixed<sizeof value>(*slot, repetition, &value)
                                               : SetFixed<sizeof wide>(*slot, repetition, &wide);
    } else if constexpr (std::same_as<T, double>) {
        isDone = SetFixed<sizeof value>(*slot, repetition, &value);
    } else if constexpr (std::derived_from<T, _money>) {
        // Amount and code; the rest of the record is padding.
        isDone = SetFixed<6>(*slot, repetition, static_cast<const _money*>(&value));
    } else if constexpr (std::derived_from<T, _datetime>) {
        isDone = SetFixed<sizeof(_datetime)>(*slot, repetition, static_cast<const _datetime*>(&value));
    } else if constexpr (std::same_as<T, char>) {
        isDone = SetBytes(field, *slot, repetition, {&value, 1});
    } else if constexpr (detail::IsText<T>) {
        isDone = SetBytes(field, *slot, repetition, std::string_view(value));
    } else {
        isDone = SetBytes(field, *slot, repetition,
                          {reinterpret_cast<const char*>(std::ranges::data(value)), std::ranges::size(value)});
    }
    if (isDone && wasSet) {
        // It was counted before.
        --object_.message->numFields;
    }
    return isDone;
}

template <typename T>
bool AnyMessage::SetNumber(const FieldRef& field, _field_data& slot, int repetition, T number) noexcept {
    const bool isShort = field.Key().type == kZELShort;
    if (isShort ? !std::in_range<short>(number) : !std::in_range<ZELLong>(number)) [[unlikely]] {
        char text[80];
        char* end = std::to_chars(text, text + 24, number).ptr;
        (void)std::snprintf(end, sizeof text - 24, " does not fit: %s",
                            isShort ? "-32768 to 32767" : "-2147483648 to 2147483647");
        return Refuse(ZEL_OUT_OF_RANGE, field, repetition, text);
    }
    const auto narrow = static_cast<short>(number);
    const auto wide = static_cast<ZELLong>(number);
    return isShort ? SetFixed<sizeof narrow>(slot, repetition, &narrow)
                   : SetFixed<sizeof wide>(slot, repetition, &wide);
}

// As setFieldValue does. Where the slot is as it was created, without a call.
template <std::size_t size>
bool AnyMessage::SetFixed(_field_data& slot, int repetition, const void* value) noexcept {
    if (slot.value == slot.inlineValue && slot.length >= size) [[likely]] {
        std::memcpy(slot.inlineValue, value, size);
        slot.isSet = 1;
        ++object_.message->numFields;
    } else {
        object_.setFieldValue(static_cast<short>(slot.id), value, OccurrenceOf(slot, repetition));
    }
    return true;
}

inline bool AnyMessage::SetBytes(const FieldRef& field, _field_data& slot, int repetition,
                                 std::string_view bytes) noexcept {
    const bool isChars = field.Key().type == kZELChars;
    const auto most = static_cast<std::size_t>(isChars ? field.Key().length : kZELMaxPayload);
    if (bytes.size() > most) [[unlikely]] {
        char text[80];
        (void)std::snprintf(text, sizeof text, "%zu bytes; %s %zu", bytes.size(),
                            isChars ? "the field holds" : "a message holds", most);
        return Refuse(ZEL_TEXT_TOO_LONG, field, repetition, text);
    }
    std::array<char, kZELMaxPayload> padded;
    if (isChars && bytes.size() < most) {
        bytes.copy(padded.data(), bytes.size());
        std::memset(padded.data() + bytes.size(), 0, most - bytes.size());
        bytes = {padded.data(), most};
    }
    const short occurrence = OccurrenceOf(slot, repetition);
    if (bytes.empty()) {
        // A call with a length of 0 would send a byte; one without takes the slot's.
        slot.length = 0;
        object_.setFieldValue(field.Key().id, "", occurrence);
    } else {
        object_.setFieldValueBinary(field.Key().id, bytes.data(), static_cast<short>(bytes.size()), occurrence);
    }
    constexpr int kNoMemory = 12;
    return slot.isSet != 0 && slot.length == bytes.size() ? true : Refuse(kNoMemory, field, repetition);
}

template <typename T>
std::optional<T> AnyMessage::GetFrom(const FieldRef& field, const _field_data* slot, int repetition) {
    if (slot == nullptr && group_.size != 0 && group_.repetitions == 0 && IsOfType(field.Key().id)) {
        return std::nullopt;
    }
    if (!Finds(field, slot, repetition, detail::kComesFrom<T>, detail::NameOfValue<T>()) || slot->isSet == 0) {
        return std::nullopt;
    }
    const unsigned type = field.Key().type;
    if constexpr (detail::IsNumber<T>) {
        const ZELLong number = detail::NumberIn(*slot, type);
        if (!std::in_range<detail::Integer<T>>(number)) {
            Refuse(ZEL_OUT_OF_RANGE, field, repetition, "the value does not fit what it is read into");
            return std::nullopt;
        }
        return static_cast<T>(number);
    } else if constexpr (std::same_as<T, float>) {
        return detail::FixedIn<float>(*slot);
    } else if constexpr (std::same_as<T, double>) {
        return type == kZELFloat ? double{detail::FixedIn<float>(*slot)} : detail::FixedIn<double>(*slot);
    } else if constexpr (std::derived_from<T, _money>) {
        return T(detail::FixedIn<_money>(*slot));
    } else if constexpr (std::derived_from<T, _datetime>) {
        return T(detail::FixedIn<_datetime>(*slot));
    } else {
        const std::string_view bytes = detail::BytesIn(*slot, type);
        if constexpr (std::same_as<T, char>) {
            if (bytes.size() != 1) {
                Refuse(ZEL_TEXT_TOO_LONG, field, repetition, "the value is not one character");
                return std::nullopt;
            }
            return bytes[0];
        } else if constexpr (detail::IsText<T>) {
            return T(bytes);
        } else {
            return T(reinterpret_cast<typename T::pointer>(bytes.data()), bytes.size());
        }
    }
}

template <Settable T>
bool Repetition::Set(const FieldRef& field, const T& value) const noexcept {
    return message_->SetIn(field, message_->FindSlot(field, number_), number_, value, false);
}
template <Settable T>
bool Repetition::Replace(const FieldRef& field, const T& value) const noexcept {
    return message_->SetIn(field, message_->FindSlot(field, number_), number_, value, true);
}
template <Gettable T>
std::optional<T> Repetition::Get(const FieldRef& field) const {
    return message_->GetFrom<T>(field, message_->FindSlot(field, number_), number_);
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
    ZELFindGroup(object_.message, &group_);
    return size;
}

}  // namespace zel

#endif  // ZEL_ZELANYMESSAGE_HPP
