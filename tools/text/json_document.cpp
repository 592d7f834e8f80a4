#include "tools/text/json_document.h"

#include <algorithm>

namespace zel::tools {

namespace {

// Far deeper than sources and messages go.
constexpr std::size_t kMostNested = 64;

// Of a key in a place, and of a place: a text may have very many.
constexpr std::size_t kMostShown = 64;
constexpr std::size_t kLongestPlace = 256;

// Nodes count in 32 bits.
constexpr std::size_t kLongestText = std::size_t{1} << 30U;

bool IsBlank(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

}  // namespace

std::optional<std::int64_t> JsonValue::WholeNumber() const {
    return Is(JsonKind::kWhole) ? std::optional(document_->nodes_[node_].whole) : std::nullopt;
}

std::optional<double> JsonValue::Number() const {
    if (Is(JsonKind::kWhole)) {
        return static_cast<double>(document_->nodes_[node_].whole);
    }
    return Is(JsonKind::kReal) ? std::optional(document_->nodes_[node_].real) : std::nullopt;
}

std::string_view JsonValue::Source() const {
    const JsonDocument::Node& node = document_->nodes_[node_];
    return std::string_view(document_->text_).substr(node.begin, node.end - node.begin);
}

JsonValue JsonValue::Find(std::string_view key) const {
    if (Is(JsonKind::kObject)) {
        for (const auto& [memberKey, value] : *this) {
            if (memberKey == key) {
                return value;
            }
        }
    }
    return {};
}

void JsonDocument::Clear() {
    text_.clear();
    unescaped_.clear();
    nodes_.clear();
    open_.clear();
    next_ = 0;
    expected_ = Expected::kValue;
    inComment_ = false;
    state_ = JsonState::kUnfinished;
}

JsonState JsonDocument::Read(std::string_view piece, Findings& findings) {
    findings_ = &findings;
    if (piece.size() > kLongestText - text_.size()) {
        (void)Fail(next_, "the text is longer than can be read");
        return state_;
    }
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (text_.empty() && piece.starts_with(kMark)) {
        // Some editors put it before all texts.
        next_ = kMark.size();
    }
    text_ += piece;
    state_ = JsonState::kUnfinished;
    while (SkipBlanks() && ReadToken()) {
    }
    if (state_ == JsonState::kUnfinished && expected_ == Expected::kNothing && !inComment_) {
        state_ = JsonState::kComplete;
    }
    return state_;
}

bool JsonDocument::End(Findings& findings) const {
    if (state_ == JsonState::kUnfinished) {
        AddError(findings, LineAndColumn(text_.size()), "the text ends within a value");
    }
    return state_ == JsonState::kComplete;
}

// Blanks and comments. False at the end of what was read, or when the reading failed.
bool JsonDocument::SkipBlanks() {
    for (;;) {
        if (inComment_) {
            const std::size_t end = text_.find("*/", next_);
            inComment_ = end == std::string::npos;
            next_ = inComment_ ? text_.size() : end + 2;
        }
        while (next_ < text_.size() && IsBlank(text_[next_])) {
            ++next_;
        }
        if (next_ == text_.size() || text_[next_] != '/') {
            return next_ != text_.size();
        }
        const std::string_view start = std::string_view(text_).substr(next_, 2);
        if (start == "//") {
            next_ = std::min(text_.find('\n', next_), text_.size());
        } else if (start == "/*") {
            inComment_ = true;
            next_ += 2;
        } else {
            return Unexpected();
        }
    }
}

bool JsonDocument::ReadToken() {
    const char c = text_[next_];
    switch (expected_) {
        case Expected::kKeyOrEnd:
            if (c == '}') {
                return CloseValue(JsonKind::kObject);
            }
            [[fallthrough]];
        case Expected::kKey:
            if (c != '"') {
                return Unexpected();
            }
            open_.back().key = static_cast<std::uint32_t>(nodes_.size());
            expected_ = Expected::kColon;
            return ReadText();
        case Expected::kValueOrEnd:
            return c == ']' ? CloseValue(JsonKind::kArray) : ReadValue(c);
        case Expected::kValue:
            return ReadValue(c);
        default:
            return ReadPunctuation(c);
    }
}

bool JsonDocument::ReadPunctuation(char c) {
    if (expected_ == Expected::kColon && c == ':') {
        expected_ = Expected::kValue;
    } else if (expected_ == Expected::kCommaOrEnd && c == ',') {
        const bool inObject = nodes_[open_.back().node].kind == JsonKind::kObject;
        expected_ = inObject ? Expected::kKey : Expected::kValue;
    } else if (expected_ == Expected::kCommaOrEnd && (c == '}' || c == ']')) {
        return CloseValue(c == '}' ? JsonKind::kObject : JsonKind::kArray);
    } else {
        return Unexpected();
    }
    ++next_;
    return true;
}

bool JsonDocument::ReadValue(char c) {
    if (std::string_view("\"{[tfn-0123456789").find(c) == std::string_view::npos) {
        return Unexpected();
    }
    NoteValue();
    switch (c) {
        case '"':
            return ReadText();
        case '{':
            return OpenValue(JsonKind::kObject);
        case '[':
            return OpenValue(JsonKind::kArray);
        case 't':
            return ReadWord("true", JsonKind::kBoolean);
        case 'f':
            return ReadWord("false", JsonKind::kBoolean);
        case 'n':
            return ReadWord("null", JsonKind::kNull);
        default:
            return ReadNumber();
    }
}

// A value begins in the innermost object or array.
void JsonDocument::NoteValue() {
    expected_ = open_.empty() ? Expected::kNothing : Expected::kCommaOrEnd;
    if (!open_.empty()) {
        ++nodes_[open_.back().node].size;
    }
}

JsonDocument::Node& JsonDocument::AddNode(JsonKind kind) {
    const auto begin = static_cast<std::uint32_t>(next_);
    nodes_.push_back({kind, false, begin, begin, static_cast<std::uint32_t>(nodes_.size()) + 1, 0, {0}});
    return nodes_.back();
}

bool JsonDocument::OpenValue(JsonKind kind) {
    if (open_.size() == kMostNested) {
        AddError(*findings_, Place(), "has more than " + std::to_string(kMostNested) + " values within one another");
        state_ = JsonState::kWrong;
        return false;
    }
    open_.push_back({static_cast<std::uint32_t>(nodes_.size()), 0});
    (void)AddNode(kind);
    expected_ = kind == JsonKind::kObject ? Expected::kKeyOrEnd : Expected::kValueOrEnd;
    ++next_;
    return true;
}

bool JsonDocument::CloseValue(JsonKind kind) {
    Node& node = nodes_[open_.back().node];
    if (node.kind != kind) {
        return Unexpected();
    }
    node.end = static_cast<std::uint32_t>(++next_);
    node.next = static_cast<std::uint32_t>(nodes_.size());
    if (kind == JsonKind::kObject) {
        RefuseRepeatedKey();
    }
    open_.pop_back();
    expected_ = open_.empty() ? Expected::kNothing : Expected::kCommaOrEnd;
    return true;
}

// One finding for an object, whatever it repeats.
void JsonDocument::RefuseRepeatedKey() {
    // Few keys are compared with each other sooner than they are sorted.
    constexpr std::size_t kFew = 24;
    keys_.clear();
    for (std::uint32_t key = open_.back().node + 1; key < nodes_.size(); key = nodes_[key + 1].next) {
        keys_.push_back(TextOf(nodes_[key]));
    }
    auto repeated = keys_.end();
    if (keys_.size() > kFew) {
        std::sort(keys_.begin(), keys_.end());
        repeated = std::adjacent_find(keys_.begin(), keys_.end());
    } else {
        for (auto key = keys_.begin(); key != keys_.end() && repeated == keys_.end(); ++key) {
            repeated = std::find(key + 1, keys_.end(), *key);
        }
    }
    if (repeated == keys_.end()) {
        return;
    }
    std::uint32_t key = open_.back().node + 1;
    while (TextOf(nodes_[key]) != *repeated) {
        key = nodes_[key + 1].next;
    }
    open_.back().key = key;
    AddError(*findings_, Place(), "stands twice in the same object; expected one");
}

std::string JsonDocument::Place() const {
    std::string place;
    for (const Open& open : open_) {
        const Node& node = nodes_[open.node];
        if (place.size() > kLongestPlace) {
            return place + "...";
        }
        if (node.kind == JsonKind::kArray) {
            place += '[' + std::to_string(node.size - 1) + ']';
            continue;
        }
        place += place.empty() ? "" : ".";
        place += TextOf(nodes_[open.key]).substr(0, kMostShown);
    }
    return place;
}

std::string JsonDocument::LineAndColumn(std::size_t at) const {
    const std::string_view before = std::string_view(text_).substr(0, at);
    const std::size_t lineStart = before.rfind('\n') + 1;
    return "line " + std::to_string(1 + std::count(before.begin(), before.end(), '\n')) + ", column " +
           std::to_string(at - lineStart + 1);
}

bool JsonDocument::Fail(std::size_t at, const std::string& fault) {
    AddError(*findings_, LineAndColumn(at), fault);
    state_ = JsonState::kWrong;
    return false;
}

bool JsonDocument::Unexpected() {
    static constexpr const char* kNames[] = {"a value", "a value or ']'", "a key in quotes", "a key in quotes or '}'",
                                             "':'",     "',' or the end", "the end"};
    return Fail(next_, std::string("unexpected '") + text_[next_] + "'; expected " +
                           kNames[static_cast<std::size_t>(expected_)]);
}

JsonDocument ParseJson(std::string_view text, Findings& findings) {
    JsonDocument document;
    if (document.Read(text, findings) == JsonState::kUnfinished) {
        (void)document.End(findings);
    }
    return document;
}

}  // namespace zel::tools
