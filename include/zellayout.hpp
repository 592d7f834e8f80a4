// Records: a program's own structs to frames and back, over zelrecord.h.
//
//     struct Cancel {
//         std::string_view reference;
//         std::string_view symbol;
//         std::optional<std::string_view> reason;
//     };
//     constexpr zel::Layout kCancel{
//         zel::Message<Cancel>{10, 2},
//         zel::Field("CLIENT_ORDER_REF", &Cancel::reference),
//         zel::Field("SYMBOL", &Cancel::symbol),
//         zel::Field("CANCEL_REASON", &Cancel::reason),
//     };
//
//     const auto binding = kCancel.Bind();              // once, after zel::Library
//     auto packed = binding->Pack(cancel, buffer);      // the part of the buffer that holds the frame
//     auto used = binding->Unpack(received, cancel);    // the bytes of the frame
//
// What holds for everything here:
//  - What zelrecord.h says of presence, reports, memory and threads holds here. A call costs what the C call costs.
//  - Records are trivially copyable and can be made without arguments. Their members may be
//        short, int, long, long long, enumerations of these widths with a stated type; float, double
//        _money, _datetime; std::chrono::local_seconds and sys_seconds for date-times, which have no time zone
//        char, char[N], std::array<char, N>                     texts that lie in the record
//        std::string_view, std::span<const unsigned char>, std::span<const std::byte>, std::span<const char>
//                                                               views of the received bytes, which the caller keeps
//        std::optional of any of these but the plain arrays     fields that may be missing
//        unsigned char[N], std::array<unsigned char, N>, std::array<std::byte, N> with a std::uint32_t beside it
//        arrays of structs with a std::uint32_t beside them     the message's repeating group
//  - The library reads and writes the members of a record where they lie. That takes a word for the data and a word for
//    the size of a view, and one byte of an optional that is 1 with a value and 0 without. Bind looks where they are in
//    values that it knows, and fails with ZEL_BAD_LAYOUT if the standard library in use has no such places.
#ifndef ZEL_ZELLAYOUT_HPP
#define ZEL_ZELLAYOUT_HPP

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <ranges>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "zelfield.hpp"
#include "zelmember.hpp"
#include "zelrecord.h"
#include "zelresult.hpp"

namespace zel {

// ---- Failures -------------------------------------------------------------------------------------------------------

// Why a layout was not bound: every disagreement with the dictionary, a line each.
struct BindFailure {
    int result;                    // ZELResult
    std::unique_ptr<char[]> text;  // null without memory for it

    [[nodiscard]] const char* Text() const noexcept { return text != nullptr ? text.get() : "out of memory"; }
};

// ---- Fields and groups ----------------------------------------------------------------------------------------------

namespace detail {

// In place of a member pointer: nothing lies beside the field.
struct None {};

template <typename Owner, typename Member, typename Length, typename Presence>
struct FieldOf {
    const char* name;
    Member Owner::*member;
    Length length;
    Presence presence;
};

template <typename T>
inline constexpr bool kIsField = false;
template <typename... T>
inline constexpr bool kIsField<FieldOf<T...>> = true;

// A key of a field is its name, or a constant of a generated header, which knows the type.
constexpr const char* NameOf(const char* name) noexcept {
    return name;
}
template <std::int16_t Id, ZELFieldType Type, std::int16_t Length>
constexpr const char* NameOf(const DictionaryField<Id, Type, Length>& field) noexcept {
    return field.name;
}

template <typename Key, int Kind, std::size_t Size>
inline constexpr bool kKeyAllows = std::convertible_to<Key, const char*>;
template <std::int16_t Id, ZELFieldType Type, std::int16_t Length, int Kind, std::size_t Size>
inline constexpr bool kKeyAllows<DictionaryField<Id, Type, Length>, Kind, Size> = MayHold(Kind, Size, Type, Length);

template <typename Member>
inline constexpr int kKindOfValue = kKindOf<ValueOf<Member>>;
template <typename Member, typename Key>
inline constexpr bool kHolds = kKeyAllows<std::decay_t<Key>, kKindOfValue<Member>, sizeof(ValueOf<Member>)>;
template <typename Key>
inline constexpr bool kNamesBytes = kKeyAllows<std::decay_t<Key>, ZEL_BYTES, 0>;

}  // namespace detail

// What is missing when a layout does not compile.
template <typename Member>
concept HoldsAField = (detail::kKindOfValue<Member> != 0);
template <typename Member, typename Key>
concept HoldsThisField = detail::kHolds<Member, Key>;
template <typename Member>
concept HoldsCountedBytes = detail::kIsCounted<Member>;
template <typename Key>
concept NamesTextOrBytes = detail::kNamesBytes<Key>;
template <typename Member>
concept NeedsAFlag = !detail::OptionalOf<Member>::kIsOptional;
template <typename Record>
concept IsPlainRecord = std::is_trivially_copyable_v<Record> && std::is_default_constructible_v<Record>;

namespace detail {

template <typename Element, typename Part>
inline constexpr bool kIsFieldOf = false;
template <typename Element, typename Owner, typename... T>
inline constexpr bool kIsFieldOf<Element, FieldOf<Owner, T...>> = std::derived_from<Element, Owner>;
template <typename Element, typename... Parts>
inline constexpr bool kAreFieldsOf = (... && kIsFieldOf<Element, Parts>);

}  // namespace detail

template <typename Element, typename... Fields>
concept AreFieldsOf = detail::kAreFieldsOf<Element, Fields...>;

// The member that holds a field. `key` is the field's name or its constant. A field that is optional in the dictionary
// may have a std::optional, or a bool beside the member that is true when the field is there; with neither, packing
// always sends it.
template <typename Key, typename Owner, typename Member>
requires HoldsAField<Member> && HoldsThisField<Member, Key>
constexpr auto Field(const Key& key, Member Owner::*member) noexcept {
    return detail::FieldOf<Owner, Member, detail::None, detail::None>{detail::NameOf(key), member, {}, {}};
}
template <typename Key, typename Owner, typename Member>
requires HoldsAField<Member> && HoldsThisField<Member, Key> && NeedsAFlag<Member>
constexpr auto Field(const Key& key, Member Owner::*member, bool Owner::*isThere) noexcept {
    return detail::FieldOf<Owner, Member, detail::None, bool Owner::*>{detail::NameOf(key), member, {}, isThere};
}
// Bytes with their number beside them.
template <typename Key, typename Owner, typename Member>
requires HoldsCountedBytes<Member> && NamesTextOrBytes<Key>
constexpr auto Field(const Key& key, Member Owner::*member, std::uint32_t Owner::*size) noexcept {
    return detail::FieldOf<Owner, Member, std::uint32_t Owner::*, detail::None>{detail::NameOf(key), member, size, {}};
}
template <typename Key, typename Owner, typename Member>
requires HoldsCountedBytes<Member> && NamesTextOrBytes<Key>
constexpr auto Field(const Key& key, Member Owner::*member, std::uint32_t Owner::*size, bool Owner::*isThere) noexcept {
    return detail::FieldOf<Owner, Member, std::uint32_t Owner::*, bool Owner::*>{detail::NameOf(key), member, size,
                                                                                 isThere};
}

// The repeating group: an array of structs, how many of them are in use, and the members of one. The field that counts
// the repetitions and the markers in front of them are sent from the count and are no members.
template <typename Owner, typename Repetitions, typename... Fields>
requires IsPlainRecord<typename detail::ArrayOf<Repetitions>::Element> &&
    AreFieldsOf<typename detail::ArrayOf<Repetitions>::Element, Fields...>
struct Group {
    using Element = typename detail::ArrayOf<Repetitions>::Element;
    static constexpr std::uint32_t kCapacity = detail::ArrayOf<Repetitions>::kSize;

    Repetitions Owner::*member;
    std::uint32_t Owner::*count;
    std::tuple<Fields...> fields;

    constexpr Group(Repetitions Owner::*repetitions, std::uint32_t Owner::*inUse, const Fields&... parts) noexcept
        : member(repetitions), count(inUse), fields(parts...) {}
};

namespace detail {

template <typename T>
inline constexpr bool kIsGroup = false;
template <typename... T>
inline constexpr bool kIsGroup<Group<T...>> = true;

template <typename Record, typename Part>
inline constexpr bool kIsPartOf = kIsFieldOf<Record, Part>;
template <typename Record, typename Owner, typename... T>
inline constexpr bool kIsPartOf<Record, Group<Owner, T...>> = std::derived_from<Record, Owner>;
template <typename Record, typename... Parts>
inline constexpr bool kArePartsOf = (... && kIsPartOf<Record, Parts>)&&(0 + ... + int{kIsGroup<Parts>}) <= 1;

// Names that do not compile as constants: the compiler shows them where a layout says the same twice.
inline void ThisLayoutNamesAFieldTwice() {}
inline void ThisLayoutUsesAMemberTwice() {}

template <typename A, typename B>
constexpr bool AreSame([[maybe_unused]] const A& a, [[maybe_unused]] const B& b) noexcept {
    if constexpr (std::is_same_v<A, B> && !std::is_same_v<A, None>) {
        return a == b;
    } else {
        return false;
    }
}

template <typename A, typename B>
constexpr void CheckPair(const A& a, const B& b) noexcept {
    if constexpr (kIsField<A> && kIsField<B>) {
        if (std::string_view(a.name) == b.name) {
            ThisLayoutNamesAFieldTwice();
        }
        if (AreSame(a.length, b.length) || AreSame(a.presence, b.presence)) {
            ThisLayoutUsesAMemberTwice();
        }
    } else if constexpr (kIsField<A>) {
        if (AreSame(a.length, b.count)) {
            ThisLayoutUsesAMemberTwice();
        }
    }
    if (AreSame(a.member, b.member)) {
        ThisLayoutUsesAMemberTwice();
    }
}

constexpr void CheckPairs() noexcept {}
template <typename First, typename... Others>
constexpr void CheckPairs(const First& first, const Others&... others) noexcept {
    (CheckPair(first, others), ...);
    if constexpr (kIsGroup<First>) {
        (CheckPair(others, first), ...);
        std::apply([](const auto&... fields) { CheckPairs(fields...); }, first.fields);
    }
    CheckPairs(others...);
}

// A tuple of the part if it is to be kept, or an empty one.
template <bool Keep, typename Part>
using KeptIf = std::conditional_t<Keep, std::tuple<Part>, std::tuple<>>;
template <bool Keep, typename Part>
constexpr KeptIf<Keep, Part> KeepIf([[maybe_unused]] const Part& part) noexcept {
    if constexpr (Keep) {
        return {part};
    } else {
        return {};
    }
}

// What the address of a record is counted from: any object will do.
template <typename Record>
[[nodiscard]] const Record& AnyRecord() noexcept {
    static const Record record{};
    return record;
}

// What the library is told of a member. False in `sound` when a view or an optional has no such places as it needs.
template <typename Record, typename Owner, typename Member, typename Length, typename Presence>
[[nodiscard]] ZELMember DescribeMember(const FieldOf<Owner, Member, Length, Presence>& field, bool& sound) noexcept {
    using Value = ValueOf<Member>;
    const Record& record = AnyRecord<Record>();
    ZELMember member{field.name,    0, kKindOf<Value>, PlaceIn(record, record.*field.member),
                     sizeof(Value), 0, ZEL_NOWHERE};
    if constexpr (OptionalOf<Member>::kIsOptional) {
        const Member full{std::in_place};
        const Place presence = FindPresence<Value>();
        sound = sound && presence != ZEL_NOWHERE;
        member.presenceOffset = member.offset + presence;
        member.offset += PlaceIn(full, *full);
    } else if constexpr (!std::is_same_v<Presence, None>) {
        member.presenceOffset = PlaceIn(record, record.*field.presence);
    }
    if constexpr (kKindOf<Value> == ZEL_VIEW) {
        const ViewPlaces places = FindViewPlaces<Value>();
        sound = sound && places.data != ZEL_NOWHERE;
        member.lengthOffset = member.offset + places.size;
        member.offset += places.data;
        member.size = 0;
    } else if constexpr (!std::is_same_v<Length, None>) {
        member.kind = ZEL_BYTES;
        member.lengthOffset = PlaceIn(record, record.*field.length);
    }
    return member;
}

template <typename Record, typename... Fields>
[[nodiscard]] auto DescribeMembers(const std::tuple<Fields...>& fields, bool& sound) noexcept {
    return std::apply(
        [&](const auto&... field) {
            return std::array<ZELMember, sizeof...(field)>{DescribeMember<Record>(field, sound)...};
        },
        fields);
}

// The binding, or why there is none.
[[nodiscard]] inline BindFailure BindLayout(const ZELLayout& layout, bool sound, const ZELBinding*& binding) noexcept {
    constexpr std::size_t kTextSize = 16384;
    BindFailure failure{ZEL_BAD_LAYOUT, std::unique_ptr<char[]>(new (std::nothrow) char[kTextSize]())};
    char* const text = failure.text.get();
    if (sound) {
        failure.result = ZELBind(&layout, &binding, text, text != nullptr ? kTextSize : 0);
    }
    if (failure.result != ZEL_OK && text != nullptr && *text == '\0') {
        const char* why = sound ? ZELExplain(failure.result)
                                : "std::optional, std::string_view or std::span is not laid out as records need";
        (void)std::snprintf(text, kTextSize, "message %d/%d: %s (%d)\n", layout.msgType, layout.subType, why,
                            failure.result);
    }
    return failure;
}

}  // namespace detail

// ---- Layouts --------------------------------------------------------------------------------------------------------

template <typename Record>
class Binding;

// The type and sub-type of the messages that Record stands for.
template <IsPlainRecord Record>
struct Message {
    std::int16_t msgType;
    std::int16_t subType;
};

template <typename Record, typename... Parts>
concept AreFieldsAndAGroupOf = detail::kArePartsOf<Record, Parts...>;

// Which member of a Record holds which field: the message, then its fields in any order, and the group if it has one. A
// layout is a constant: a field or a member that stands in it twice does not compile.
template <IsPlainRecord Record, typename... Parts>
requires AreFieldsAndAGroupOf<Record, Parts...>
class Layout {
public:
    consteval Layout(Message<Record> message, const Parts&... parts) noexcept
        : message_(message),
          fields_(std::tuple_cat(detail::KeepIf<detail::kIsField<Parts>>(parts)...)),
          group_(std::tuple_cat(detail::KeepIf<detail::kIsGroup<Parts>>(parts)...)) {
        detail::CheckPairs(parts...);
    }

    [[nodiscard]] constexpr std::int16_t MsgType() const noexcept { return message_.msgType; }
    [[nodiscard]] constexpr std::int16_t SubType() const noexcept { return message_.subType; }

    // Holds the layout against the dictionary in use.
    [[nodiscard]] Result<Binding<Record>, BindFailure> Bind() const noexcept {
        bool sound = true;
        const auto members = detail::DescribeMembers<Record>(fields_, sound);
        const ZELLayout layout{message_.msgType, message_.subType, sizeof(Record),
                               members.data(),   members.size(),   nullptr};
        return std::apply([&](const auto&... group) { return BindWith(layout, sound, group...); }, group_);
    }

private:
    using Outcome = Result<Binding<Record>, BindFailure>;

    static Outcome BindWith(const ZELLayout& layout, bool sound) noexcept {
        const ZELBinding* binding = nullptr;
        BindFailure failure = detail::BindLayout(layout, sound, binding);
        if (failure.result != ZEL_OK) {
            return failure;
        }
        return Binding<Record>(binding);
    }

    template <typename GroupPart>
    static Outcome BindWith(ZELLayout layout, bool sound, const GroupPart& group) noexcept {
        using Element = typename GroupPart::Element;
        const auto members = detail::DescribeMembers<Element>(group.fields, sound);
        const Record& record = detail::AnyRecord<Record>();
        const ZELGroup described{detail::PlaceIn(record, record.*group.member), sizeof(Element), GroupPart::kCapacity,
                                 detail::PlaceIn(record, record.*group.count),  members.data(),  members.size()};
        layout.group = &described;
        return BindWith(layout, sound);
    }

    Message<Record> message_;
    decltype(std::tuple_cat(std::declval<detail::KeptIf<detail::kIsField<Parts>, Parts>>()...)) fields_;
    decltype(std::tuple_cat(std::declval<detail::KeptIf<detail::kIsGroup<Parts>, Parts>>()...)) group_;
};

// ---- Bindings -------------------------------------------------------------------------------------------------------

// A layout that was held against the dictionary. Any number of threads may use one at the same time.
template <typename Record>
class Binding {
public:
    // Takes over what ZELBind made for a layout of this Record.
    explicit Binding(const ZELBinding* binding) noexcept : held_(binding) {}

    // Packs a record into `buffer`, an array, vector or span of bytes: the part of it that holds the frame.
    // kZELMaxFrame bytes and the variable user data are always enough.
    template <detail::IsMemory Buffer>
    requires(!std::is_const_v<detail::ElementOf<Buffer>>)
        [[nodiscard]] Result<std::span<detail::ElementOf<Buffer>>, ZELFailure> Pack(
            const Record& record, Buffer&& buffer, ZELEnvelope* envelope = nullptr) const noexcept {
        std::size_t length = 0;
        ZELFailure failure;
        if (ZELPackRecord(held_.get(), std::addressof(record), envelope, std::ranges::data(buffer),
                          std::ranges::size(buffer), &length, &failure) != ZEL_OK) {
            return failure;
        }
        return std::span(std::ranges::data(buffer), length);
    }

    // Unpacks the frame at the head of `bytes`: how many of them it takes. Views in the record lead into the bytes; a
    // temporary container is therefore refused. Of a failure, reading->used tells the bytes to step over.
    template <detail::IsMemory Bytes>
    [[nodiscard]] Result<std::size_t, ZELFailure> Unpack(Bytes&& bytes, Record& record,
                                                         ZELReading* reading = nullptr) const noexcept {
        return UnpackBy(ZELUnpackRecord, std::ranges::data(bytes), std::ranges::size(bytes), record, reading);
    }

    // The same for a message without a frame.
    template <detail::IsMemory Bytes>
    [[nodiscard]] Result<std::size_t, ZELFailure> UnpackNoFrame(Bytes&& bytes, Record& record,
                                                                ZELReading* reading = nullptr) const noexcept {
        return UnpackBy(ZELUnpackRecordNoFrame, std::ranges::data(bytes), std::ranges::size(bytes), record, reading);
    }

    // Unpacks frames that lie one after the other: the code of ZELUnpackRun. `run` tells how many records were filled.
    template <detail::IsMemory Bytes>
    [[nodiscard]] int UnpackRun(Bytes&& bytes, std::span<Record> records, ZELRun& run) const noexcept {
        return ZELUnpackRun(held_.get(), std::ranges::data(bytes), std::ranges::size(bytes), records.data(),
                            sizeof(Record), records.size(), &run);
    }

    // Whether the dictionary in use would give the same binding.
    [[nodiscard]] bool IsCurrent() const noexcept { return ZELIsCurrent(held_.get()) == 1; }

    // For the functions of zelrecord.h; it stays the object's.
    [[nodiscard]] const ZELBinding* Get() const noexcept { return held_.get(); }

private:
    struct Release {
        void operator()(const ZELBinding* binding) const noexcept { ZELFreeBinding(binding); }
    };

    template <typename Operation>
    Result<std::size_t, ZELFailure> UnpackBy(Operation operation, const void* bytes, std::size_t length, Record& record,
                                             ZELReading* reading) const noexcept {
        ZELReading own{};
        reading = reading != nullptr ? reading : &own;
        ZELFailure failure;
        if (operation(held_.get(), bytes, length, std::addressof(record), reading, &failure) != ZEL_OK) {
            return failure;
        }
        return reading->used;
    }

    std::unique_ptr<const ZELBinding, Release> held_;
};

}  // namespace zel

#endif  // ZEL_ZELLAYOUT_HPP
