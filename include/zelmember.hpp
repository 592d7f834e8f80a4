// The members that records may have: their kinds, and where their parts lie. zel.hpp includes it.
#ifndef ZEL_ZELMEMBER_HPP
#define ZEL_ZELMEMBER_HPP

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

#include "zelprovider.h"
#include "zelrecord.h"

namespace zel::detail {

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
// Whole seconds since 1970: std::chrono::local_seconds and sys_seconds, known by their parts, because <chrono> takes
// long to compile.
template <typename T>
requires requires {
    typename T::clock;
    requires sizeof(T) == sizeof(std::int64_t) && std::signed_integral<typename T::rep>;
    requires T::period::num == 1 && T::period::den == 1;
}
inline constexpr int kKindOf<T> = ZEL_SECONDS;
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

template <typename Member>
using ValueOf = typename OptionalOf<Member>::Value;

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
        case ZEL_SECONDS:
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

}  // namespace zel::detail

#endif  // ZEL_ZELMEMBER_HPP
