// Fields and messages of the dictionary: looked up once, and which C++ types their values have. zel.hpp includes it.
#ifndef ZEL_ZELFIELD_HPP
#define ZEL_ZELFIELD_HPP

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <ranges>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "zelmessage.h"
#include "zelprovider.h"
#include "zelresult.hpp"
#include "zelvalue.hpp"

namespace zel {

// A field of a dictionary as a generated header names it (`zel dict header`): Field checks the member against it as the
// program compiles. Length is that of the type 4, else 0.
template <std::int16_t Id, ZELFieldType Type, std::int16_t Length = 0>
struct DictionaryField {
    const char* name;

    // The id, for CZELMessage.
    constexpr operator short() const noexcept { return Id; }
};

// ---- Looking up -----------------------------------------------------------------------------------------------------

// A field as the dictionary in use has it. Kept, it saves looking the name up again. It holds until the library stops.
struct FieldKey {
    short id;            // 0: there is none
    std::uint16_t type;  // ZELFieldType
    short length;        // chars: how many
    const char* name;

    [[nodiscard]] const FieldKey& Key() const noexcept { return *this; }
};

namespace detail {

// What a field is called, as far as it is known.
struct FieldName {
    char text[kZELNameLength + 1];
};

[[nodiscard]] inline FieldKey KeyOf(long id) noexcept {
    VormaZelData* provider = CZELMessage::getVormaZelData();
    const ZELDictionaryHeader* dictionary = provider != nullptr ? provider->dataDictionary() : nullptr;
    if (dictionary == nullptr || id <= 0 || id > dictionary->count) {
        return {};
    }
    const auto& field = reinterpret_cast<const ZELDictionaryField*>(dictionary)[id];
    const bool isField = field.type >= kZELShort && field.type <= kZELBytes11;
    return isField ? FieldKey{static_cast<short>(id), field.type, field.length, field.name} : FieldKey{};
}

// Whether all of it can be a name: providers look at what stands before the first zero byte.
[[nodiscard]] inline bool MayBeName(std::string_view name) noexcept {
    return name.size() <= kZELNameLength && name.find('\0') == std::string_view::npos;
}

[[nodiscard]] inline FieldKey KeyOf(std::string_view name) noexcept {
    VormaZelData* provider = CZELMessage::getVormaZelData();
    if (provider == nullptr || !MayBeName(name)) {
        return {};
    }
    FieldName copy{};
    name.copy(copy.text, kZELNameLength);
    return KeyOf(provider->idFromName(copy.text));
}

}  // namespace detail

// How calls name a field: by a key, its name, its id, or a constant of a generated header.
class FieldRef {
public:
    FieldRef(const FieldKey& key) noexcept : key_(key) {}
    FieldRef(std::string_view name) noexcept : key_(detail::KeyOf(name)), given_(name) {}
    FieldRef(const char* name) noexcept : FieldRef(std::string_view(name)) {}
    FieldRef(const std::string& name) noexcept : FieldRef(std::string_view(name)) {}
    template <typename Id>
    requires std::same_as<Id, int> || std::same_as<Id, short> || std::same_as<Id, unsigned short> FieldRef(Id id)
    noexcept : key_(detail::KeyOf(long{id})), id_(id) {}
    template <std::int16_t Id, ZELFieldType Type, std::int16_t Length>
    FieldRef(const DictionaryField<Id, Type, Length>& field) noexcept
        : key_(detail::KeyOf(long{Id})), given_(field.name), id_(Id) {}

    [[nodiscard]] const FieldKey& Key() const noexcept { return key_; }
    // What a failure calls it, also where the dictionary does not have it.
    [[nodiscard]] std::string_view Name() const noexcept { return key_.id != 0 ? key_.name : given_; }
    [[nodiscard]] int Id() const noexcept { return key_.id != 0 ? key_.id : id_; }

private:
    FieldKey key_;
    std::string_view given_ = "field";
    int id_ = 0;
};

namespace detail {

[[nodiscard]] inline Failure FieldFailure(int code, std::string_view name, int id, int repetition, const char* text) {
    char where[kZELNameLength + 48];
    char number[16] = "";
    char of[32] = "";
    if (id != 0) {
        (void)std::snprintf(number, sizeof number, " (%d)", id);
    }
    if (repetition >= 0) {
        (void)std::snprintf(of, sizeof of, " of repetition %d", repetition);
    }
    (void)std::snprintf(where, sizeof where, "%.*s%s%s",
                        kZELNameLength < name.size() ? kZELNameLength : static_cast<int>(name.size()), name.data(),
                        number, of);
    Failure failure = FailureOf(code, where, text);
    failure.fieldId = id;
    failure.repetition = repetition;
    return failure;
}

// What is wrong with a field; without a text of its own it says what the code means.
[[nodiscard]] inline Failure FieldFailure(int code, const FieldRef& field, int repetition = -1,
                                          const char* text = nullptr) noexcept {
    return FieldFailure(code, field.Name(), field.Id(), repetition, text);
}

// What the library reported of a call that failed, about a field or else about `what`. Fields that it did not know
// failed nothing alone.
[[nodiscard]] inline Failure ReportedFailure(const ReportList& reports, std::string_view what = "") noexcept {
    const auto isCause = [](const Report& report) { return report.code != ZEL_FIELD_NOT_IN_LIST; };
    const Report* cause = std::find_if(reports.begin(), reports.end(), isCause);
    const Report* named = std::find_if(cause, reports.end(), [](const Report& report) { return report.fieldId != 0; });
    const int code = cause != reports.end() ? cause->code : ZEL_BAD_CALL;
    const FieldKey key = KeyOf(long{named != reports.end() ? named->fieldId : 0});
    Failure failure = named == reports.end()
                          ? FailureOf(code, what)
                          : FieldFailure(code, key.id != 0 ? key.name : "field", named->fieldId, -1, nullptr);
    failure.reports = reports;
    return failure;
}

}  // namespace detail

// ZEL_NO_SUCH_FIELD when the dictionary has none.
[[nodiscard]] inline Result<FieldKey> FindField(const FieldRef& field) noexcept {
    if (field.Key().id == 0) {
        return detail::FieldFailure(ZEL_NO_SUCH_FIELD, field);
    }
    return field.Key();
}

// The type and sub-type of a message.
struct MessageKey {
    short msgType;
    short subType;
};

// By the name that the dictionary gives the message. ZEL_NO_SUCH_MESSAGE for an unknown one.
[[nodiscard]] inline Result<MessageKey> FindMessage(std::string_view name) noexcept {
    detail::FieldName copy{};
    name.copy(copy.text, kZELNameLength);
    MessageKey key{};
    if (!detail::MayBeName(name) || ZELFindMessage(copy.text, &key.msgType, &key.subType) != ZEL_OK) {
        return detail::FailureOf(ZEL_NO_SUCH_MESSAGE, name);
    }
    return key;
}

// ---- Types ----------------------------------------------------------------------------------------------------------

namespace detail {

// Elements that are bytes.
template <typename T>
concept IsByte = std::same_as < std::remove_const_t<T>,
char > || std::same_as<std::remove_const_t<T>, unsigned char> || std::same_as<std::remove_const_t<T>, std::byte>;
template <typename Range>
using ElementOf = std::remove_reference_t<std::ranges::range_reference_t<Range>>;
template <typename Range>
concept HasBytes = std::ranges::contiguous_range<Range> && std::ranges::sized_range<Range> && IsByte<ElementOf<Range>>;
// Memory of the caller's that stays when the call ends: what an array, a vector or a span leads to.
template <typename Range>
concept IsMemory = HasBytes<Range> && std::ranges::borrowed_range<Range>;

// The integer that an enumeration is made of, or the type itself.
template <typename T>
struct IntegerOf {
    using Type = T;
};
template <typename T>
requires std::is_enum_v<T>
struct IntegerOf<T> {
    using Type = std::underlying_type_t<T>;
};
template <typename T>
using Integer = typename IntegerOf<T>::Type;
// Integers, and no characters or truth values.
template <typename T>
concept IsNumber = std::integral<Integer<T>> && !std::same_as<Integer<T>, bool> && !std::same_as<Integer<T>, char> &&
                   !std::same_as<Integer<T>, wchar_t> && !std::same_as<Integer<T>, char8_t> &&
                   !std::same_as<Integer<T>, char16_t> && !std::same_as<Integer<T>, char32_t>;
template <typename T>
concept IsText = std::convertible_to<const T&, std::string_view> || std::same_as<T, char>;

// The types of fields as bits, and what the values of C++ types go into and come from.
constexpr unsigned Types(auto... types) noexcept {
    return (0U | ... | (1U << types));
}
inline constexpr unsigned kNumbers = Types(kZELShort, kZELLong, kZELInt);
inline constexpr unsigned kTexts = Types(kZELChars, kZELText);
inline constexpr unsigned kBytes = Types(kZELBytes10, kZELBytes11);

template <typename T>
constexpr unsigned TypesOf(unsigned floats, unsigned doubles) noexcept {
    if constexpr (IsNumber<T>) {
        return kNumbers;
    } else if constexpr (std::same_as<T, float>) {
        return floats;
    } else if constexpr (std::same_as<T, double>) {
        return doubles;
    } else if constexpr (std::derived_from<T, _money>) {
        return Types(kZELMoney);
    } else if constexpr (std::derived_from<T, _datetime>) {
        return Types(kZELDateTime);
    } else if constexpr (IsText<T>) {
        return kTexts;
    } else if constexpr (HasBytes<const T&>) {
        return kBytes;
    } else {
        return 0;
    }
}

// What loses nothing: a float may go into a double, and come from a float alone.
template <typename T>
inline constexpr unsigned kGoesInto = TypesOf<T>(Types(kZELFloat, kZELDouble), Types(kZELDouble));
template <typename T>
inline constexpr unsigned kComesFrom = TypesOf<T>(Types(kZELFloat), Types(kZELFloat, kZELDouble));

template <typename T>
[[nodiscard]] constexpr bool Allows(unsigned types, T type) noexcept {
    return ((types >> type) & 1U) != 0;
}

// The type of a field for people; "none" where there is none.
[[nodiscard]] constexpr const char* NameOfType(unsigned type) noexcept {
    constexpr const char* kNames[] = {"none",  "short",  "long",     "int",   "chars",   "text",
                                      "float", "double", "datetime", "money", "bytes10", "bytes11"};
    return kNames[type < std::size(kNames) ? type : 0];
}

// What a value of a C++ type is.
template <typename T>
[[nodiscard]] constexpr const char* NameOfValue() noexcept {
    constexpr unsigned types = kComesFrom<T>;
    return types == kNumbers              ? "an integer"
           : types == kTexts              ? "a text"
           : types == kBytes              ? "bytes"
           : types == Types(kZELMoney)    ? "money"
           : types == Types(kZELDateTime) ? "a date or time"
           : types == Types(kZELFloat)    ? "a float"
                                          : "a double";
}

}  // namespace detail

// What names a field in a call: a key is taken as it is, anything else is looked up.
template <typename T>
concept NamesField = std::convertible_to<const T&, FieldRef>;
template <NamesField T>
using Named = std::conditional_t<std::same_as<T, FieldKey>, const FieldKey&, FieldRef>;

// What a field can be set to, and read as. Text: whatever converts to std::string_view, and char. Bytes: ranges of
// char, unsigned char or std::byte that do not.
template <typename T>
concept Settable = detail::kGoesInto<T>
!= 0;
// Texts and bytes are read as std::string_view and std::span, which lead into the message, a text also as std::string
// or, of one character, as char.
template <typename T>
concept Gettable = detail::kComesFrom<T>
!= 0 && (!(detail::IsText<T> || detail::HasBytes<T>) || std::same_as<T, char> || std::same_as<T, std::string> ||
         std::same_as<T, std::string_view> || std::same_as<T, std::span<const std::byte>> ||
         std::same_as<T, std::span<const unsigned char>>);

}  // namespace zel

#endif  // ZEL_ZELFIELD_HPP
