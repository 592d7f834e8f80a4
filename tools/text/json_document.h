// JSON texts, read once into a flat list of values: time and memory grow with the text alone, whatever it holds.
#ifndef ZEL_TOOLS_TEXT_JSON_DOCUMENT_H
#define ZEL_TOOLS_TEXT_JSON_DOCUMENT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/text/findings.h"

namespace zel::tools {

// Far more than dictionaries have, and little enough for nodes to count in 32 bits: each takes 28 bytes for 2 of the
// text.
inline constexpr std::size_t kLongestJson = std::size_t{64} << 20U;

enum class JsonKind : std::uint8_t { kWord, kNumber, kText, kArray, kObject };

class JsonValue;

// Appends whole lines to what there is of a text; false when there are no more.
using MoreText = std::function<bool(std::string& text)>;

// A text that holds one value. Comments are allowed; a key that stands twice in one object is refused, and so is what
// lies deeper than any source or message goes.
class JsonDocument {
public:
    // Asks for no more text than the value needs, which the caller keeps below kLongestJson. Faults go to `findings`:
    // one of the syntax ends the reading.
    void Read(const MoreText& more, Findings& findings);

    // The value; none after a fault of the syntax.
    [[nodiscard]] JsonValue root() const;

private:
    friend class JsonValue;
    class Stream;
    class Builder;

    struct Span {
        std::uint32_t begin = 0;
        std::uint32_t size = 0;
    };
    struct Node {
        JsonKind kind;
        Span span;           // a text in decoded_; another value in text_
        Span key;            // of a member, in decoded_
        std::uint32_t size;  // elements or members
        std::uint32_t next;  // the node after this value and all in it
    };

    [[nodiscard]] std::string_view Decoded(const Span& span) const {
        return std::string_view(decoded_).substr(span.begin, span.size);
    }

    std::string text_;
    std::string decoded_;  // the same, but for what stands in quotes, which is decoded in its place
    std::vector<Node> nodes_;
    bool isComplete_ = false;
};

// One value of a document, good as long as the document is there and stays where it is. Without a document it is none:
// a member that is missing, which has nothing in it.
class JsonValue {
public:
    JsonValue() = default;
    JsonValue(const JsonDocument* document, std::uint32_t node) : document_(document), node_(node) {}

    explicit operator bool() const { return document_ != nullptr; }
    [[nodiscard]] bool Is(JsonKind kind) const { return document_ != nullptr && node().kind == kind; }
    // Elements of an array, members of an object.
    [[nodiscard]] std::size_t size() const { return document_ != nullptr ? node().size : 0; }
    // Of a text; empty for other values.
    [[nodiscard]] std::string_view Text() const {
        return Is(JsonKind::kText) ? document_->Decoded(node().span) : std::string_view();
    }
    // A number without fraction and exponent that 64 bits with a sign hold.
    [[nodiscard]] std::optional<std::int64_t> WholeNumber() const;
    [[nodiscard]] std::optional<double> Number() const;
    // As it stands in its document, but for texts.
    [[nodiscard]] std::string_view Source() const;
    // An object's member, or none.
    [[nodiscard]] JsonValue Find(std::string_view key) const;

    // Walks over the members of an object, and over the elements of an array, whose keys are empty.
    struct Member;
    class Iterator;
    [[nodiscard]] Iterator begin() const;
    [[nodiscard]] Iterator end() const;

private:
    [[nodiscard]] const JsonDocument::Node& node() const { return document_->nodes_[node_]; }

    const JsonDocument* document_ = nullptr;
    std::uint32_t node_ = 0;
};

struct JsonValue::Member {
    std::string_view key;
    JsonValue value;
};

class JsonValue::Iterator {
public:
    explicit Iterator(const JsonValue& value) : value_(value) {}
    Member operator*() const { return {value_.document_->Decoded(value_.node().key), value_}; }
    Iterator& operator++() {
        value_.node_ = value_.node().next;
        return *this;
    }
    bool operator!=(const Iterator& other) const { return value_.node_ != other.value_.node_; }

private:
    JsonValue value_;
};

inline JsonValue::Iterator JsonValue::begin() const {
    return Iterator({document_, node_ + 1});
}

inline JsonValue::Iterator JsonValue::end() const {
    return Iterator({document_, document_ != nullptr ? node().next : node_ + 1});
}

inline JsonValue JsonDocument::root() const {
    return isComplete_ ? JsonValue(this, 0) : JsonValue();
}

// The value of a whole text. After a syntax error the document has none.
[[nodiscard]] JsonDocument ParseJson(std::string_view text, Findings& findings);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_JSON_DOCUMENT_H
