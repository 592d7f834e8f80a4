// JSON texts, read once into a flat list of values: time and memory grow with the text alone, whatever it holds.
#ifndef ZEL_TOOLS_TEXT_JSON_DOCUMENT_H
#define ZEL_TOOLS_TEXT_JSON_DOCUMENT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/text/findings.h"

namespace zel::tools {

class JsonDocument;

enum class JsonKind : std::uint8_t { kNull, kBoolean, kWhole, kReal, kText, kArray, kObject };

// One value of a document, good as long as the document is there and stays where it is. Without a document it is none:
// a member that is missing, which has nothing in it.
class JsonValue {
public:
    JsonValue() = default;
    JsonValue(const JsonDocument* document, std::uint32_t node) : document_(document), node_(node) {}

    explicit operator bool() const { return document_ != nullptr; }
    [[nodiscard]] bool Is(JsonKind kind) const;
    // Elements of an array, members of an object.
    [[nodiscard]] std::size_t size() const;
    // Of a text; empty for other values.
    [[nodiscard]] std::string_view Text() const;
    // A number without fraction and exponent that 64 bits with a sign hold.
    [[nodiscard]] std::optional<std::int64_t> WholeNumber() const;
    [[nodiscard]] std::optional<double> Number() const;
    // As it stands in the text.
    [[nodiscard]] std::string_view Source() const;
    // An object's member, or none.
    [[nodiscard]] JsonValue Find(std::string_view key) const;

    // Walks over the members of an object, and over the elements of an array, whose keys are empty.
    struct Member;
    class Iterator {
    public:
        Iterator(const JsonDocument* document, std::uint32_t node, bool hasKeys)
            : document_(document), node_(node), hasKeys_(hasKeys) {}
        Member operator*() const;
        Iterator& operator++();
        bool operator!=(const Iterator& other) const { return node_ != other.node_; }

    private:
        const JsonDocument* document_;
        std::uint32_t node_;
        bool hasKeys_;
    };
    [[nodiscard]] Iterator begin() const;
    [[nodiscard]] Iterator end() const;

private:
    const JsonDocument* document_ = nullptr;
    std::uint32_t node_ = 0;
};

struct JsonValue::Member {
    std::string_view key;
    JsonValue value;
};

enum class JsonState { kComplete, kUnfinished, kWrong };

// A text that holds one value, which may come in pieces. Comments are allowed; a key that stands twice in one object is
// refused, and so is what lies deeper than any source or message goes.
class JsonDocument {
public:
    // Reads on; a piece ends where a line ends. Faults go to `findings`: one of the syntax ends the reading.
    JsonState Read(std::string_view piece, Findings& findings);
    // No more pieces come: false with a finding when the value is unfinished.
    bool End(Findings& findings) const;
    void Clear();

    // The value; none before it is complete.
    [[nodiscard]] JsonValue root() const { return state_ == JsonState::kComplete ? JsonValue(this, 0) : JsonValue(); }
    // What was read so far.
    [[nodiscard]] std::size_t size() const { return text_.size(); }

private:
    friend class JsonValue;

    struct Node {
        JsonKind kind;
        bool isUnescaped;     // the text lies in unescaped_, else in text_
        std::uint32_t begin;  // in text_
        std::uint32_t end;
        std::uint32_t next;  // the node after this value and all in it
        std::uint32_t size;  // bytes of a text, elements or members
        union {
            std::size_t at;  // where a text lies
            std::int64_t whole;
            double real;
        };
    };
    // An object or array that is not closed yet.
    struct Open {
        std::uint32_t node;
        std::uint32_t key;  // node of the last one
    };
    enum class Expected : std::uint8_t { kValue, kValueOrEnd, kKey, kKeyOrEnd, kColon, kCommaOrEnd, kNothing };

    [[nodiscard]] bool SkipBlanks();
    bool ReadToken();
    bool ReadPunctuation(char c);
    bool ReadValue(char c);
    bool ReadText();
    bool ReadEscape(std::size_t& at);
    [[nodiscard]] int ReadUnit(std::size_t at) const;
    bool ReadNumber();
    bool ReadWord(std::string_view word, JsonKind kind);
    bool OpenValue(JsonKind kind);
    bool CloseValue(JsonKind kind);
    Node& AddNode(JsonKind kind);
    void NoteValue();
    void RefuseRepeatedKey();

    [[nodiscard]] std::string_view TextOf(const Node& node) const {
        return std::string_view(node.isUnescaped ? unescaped_ : text_).substr(node.at, node.size);
    }
    [[nodiscard]] std::string Place() const;
    [[nodiscard]] std::string LineAndColumn(std::size_t at) const;
    bool Fail(std::size_t at, const std::string& fault);
    bool Unexpected();

    std::string text_;
    std::string unescaped_;  // the texts that have escapes
    std::vector<Node> nodes_;
    std::vector<Open> open_;
    std::vector<std::string_view> keys_;  // of the object that closes
    std::size_t next_ = 0;                // to be read
    Expected expected_ = Expected::kValue;
    bool inComment_ = false;
    JsonState state_ = JsonState::kUnfinished;
    Findings* findings_ = nullptr;  // while Read runs
};

// The value of a whole text. After a syntax error the document has none.
[[nodiscard]] JsonDocument ParseJson(std::string_view text, Findings& findings);

inline bool JsonValue::Is(JsonKind kind) const {
    return document_ != nullptr && document_->nodes_[node_].kind == kind;
}

inline std::size_t JsonValue::size() const {
    return document_ != nullptr ? document_->nodes_[node_].size : 0;
}

inline std::string_view JsonValue::Text() const {
    return Is(JsonKind::kText) ? document_->TextOf(document_->nodes_[node_]) : std::string_view();
}

inline JsonValue::Member JsonValue::Iterator::operator*() const {
    if (!hasKeys_) {
        return {{}, {document_, node_}};
    }
    return {document_->TextOf(document_->nodes_[node_]), {document_, node_ + 1}};
}

inline JsonValue::Iterator& JsonValue::Iterator::operator++() {
    node_ = document_->nodes_[node_ + (hasKeys_ ? 1U : 0U)].next;
    return *this;
}

inline JsonValue::Iterator JsonValue::begin() const {
    return {document_, node_ + 1, Is(JsonKind::kObject)};
}

inline JsonValue::Iterator JsonValue::end() const {
    return {document_, document_ != nullptr ? document_->nodes_[node_].next : node_ + 1, false};
}

}  // namespace zel::tools

#endif  // ZEL_TOOLS_TEXT_JSON_DOCUMENT_H
