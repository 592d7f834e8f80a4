// Filters and sort data, over ZELFilter and ZELSortData: the same bytes, with every field, comparison and type checked.
// zel.hpp includes it.
//
//     zel::Filter filter;
//     filter.Add("QUANTITY", ">=", 100);
//     query.Set("FILTER_STREAM", filter.Bytes());
#ifndef ZEL_ZELQUERY_HPP
#define ZEL_ZELQUERY_HPP

#include <climits>
#include <concepts>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <optional>
#include <ranges>
#include <span>
#include <string_view>
#include <utility>

#include "zelfield.hpp"
#include "zelresult.hpp"
#include "zelstream.h"
#include "zelvalue.hpp"

namespace zel {

namespace detail {

// What the two kinds of streams have in common. They keep the first thing that goes wrong.
template <typename Stream>
class CheckedStream : public Checked {
public:
    // What goes into a field of bytes; empty after a failure. It lasts until more is added.
    [[nodiscard]] std::span<const std::byte> Bytes() noexcept {
        const char* bytes = *this ? stream_.GetStream() : nullptr;
        return std::as_bytes(
            std::span(bytes, bytes != nullptr ? static_cast<std::size_t>(stream_.GetLength()) : std::size_t{0}));
    }

    // Takes received bytes in place of what it holds, for Next.
    template <HasBytes Received>
    bool Read(const Received& bytes) noexcept {
        Forget();
        stream_ = Stream();
        const std::size_t size = std::ranges::size(bytes);
        if (size > INT_MAX ||
            stream_.SetStream(reinterpret_cast<const char*>(std::ranges::data(bytes)), static_cast<int>(size)) != 0) {
            return Keep(FailureOf(ZEL_BAD_ARGUMENT, "", "a stream has 4 bytes at least"));
        }
        stream_.Rewind();
        return true;
    }

protected:
    ~CheckedStream() = default;

    bool Refuse(int code, const FieldRef& field, const char* text = nullptr) noexcept {
        return Keep(FieldFailure(code, field, -1, text));
    }
    bool Known(const FieldRef& field) noexcept { return field.Key().id != 0 || Refuse(ZEL_NO_SUCH_FIELD, field); }
    bool Added(int result, const FieldRef& field) noexcept {
        constexpr int kNoMemory = 12;
        return result == 0 || Refuse(kNoMemory, field);
    }
    // At the end of what can be read: a failure unless all was read.
    void EndAt(int readSoFar, const FieldRef& field) noexcept {
        if (readSoFar < stream_.GetCount()) {
            Refuse(ZEL_FIELD_UNREADABLE, field, "the stream cannot be read any further");
        }
    }

    Stream stream_;
};

}  // namespace detail

// A term of a filter: the field is compared with the value.
struct Term {
    FieldKey field;
    std::string_view comparison;
    zel::Value value;  // a text lasts until the next term is read
};

// What fields can be compared with: what they can be set to, but bytes.
template <typename T>
concept Comparable = Settable<T> && detail::kGoesInto<T>
!= detail::kBytes;

// Terms that an answer must meet.
class Filter : public detail::CheckedStream<ZELFilter> {
public:
    // `comparison` is = != > < >= or <=. Fields of bytes cannot be compared.
    template <Comparable T>
    bool Add(const FieldRef& field, const char* comparison, const T& value) noexcept {
        if (!Known(field)) {
            return false;
        }
        const unsigned type = field.Key().type;
        if (!detail::Allows(detail::kGoesInto<T>, type)) {
            char text[80];
            (void)std::snprintf(text, sizeof text, "the field is of type %s; the value is %s", detail::NameOfType(type),
                                detail::NameOfValue<T>());
            return Refuse(ZEL_WRONG_TYPE, field, text);
        }
        if (LogicOperator known; known.SetText(comparison) != 0) {
            return Refuse(ZEL_BAD_ARGUMENT, field, "the comparison is none of = != > < >= <=");
        }
        return AddChecked(field, comparison, value);
    }

    // The next term; none at the end, and where the stream is damaged or of another dictionary, which is kept.
    [[nodiscard]] std::optional<Term> Next() noexcept {
        if (!*this) {
            return std::nullopt;
        }
        if (stream_.GetFilterItem(item_) != 0) {
            EndAt(read_, FieldRef(item_.fieldId));
            return std::nullopt;
        }
        ++read_;
        return Term{detail::KeyOf(long{item_.fieldId}), item_.logicOperator.text, ValueOfItem()};
    }

    template <detail::HasBytes Received>
    bool Read(const Received& bytes) noexcept {
        read_ = 0;
        return CheckedStream::Read(bytes);
    }

private:
    template <typename T>
    bool AddChecked(const FieldRef& field, const char* comparison, const T& value) noexcept {
        const short id = field.Key().id;
        const unsigned type = field.Key().type;
        const auto add = [&](auto... given) { return Added(stream_.AddFilter(id, comparison, given...), field); };
        if constexpr (detail::IsNumber<T>) {
            const auto number = static_cast<detail::Integer<T>>(value);
            if (type == kZELShort ? !std::in_range<short>(number) : !std::in_range<ZELLong>(number)) {
                return Refuse(ZEL_OUT_OF_RANGE, field);
            }
            return type == kZELShort  ? add(static_cast<short>(number))
                   : type == kZELLong ? add(static_cast<long>(number))
                                      : add(static_cast<int>(number));
        } else if constexpr (std::same_as<T, float>) {
            return type == kZELFloat ? add(value) : add(double{value});
        } else if constexpr (std::same_as<T, double>) {
            return add(value);
        } else if constexpr (std::derived_from<T, _money>) {
            return add(static_cast<const _money&>(value));
        } else if constexpr (std::derived_from<T, _datetime>) {
            return add(static_cast<const _datetime&>(value));
        } else {
            std::string_view text;
            if constexpr (std::same_as<T, char>) {
                text = {&value, 1};
            } else {
                text = value;
            }
            if (text.size() >= FilterValue::kTextCapacity) {
                return Refuse(ZEL_TEXT_TOO_LONG, field, "a filter's texts have 2047 bytes at most");
            }
            return add(text.data(), static_cast<int>(text.size()));
        }
    }

    [[nodiscard]] zel::Value ValueOfItem() const noexcept {
        switch (item_.type) {
            case kZELShort:
                return ZELLong{*item_.AsShort()};
            case kZELLong:
                return *item_.AsLong();
            case kZELInt:
                return ZELLong{*item_.AsInt()};
            case kZELFloat:
                return *item_.AsFloat();
            case kZELDouble:
                return *item_.AsDouble();
            case kZELDateTime:
                return DateTime(*item_.AsDateTime());
            case kZELMoney:
                return Money(*item_.AsMoney());
            default:
                return std::string_view(item_.AsText());
        }
    }

    ZELFilterItem item_;
    int read_ = 0;
};

// A key of sort data. What the numbers of orders mean is between sender and receiver.
struct SortKey {
    FieldKey field;
    short order;
};

// The order of answers, the primary key first.
class SortKeys : public detail::CheckedStream<ZELSortData> {
public:
    bool Add(const FieldRef& field, short order) noexcept {
        return Known(field) && Added(stream_.AddSortData(field.Key().id, order), field);
    }

    // As in Filter. The key of a field that the dictionary lacks has the id 0.
    [[nodiscard]] std::optional<SortKey> Next() noexcept {
        SortItem item;
        if (!*this || stream_.GetSortItem(item) != 0) {
            return std::nullopt;
        }
        return SortKey{detail::KeyOf(long{item.fieldId}), item.sortOrder};
    }
};

}  // namespace zel

#endif  // ZEL_ZELQUERY_HPP
