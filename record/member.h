// Between members and values: what a member holds as the value of its field, and a value as what its member holds.
// Both are templates over what is done with the value, so that the quick way and that of the message object, out and
// in, are made of the same words.
#ifndef ZEL_RECORD_MEMBER_H
#define ZEL_RECORD_MEMBER_H

#include <algorithm>
#include <cstring>

#include "convert/seconds.h"
#include "core/wire/field_codec.h"
#include "record/binding.h"

namespace zel {

// All values of four bits are moves: a switch over this is one indexed jump.
inline Move Bounded(Move move) noexcept {
    return static_cast<Move>(static_cast<unsigned>(move) & 15);
}

// ---- Out ------------------------------------------------------------------------------------------------------------

// Whether the record has the step's field; without a member it says nothing against it.
inline bool IsPresent(const FieldStep& step, const char* base) noexcept {
    if (step.presenceOffset != ZEL_NOWHERE) [[unlikely]] {
        return base[step.presenceOffset] != 0;
    }
    return true;
}

// A number of the field's width from a wider member: ZEL_OUT_OF_RANGE, or what `use` returns.
template <Shape shape, typename Narrow, typename Wide, typename Use>
[[gnu::always_inline]] inline int UseNarrowed(const char* member, const Use& use) noexcept {
    const auto wide = LoadHost<Wide>(member);
    const auto narrow = static_cast<Narrow>(wide);
    if (narrow != wide) {
        return ZEL_OUT_OF_RANGE;
    }
    return use(std::integral_constant<Shape, shape>{}, PlainValue{&narrow, sizeof narrow, sizeof narrow});
}

// A date and time from seconds, likewise.
template <typename Use>
[[gnu::always_inline]] inline int UseSeconds(const char* member, const Use& use) noexcept {
    const _datetime value = DateTimeOf(LoadHost<std::int64_t>(member));
    if (value.kind == 0) {
        return ZEL_OUT_OF_RANGE;
    }
    return use(std::integral_constant<Shape, Shape::kDateTime>{}, PlainValue{&value, sizeof value, sizeof value});
}

// Calls `use` with a number that the library sends. It was found in bounds with the count of repetitions.
template <typename Use>
inline int UseNumber(const FieldStep& step, std::uint32_t number, const Use& use) noexcept {
    if (step.shape == Shape::kShort) {
        const auto value = static_cast<std::int16_t>(number);
        return use(std::integral_constant<Shape, Shape::kShort>{}, PlainValue{&value, sizeof value, sizeof value});
    }
    return use(std::integral_constant<Shape, Shape::kLong>{}, PlainValue{&number, sizeof number, sizeof number});
}

// A text of the dictionary's length, of which `held` bytes are there.
template <typename Use>
[[gnu::always_inline]] inline int UseChars(const FieldStep& step, const void* text, std::size_t held,
                                           const Use& use) noexcept {
    const auto length = static_cast<std::size_t>(std::max<std::int16_t>(step.rule.length, 0));
    // A single character is a byte, zero included, not a text.
    // One byte too many says enough.
    const std::size_t size = length != 1 ? strnlen(static_cast<const char*>(text), std::min(held, length + 1)) : held;
    if (size > length) {
        return ZEL_TEXT_TOO_LONG;
    }
    return use(std::integral_constant<Shape, Shape::kChars>{},
               PlainValue{text, static_cast<std::uint16_t>(length), size});
}

template <typename Use>
[[gnu::always_inline]] inline int UseCounted(const void* bytes, std::size_t length, const Use& use) noexcept {
    if (length > UINT16_MAX) {
        return ZEL_TEXT_TOO_LONG;
    }
    return use(std::integral_constant<Shape, Shape::kCounted>{},
               PlainValue{bytes, static_cast<std::uint16_t>(length), length});
}

// A view's two parts; ZEL_BAD_ARGUMENT where there are no bytes to look at.
[[gnu::always_inline]] inline int LoadView(const FieldStep& step, const char* base, ZELView& view) noexcept {
    view = {LoadHost<const void*>(base + step.offset), LoadHost<std::size_t>(base + step.lengthOffset)};
    if (view.data == nullptr) {
        // Copies want an address, also of nothing.
        view.data = base;
        return view.length == 0 ? 0 : ZEL_BAD_ARGUMENT;
    }
    return 0;
}

// Calls `use` with the shape as a constant and the member's value, and returns what it returns; or what is wrong with
// the member. The step has one.
template <typename Use>
[[gnu::always_inline]] inline int UseMember(const FieldStep& step, const char* base, const Use& use) noexcept {
    const char* const member = base + step.offset;
    const auto plain = [&](auto shape) __attribute__((always_inline)) {
        return use(shape, PlainValue{member, FixedMemorySize(shape()), FixedMemorySize(shape())});
    };
    ZELView view;
    switch (Bounded(step.move)) {
        case Move::kShort16:
            return plain(std::integral_constant<Shape, Shape::kShort>{});
        case Move::kShort32:
            return UseNarrowed<Shape::kShort, std::int16_t, std::int32_t>(member, use);
        case Move::kShort64:
            return UseNarrowed<Shape::kShort, std::int16_t, std::int64_t>(member, use);
        case Move::kLong32:
            return plain(std::integral_constant<Shape, Shape::kLong>{});
        case Move::kLong64:
            return UseNarrowed<Shape::kLong, std::int32_t, std::int64_t>(member, use);
        case Move::kDouble:
            return plain(std::integral_constant<Shape, Shape::kDouble>{});
        case Move::kDateTime:
            return plain(std::integral_constant<Shape, Shape::kDateTime>{});
        case Move::kMoney:
            return plain(std::integral_constant<Shape, Shape::kMoney>{});
        case Move::kChars:
            // What lies beyond the field's length is no part of a single character.
            return UseChars(step, member, step.rule.length == 1 ? 1 : step.size, use);
        case Move::kText:
            return UseCounted(member, strnlen(member, step.size), use);
        case Move::kBytes: {
            const auto length = LoadHost<std::uint32_t>(base + step.lengthOffset);
            return length <= step.size ? UseCounted(member, length, use) : ZEL_TEXT_TOO_LONG;
        }
        case Move::kCharsView: {
            const int wrong = LoadView(step, base, view);
            return wrong != 0 ? wrong : UseChars(step, view.data, view.length, use);
        }
        case Move::kBytesView: {
            const int wrong = LoadView(step, base, view);
            return wrong != 0 ? wrong : UseCounted(view.data, view.length, use);
        }
        case Move::kSeconds:
            return UseSeconds(member, use);
        case Move::kNone:
        case Move::kStop:
            break;
    }
    __builtin_unreachable();
}

// ---- In -------------------------------------------------------------------------------------------------------------
//
// A source of values has:
//   template <Shape shape> bool Find(const FieldStep&)   looks the value up
//   template <Shape shape> void Store(void* out)    one of a fixed size, as it is in memory
//   const char* Bytes(), std::size_t Length()       any other
//   bool Pass(const FieldStep&)                     goes past one that nobody wants

// What a member cannot take, besides ZEL_TEXT_TOO_LONG: the source has no value.
inline constexpr int kNotFound = -1;

template <Shape shape, typename Narrow, typename Wide, typename Source>
[[gnu::always_inline]] inline int FillWidened(const FieldStep& step, char* member, Source& source) noexcept {
    if (!source.template Find<shape>(step)) {
        return kNotFound;
    }
    Narrow narrow;
    source.template Store<shape>(&narrow);
    StoreHost<Wide>(member, narrow);
    return 0;
}

template <Shape shape, typename Source>
[[gnu::always_inline]] inline int FillFixed(const FieldStep& step, char* member, Source& source) noexcept {
    if (!source.template Find<shape>(step)) {
        return kNotFound;
    }
    source.template Store<shape>(member);
    return 0;
}

template <Shape shape, typename Source>
[[gnu::always_inline]] inline int FillArray(const FieldStep& step, char* member, Source& source) noexcept {
    if (!source.template Find<shape>(step)) {
        return kNotFound;
    }
    const std::size_t length = source.Length();
    if (length > step.size) {
        return ZEL_TEXT_TOO_LONG;
    }
    CopyValue(member, source.Bytes(), length);
    std::memset(member + length, 0, step.size - length);
    return 0;
}

template <typename Source>
[[gnu::always_inline]] inline int FillCounted(const FieldStep& step, char* base, Source& source) noexcept {
    if (!source.template Find<Shape::kCounted>(step)) {
        return kNotFound;
    }
    if (source.Length() > step.size) {
        return ZEL_TEXT_TOO_LONG;
    }
    CopyValue(base + step.offset, source.Bytes(), source.Length());
    StoreHost(base + step.lengthOffset, static_cast<std::uint32_t>(source.Length()));
    return 0;
}

template <Shape shape, typename Source>
[[gnu::always_inline]] inline int FillView(const FieldStep& step, char* base, Source& source) noexcept {
    if (!source.template Find<shape>(step)) {
        return kNotFound;
    }
    StoreHost(base + step.offset, source.Bytes());
    StoreHost(base + step.lengthOffset, source.Length());
    return 0;
}

// Gives the value to the step's member, if it has one, by the move of a take: 0, ZEL_TEXT_TOO_LONG or kNotFound.
template <typename Source>
[[gnu::always_inline]] inline int FillMember(Move move, const FieldStep& step, char* base, Source& source) noexcept {
    char* const member = base + step.offset;
    switch (Bounded(move)) {
        case Move::kShort16:
            return FillFixed<Shape::kShort>(step, member, source);
        case Move::kShort32:
            return FillWidened<Shape::kShort, std::int16_t, std::int32_t>(step, member, source);
        case Move::kShort64:
            return FillWidened<Shape::kShort, std::int16_t, std::int64_t>(step, member, source);
        case Move::kLong32:
            return FillFixed<Shape::kLong>(step, member, source);
        case Move::kLong64:
            return FillWidened<Shape::kLong, std::int32_t, std::int64_t>(step, member, source);
        case Move::kDouble:
            return FillFixed<Shape::kDouble>(step, member, source);
        case Move::kDateTime:
            return FillFixed<Shape::kDateTime>(step, member, source);
        case Move::kMoney:
            return FillFixed<Shape::kMoney>(step, member, source);
        case Move::kChars:
            return FillArray<Shape::kChars>(step, member, source);
        case Move::kText:
            return FillArray<Shape::kCounted>(step, member, source);
        case Move::kBytes:
            return FillCounted(step, base, source);
        case Move::kCharsView:
            return FillView<Shape::kChars>(step, base, source);
        case Move::kBytesView:
            return FillView<Shape::kCounted>(step, base, source);
        case Move::kNone:
            return source.Pass(step) ? 0 : kNotFound;
        case Move::kNoneCounted:
            return source.template Find<Shape::kCounted>(step) ? 0 : kNotFound;
        case Move::kStop:
            return kNotFound;
    }
    __builtin_unreachable();
}

// Makes seconds of the date-time that was moved to a member of theirs. One that did not arrive has none.
inline void MakeSeconds(char* member) noexcept {
    StoreHost(member, SecondsOf(LoadHost<_datetime>(member)));
}

// Makes the member, if the step has one, that of a field which did not arrive. False: nothing in the record tells.
inline bool ClearMember(const FieldStep& step, char* base) noexcept {
    if (step.move == Move::kNone) {
        return true;
    }
    const bool isView = step.move == Move::kCharsView || step.move == Move::kBytesView;
    if (isView) {
        StoreHost<const void*>(base + step.offset, nullptr);
        StoreHost(base + step.lengthOffset, std::size_t{0});
    } else if (step.move == Move::kSeconds) {
        StoreHost(base + step.offset, kNoSeconds);
    } else {
        std::memset(base + step.offset, 0, step.size);
    }
    if (step.move == Move::kBytes) {
        StoreHost(base + step.lengthOffset, std::uint32_t{0});
    }
    if (step.presenceOffset == ZEL_NOWHERE) {
        return false;
    }
    base[step.presenceOffset] = 0;
    return true;
}

inline void MarkPresent(const FieldStep& step, char* base) noexcept {
    // Jumps that are made cost more than the others: mostly there is no flag.
    if (step.presenceOffset != ZEL_NOWHERE) [[unlikely]] {
        base[step.presenceOffset] = 1;
    }
}

}  // namespace zel

#endif  // ZEL_RECORD_MEMBER_H
