// The fields and messages of a dictionary. Made by `zel dict header`: make it again when the dictionary changes.
#ifndef ZEL_DICTIONARY_DICTIONARY_HPP
#define ZEL_DICTIONARY_DICTIONARY_HPP

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include <zel.hpp>

namespace dictionary {

namespace fields {

inline constexpr zel::DictionaryField<1, kZELShort> kZelHdrFlags{"ZEL_HDR_FLAGS"};
inline constexpr zel::DictionaryField<2, kZELLong> kZelHdrMsgType{"ZEL_HDR_MSG_TYPE"};
inline constexpr zel::DictionaryField<3, kZELLong> kZelHdrServiceid{"ZEL_HDR_SERVICEID"};
inline constexpr zel::DictionaryField<4, kZELLong> kZelHdrMsgid{"ZEL_HDR_MSGID"};
inline constexpr zel::DictionaryField<5, kZELShort> kZelHdrNumfields{"ZEL_HDR_NUMFIELDS"};
inline constexpr zel::DictionaryField<6, kZELLong> kZelHdrUserData{"ZEL_HDR_USER_DATA"};
inline constexpr zel::DictionaryField<7, kZELBytes11> kZelHdrVarUserData{"ZEL_HDR_VAR_USER_DATA"};
// The first of three that become aB
inline constexpr zel::DictionaryField<10, kZELShort> kAB{"A__B"};
//   ends with a \.
inline constexpr zel::DictionaryField<11, kZELInt> kAB_11{"A_B"};
// ends with ??/.
inline constexpr zel::DictionaryField<12, kZELFloat> kAB_12{"a/B"};
inline constexpr zel::DictionaryField<13, kZELDouble> kClass_{"class"};
// Zoë's "own" */ text // here
inline constexpr zel::DictionaryField<14, kZELChars, 1> kUnix_{"UNIX"};
inline constexpr zel::DictionaryField<15, kZELChars, 3> kField3mRate{"3M-RATE"};
// No letter
inline constexpr zel::DictionaryField<16, kZELText> kField{"\"?\?=\\"};
inline constexpr zel::DictionaryField<17, kZELMoney> kLimitPrice{"limitPrice"};
inline constexpr zel::DictionaryField<18, kZELDateTime> kEnteredAt{"ENTERED_AT"};
inline constexpr zel::DictionaryField<19, kZELBytes10> kLegs{"LEGS"};
inline constexpr zel::DictionaryField<20, kZELShort> kLegCount{"LEG_COUNT"};
inline constexpr zel::DictionaryField<21, kZELText> kLeg{"LEG"};
inline constexpr zel::DictionaryField<22, kZELShort> kHowMany{"HOW_MANY"};
inline constexpr zel::DictionaryField<23, kZELBytes11> kTheLongestNameThatAFieldCanHaveButForACharacterOr2{
    "THE_LONGEST_NAME_THAT_A_FIELD_CAN_HAVE_BUT_FOR_A_CHARACTER_OR_2"};
inline constexpr zel::DictionaryField<140, kZELShort> kLegMark{"LEG_MARK"};

}  // namespace fields

// LEG: type 9, sub-type -1
struct Leg {
    struct Leg_ {
        std::string_view leg{};
        //   ends with a \.
        std::optional<std::int32_t> aB_11;
    };

    // The first of three that become aB
    std::optional<std::int16_t> aB;
    //   ends with a \.
    std::optional<std::int32_t> aB_11;
    // ends with ??/.
    std::optional<float> aB_12;
    std::optional<std::span<const unsigned char>> legs;
    double class_{};
    std::uint32_t legCount{};
    std::array<Leg_, 32> legs_{};
};

inline constexpr zel::Layout kLeg{
    zel::Message<Leg>{9, -1},
    zel::Field(fields::kAB, &Leg::aB),
    zel::Field(fields::kAB_11, &Leg::aB_11),
    zel::Field(fields::kAB_12, &Leg::aB_12),
    zel::Field(fields::kLegs, &Leg::legs),
    zel::Field(fields::kClass_, &Leg::class_),
    zel::Group{
        &Leg::legs_,
        &Leg::legCount,
        zel::Field(fields::kLeg, &Leg::Leg_::leg),
        zel::Field(fields::kAB_11, &Leg::Leg_::aB_11),
    },
};

// leg: type 9, sub-type 2
struct Leg_9_2 {};

inline constexpr zel::Layout kLeg_9_2{
    zel::Message<Leg_9_2>{9, 2},
};

// ANOTHER_LONG_NAME_OF_A_MESSAGE_WITH_A_GROUP: type 9, sub-type 3
struct AnotherLongNameOfAMessageWithAGroup {
    struct Repetition {
        std::optional<std::span<const unsigned char>> theLongestNameThatAFieldCanHaveButForACharacterOr2;
    };

    // Zoë's "own" */ text // here
    char unix_{};
    std::optional<std::array<char, 3>> field3mRate;
    // No letter
    std::optional<std::string_view> field;
    std::optional<_money> limitPrice;
    std::optional<_datetime> enteredAt;
    std::uint32_t howMany{};
    std::array<Repetition, 32> repetitions{};
};

inline constexpr zel::Layout kAnotherLongNameOfAMessageWithAGroup{
    zel::Message<AnotherLongNameOfAMessageWithAGroup>{9, 3},
    zel::Field(fields::kUnix_, &AnotherLongNameOfAMessageWithAGroup::unix_),
    zel::Field(fields::kField3mRate, &AnotherLongNameOfAMessageWithAGroup::field3mRate),
    zel::Field(fields::kField, &AnotherLongNameOfAMessageWithAGroup::field),
    zel::Field(fields::kLimitPrice, &AnotherLongNameOfAMessageWithAGroup::limitPrice),
    zel::Field(fields::kEnteredAt, &AnotherLongNameOfAMessageWithAGroup::enteredAt),
    zel::Group{
        &AnotherLongNameOfAMessageWithAGroup::repetitions,
        &AnotherLongNameOfAMessageWithAGroup::howMany,
        zel::Field(
            fields::kTheLongestNameThatAFieldCanHaveButForACharacterOr2,
            &AnotherLongNameOfAMessageWithAGroup::Repetition::theLongestNameThatAFieldCanHaveButForACharacterOr2),
    },
};

// ---: type 9, sub-type 4
struct Message {
    std::span<const unsigned char> theLongestNameThatAFieldCanHaveButForACharacterOr2{};
};

inline constexpr zel::Layout kMessage{
    zel::Message<Message>{9, 4},
    zel::Field(fields::kTheLongestNameThatAFieldCanHaveButForACharacterOr2,
               &Message::theLongestNameThatAFieldCanHaveButForACharacterOr2),
};

}  // namespace dictionary

#endif  // ZEL_DICTIONARY_DICTIONARY_HPP
