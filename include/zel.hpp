// Records in C++20: a program's own structs to frames and back, over zelrecord.h.
//
//     struct Cancel {
//         std::string_view symbol;
//         std::optional<std::string_view> reason;
//     };
//     constexpr auto kCancel = zel::LayoutOf<Cancel>(10, 2, zel::Field("SYMBOL", &Cancel::symbol),
//                                                    zel::Field("CANCEL_REASON", &Cancel::reason));
//
//     const auto binding = kCancel.Bind();              // once, after zel::Library
//     auto packed = binding->Pack(cancel, buffer);      // the part of the buffer that holds the frame
//     auto used = binding->Unpack(received, cancel);    // the bytes of the frame
//
// What holds for everything here:
//  - The header alone: programs link the library and nothing else. Nothing is thrown.
//  - A failure is a Result without a value, which has a code (enum ZELResult) and a text.
//  - What zelrecord.h says of presence, reports, memory and threads holds here. A call costs what the C call costs.
//  - Records are trivially copyable and can be made without arguments. Their members may be
//        short, int, long, long long, enumerations of these widths with a stated type; float, double
//        _money, _datetime
//        char, char[N], std::array<char, N>                     texts that lie in the record
//        std::string_view, std::span<const unsigned char>, std::span<const std::byte>, std::span<const char>
//                                                               views of the received bytes, which the caller keeps
//        std::optional of any of these but the plain arrays     fields that may be missing
//        unsigned char[N], std::array<unsigned char, N>, std::array<std::byte, N> with a std::uint32_t beside it
//        arrays of structs with a std::uint32_t beside them     the message's repeating group
//  - The library reads and writes the members of a record where they lie. That takes a word for the data and a word for
//    the size of a view, and one byte of an optional that is 1 with a value and 0 without. Bind looks where they are in
//    values that it knows, and fails with ZEL_BAD_LAYOUT if the standard library in use has no such places.
#ifndef ZEL_ZEL_HPP
#define ZEL_ZEL_HPP

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <ranges>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

#include "zelprovider.h"
#include "zelrecord.h"

namespace zel {

// ---- Results --------------------------------------------------------------------------------------------------------

// Why a layout was not bound: every disagreement with the dictionary, a line each.
struct BindFailure {
    int result;                    // ZELResult
    std::unique_ptr<char[]> text;  // null without memory for it

    [[nodiscard]] const char* Text() const noexcept { return text != nullptr ? text.get() : "out of memory"; }
};

// A value, or why there is none. What * and -> lead to exists only when there is a value.
template <typename Value, typename Failure>
class [[nodiscard]] Result {
public:
    Result(Value value) noexcept : held_(std::in_place_index<0>, std::move(value)) {}
    Result(Failure failure) noexcept : held_(std::in_place_index<1>, std::move(failure)) {}

    explicit operator bool() const noexcept { return held_.index() == 0; }
    [[nodiscard]] Value& operator*() & noexcept { return *std::get_if<0>(&held_); }
    [[nodiscard]] const Value& operator*() const& noexcept { return *std::get_if<0>(&held_); }
    [[nodiscard]] Value operator*() && noexcept { return std::move(*std::get_if<0>(&held_)); }
    [[nodiscard]] Value* operator->() noexcept { return std::get_if<0>(&held_); }
    [[nodiscard]] const Value* operator->() const noexcept { return std::get_if<0>(&held_); }

    // 0 with a value, else one of ZELResult.
    [[nodiscard]] int Code() const noexcept { return *this ? ZEL_OK : Why()->result; }
    // The failure in English; empty with a value.
    [[nodiscard]] const char* Error() const noexcept {
        if constexpr (std::is_same_v<Failure, ZELFailure>) {
            return *this ? "" : Why()->text;
        } else {
            return *this ? "" : Why()->Text();
        }
    }
    // Null with a value.
    [[nodiscard]] const Failure* Why() const noexcept { return std::get_if<1>(&held_); }

private:
    std::variant<Value, Failure> held_;
};

// ---- The library ----------------------------------------------------------------------------------------------------

// Starts the library, and stops it at the end of the object. Made while no other call is in progress, and once: the
// first object that ends stops the library for all.
class [[nodiscard]] Library {
public:
    Library() noexcept : result_(ZELStart()) {}
    ~Library() noexcept { ZELStop(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Whether there is a dictionary.
    explicit operator bool() const noexcept { return result_ == ZEL_OK; }
    // What ZELStart said.
    [[nodiscard]] int Code() const noexcept { return result_; }
    // The same in English; empty with a dictionary.
    [[nodiscard]] const char* Error() const noexcept {
        return *this ? "" : "no dictionary provider, or one without tables";
    }

private:
    int result_;
};

// ---- Members --------------------------------------------------------------------------------------------------------

// A field of a dictionary as a generated header names it (`zel dict header`): Field checks the member against it as the
// program compiles. Length is that of the type 4, else 0.
template <std::int16_t Id, ZELFieldType Type, std::int16_t Length = 0>
struct DictionaryField {
    const char* name;

    // The id, for CZELMessage.
    constexpr operator short() const noexcept { return Id; }
};

namespace detail {

template <typename T>
inline constexpr int kKindOf = 0;  // no kind
template <typename T>
requires std::same_as<T, short> || std::same_as<T, int> || std::same_as<T, long> || std::same_as<T, long long>
inline constexpr int kKindOf<T> = sizeof(T) == 2 ? ZEL_INT16 : sizeof(T) == 4 ? ZEL_INT32 : ZEL_INT64;
// Every number of its type is a value of such an enumeration, whatever a peer sends.
template <typename T>
requires std::is_enum_v<T> && requires {
    T{0};
}
inline constexpr int kKindOf<T> = kKindOf<std::underlying_type_t<T>>;
template <>
inline constexpr int kKindOf<float> = ZEL_FLOAT;
template <>
inline constexpr int kKindOf<double> = ZEL_DOUBLE;
template <>
inline constexpr int kKindOf<_money> = ZEL_MONEY;
template <>
inline constexpr int kKindOf<_datetime> = ZEL_DATETIME;
template <>
inline constexpr int kKindOf<char> = ZEL_CHARS;
template <std::size_t N>
inline constexpr int kKindOf<char[N]> = ZEL_CHARS;
template <std::size_t N>
inline constexpr int kKindOf<std::array<char, N>> = ZEL_CHARS;
template <>
inline constexpr int kKindOf<std::string_view> = ZEL_VIEW;
template <typename T>
requires std::same_as<T, const char> || std::same_as<T, const unsigned char> || std::same_as<T, const std::byte>
inline constexpr int kKindOf<std::span<T>> = ZEL_VIEW;

// Bytes whose number another member holds.
template <typename T>
inline constexpr bool kIsCounted = false;
template <std::size_t N>
inline constexpr bool kIsCounted<unsigned char[N]> = true;
template <std::size_t N>
inline constexpr bool kIsCounted<std::array<unsigned char, N>> = true;
template <std::size_t N>
inline constexpr bool kIsCounted<std::array<std::byte, N>> = true;

template <typename T>
struct OptionalOf {
    using Value = T;
    static constexpr bool kIsOptional = false;
};
template <typename T>
struct OptionalOf<std::optional<T>> {
    using Value = T;
    static constexpr bool kIsOptional = true;
};

// The type of an array's elements and their number.
template <typename T>
struct ArrayOf {
    static constexpr std::size_t kSize = 0;
};
template <typename T, std::size_t N>
struct ArrayOf<T[N]> {
    using Element = T;
    static constexpr std::size_t kSize = N;
};
template <typename T, std::size_t N>
struct ArrayOf<std::array<T, N>> {
    using Element = T;
    static constexpr std::size_t kSize = N;
};

// Whether a member of this kind and size may hold fields of a dictionary's type: the same as ZELBind says.
constexpr bool MayHold(int kind, std::size_t size, ZELFieldType type, std::int16_t length) noexcept {
    const bool isNumber = type == kZELLong || type == kZELInt;
    switch (kind) {
        case ZEL_INT16:
            return type == kZELShort;
        case ZEL_INT32:
        case ZEL_INT64:
            return type == kZELShort || isNumber;
        case ZEL_FLOAT:
            return type == kZELFloat;
        case ZEL_DOUBLE:
            return type == kZELDouble;
        case ZEL_MONEY:
            return type == kZELMoney;
        case ZEL_DATETIME:
            return type == kZELDateTime;
        case ZEL_CHARS:
            return type == kZELText || (type == kZELChars && std::cmp_greater_equal(size, length));
        case ZEL_BYTES:
            return type == kZELText || type == kZELBytes10 || type == kZELBytes11;
        case ZEL_VIEW:
            return type == kZELChars || type == kZELText || type == kZELBytes10 || type == kZELBytes11;
        default:
            return false;
    }
}

// Places in bytes, from the start of an object.
using Place = std::uint32_t;

template <typename Object, typename Part>
[[nodiscard]] Place PlaceIn(const Object& object, const Part& part) noexcept {
    return static_cast<Place>(reinterpret_cast<const unsigned char*>(std::addressof(part)) -
                              reinterpret_cast<const unsigned char*>(std::addressof(object)));
}

template <typename Object>
using BytesOf = std::array<unsigned char, sizeof(Object)>;

template <typename Object>
[[nodiscard]] BytesOf<Object> Show(const Object& object) noexcept {
    BytesOf<Object> bytes;
    std::memcpy(bytes.data(), std::addressof(object), bytes.size());
    return bytes;
}

// Where a view has its pointer and its size; both nowhere if they are not two words.
struct ViewPlaces {
    Place data = ZEL_NOWHERE;
    Place size = ZEL_NOWHERE;
};

template <typename View>
[[nodiscard]] ViewPlaces FindViewPlaces() noexcept {
    if constexpr (sizeof(View) == 2 * sizeof(void*) && sizeof(void*) == sizeof(std::size_t)) {
        static constexpr std::remove_const_t<typename View::value_type> kKnown[3] = {};
        const typename View::const_pointer data = kKnown;
        const std::size_t size = 3;
        const BytesOf<View> bytes = Show(View(data, size));
        for (const ViewPlaces places : {ViewPlaces{0, sizeof data}, ViewPlaces{sizeof size, 0}}) {
            if (std::memcmp(bytes.data() + places.data, &data, sizeof data) == 0 &&
                std::memcmp(bytes.data() + places.size, &size, sizeof size) == 0) {
                return places;
            }
        }
    }
    return {};
}

// The byte of an optional that says whether it has a value: outside the value, 1 with and 0 without one. It is believed
// when changing it alone takes the value away and brings it back.
template <typename Value>
[[nodiscard]] Place FindPresence() noexcept {
    using Optional = std::optional<Value>;
    const Optional full{std::in_place};
    const Optional empty;
    const BytesOf<Optional> with = Show(full);
    const BytesOf<Optional> without = Show(empty);
    const Place value = PlaceIn(full, *full);
    for (Place place = 0; place < sizeof(Optional); ++place) {
        const bool inValue = place >= value && place < value + sizeof(Value);
        if (inValue || with[place] != 1 || without[place] != 0) {
            continue;
        }
        BytesOf<Optional> changed = with;
        changed[place] = 0;
        Optional taken{std::in_place};
        std::memcpy(static_cast<void*>(&taken), changed.data(), changed.size());
        changed[place] = 1;
        Optional brought;
        std::memcpy(static_cast<void*>(&brought), changed.data(), changed.size());
        if (!taken.has_value() && brought.has_value()) {
            return place;
        }
    }
    return ZEL_NOWHERE;
}

// In place of a member pointer: nothing lies beside the field.
struct None {};

template <typename Owner, typename Member, typename Length, typename Presence>
struct FieldOf {
    using OwnerType = Owner;
    using MemberType = Member;
    const char* name;
    Member Owner::*member;
    Length length;
    Presence presence;
};

template <typename Owner, typename Repetitions, typename... Fields>
struct GroupOf {
    using OwnerType = Owner;
    using MemberType = Repetitions;
    Repetitions Owner::*member;
    std::uint32_t Owner::*count;
    std::tuple<Fields...> fields;
};

template <typename T>
inline constexpr bool kIsField = false;
template <typename... T>
inline constexpr bool kIsField<FieldOf<T...>> = true;
template <typename T>
inline constexpr bool kIsGroup = false;
template <typename... T>
inline constexpr bool kIsGroup<GroupOf<T...>> = true;

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
using ValueOf = typename OptionalOf<Member>::Value;

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
    constexpr std::string_view kUnsound =
        "std::optional, std::string_view or std::span is not laid out as records need";
    BindFailure failure{ZEL_BAD_LAYOUT, std::unique_ptr<char[]>(new (std::nothrow) char[kTextSize])};
    if (sound) {
        failure.result = ZELBind(&layout, &binding, failure.text.get(), failure.text != nullptr ? kTextSize : 0);
    } else if (failure.text != nullptr) {
        failure.text[kUnsound.copy(failure.text.get(), kTextSize)] = '\0';
    }
    return failure;
}

// Elements that are bytes.
template <typename T>
concept IsByte = std::same_as < std::remove_const_t<T>,
char > || std::same_as<std::remove_const_t<T>, unsigned char> || std::same_as<std::remove_const_t<T>, std::byte>;
template <typename Range>
using ElementOf = std::remove_reference_t<std::ranges::range_reference_t<Range>>;
// Memory of the caller's that stays when the call ends: what an array, a vector or a span leads to.
template <typename Range>
concept IsMemory = std::ranges::contiguous_range<Range> && std::ranges::sized_range<Range> &&
    std::ranges::borrowed_range<Range> && IsByte<ElementOf<Range>>;

}  // namespace detail

// ---- Layouts --------------------------------------------------------------------------------------------------------

// What is missing when a layout does not compile.
template <typename Member>
concept HoldsAField = detail::kKindOf<detail::ValueOf<Member>>
!= 0;
template <typename Member>
concept HoldsCountedBytes = detail::kIsCounted<Member>;
template <typename Member, typename Key>
concept HoldsThisField = detail::kKeyAllows < std::decay_t<Key>,
        detail::kKindOf<detail::ValueOf<Member>>,
sizeof(detail::ValueOf<Member>) > ;
template <typename Key>
concept NamesTextOrBytes = detail::kKeyAllows < std::decay_t<Key>,
        ZEL_BYTES,
0 > ;
template <typename Member>
concept NeedsAFlag = !detail::OptionalOf<Member>::kIsOptional;
template <typename Record>
concept IsPlainRecord = std::is_trivially_copyable_v<Record> && std::is_default_constructible_v<Record>;
template <typename Repetitions>
concept IsArrayOfRecords =
    detail::ArrayOf<Repetitions>::kSize != 0 && IsPlainRecord<typename detail::ArrayOf<Repetitions>::Element>;
template <typename Part, typename Record>
concept IsFieldOf = detail::kIsField<Part> && std::derived_from<Record, typename Part::OwnerType>;
template <typename Part, typename Record>
concept IsPartOf = (detail::kIsField<Part> ||
                    detail::kIsGroup<Part>)&&std::derived_from<Record, typename Part::OwnerType>;

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
requires IsArrayOfRecords<Repetitions> &&
    (...&& IsFieldOf<Fields, typename detail::ArrayOf<Repetitions>::Element>)constexpr auto Group(
        Repetitions Owner::*repetitions, std::uint32_t Owner::*count, const Fields&... fields) noexcept {
    return detail::GroupOf<Owner, Repetitions, Fields...>{repetitions, count, {fields...}};
}

template <typename Record>
class Binding;

// Which member of a Record holds which field of a message. LayoutOf makes it.
template <typename Record, typename Fields, typename Group>
class Layout {
public:
    constexpr Layout(std::int16_t msgType, std::int16_t subType, const Fields& fields, const Group& group) noexcept
        : msgType_(msgType), subType_(subType), fields_(fields), group_(group) {}

    // Holds the layout against the dictionary in use.
    [[nodiscard]] Result<Binding<Record>, BindFailure> Bind() const noexcept {
        bool sound = true;
        const auto members = detail::DescribeMembers<Record>(fields_, sound);
        ZELLayout layout{msgType_, subType_, sizeof(Record), members.data(), std::tuple_size_v<Fields>, nullptr};
        if constexpr (std::tuple_size_v<Group> == 0) {
            return Bind(layout, sound);
        } else {
            const auto& group = std::get<0>(group_);
            using Array = detail::ArrayOf<typename std::tuple_element_t<0, Group>::MemberType>;
            const auto parts = detail::DescribeMembers<typename Array::Element>(group.fields, sound);
            const Record& record = detail::AnyRecord<Record>();
            const ZELGroup described{detail::PlaceIn(record, record.*group.member),
                                     sizeof(typename Array::Element),
                                     Array::kSize,
                                     detail::PlaceIn(record, record.*group.count),
                                     parts.data(),
                                     std::tuple_size_v<std::remove_const_t<decltype(parts)>>};
            layout.group = &described;
            return Bind(layout, sound);
        }
    }

private:
    static Result<Binding<Record>, BindFailure> Bind(const ZELLayout& layout, bool sound) noexcept;

    std::int16_t msgType_;
    std::int16_t subType_;
    Fields fields_;
    Group group_;
};

namespace detail {

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
constexpr auto KeepIf([[maybe_unused]] const Part& part) noexcept {
    if constexpr (Keep) {
        return std::tuple<Part>(part);
    } else {
        return std::tuple<>();
    }
}

}  // namespace detail

// The layout of a Record for the messages of a type and sub-type: its fields, in any order, and the group if there is
// one. It is a constant: a field or a member that stands twice does not compile.
template <IsPlainRecord Record, typename... Parts>
requires(...&& IsPartOf<Parts, Record>) &&
    ((0 + ... + int{detail::kIsGroup<Parts>}) <= 1) consteval auto LayoutOf(std::int16_t msgType, std::int16_t subType,
                                                                            const Parts&... parts) noexcept {
    detail::CheckPairs(parts...);
    const auto fields = std::tuple_cat(detail::KeepIf<detail::kIsField<Parts>>(parts)...);
    const auto group = std::tuple_cat(detail::KeepIf<detail::kIsGroup<Parts>>(parts)...);
    return Layout<Record, std::remove_const_t<decltype(fields)>, std::remove_const_t<decltype(group)>>(msgType, subType,
                                                                                                       fields, group);
}

// ---- Bindings -------------------------------------------------------------------------------------------------------

// A layout that was held against the dictionary. Any number of threads may use one at the same time.
template <typename Record>
class Binding {
public:
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
    template <typename, typename, typename>
    friend class Layout;

    struct Release {
        void operator()(const ZELBinding* binding) const noexcept { ZELFreeBinding(binding); }
    };

    explicit Binding(const ZELBinding* binding) noexcept : held_(binding) {}

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

template <typename Record, typename Fields, typename Group>
Result<Binding<Record>, BindFailure> Layout<Record, Fields, Group>::Bind(const ZELLayout& layout, bool sound) noexcept {
    const ZELBinding* binding = nullptr;
    BindFailure failure = detail::BindLayout(layout, sound, binding);
    if (failure.result != ZEL_OK) {
        return failure;
    }
    return Binding<Record>(binding);
}

}  // namespace zel

#endif  // ZEL_ZEL_HPP
