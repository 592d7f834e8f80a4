#include "tools/text/json_document.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "runtime/digits.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_text.h"

namespace zel::tools {

namespace {

// Far deeper than sources and messages go.
constexpr std::size_t kMostNested = 64;

// Of a key in a place, and of a place: a text may have very many.
constexpr std::size_t kMostShown = 64;
constexpr std::size_t kLongestPlace = 256;

// Nodes count in 32 bits.
constexpr std::size_t kLongestText = std::size_t{1} << 30U;

// The characters of ASCII that stand for themselves in a text.
constexpr std::array<bool, 256> kPlain = [] {
    std::array<bool, 256> plain{};
    for (std::size_t c = 0x20; c < 0x80; ++c) {
        plain[c] = c != '"' && c != '\\';
    }
    return plain;
}();

bool IsBlank(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

void AppendUtf8(std::string& out, unsigned character) {
    const auto append = [&out](unsigned byte) { out += static_cast<char>(byte); };
    const auto appendFollowing = [&append, character](unsigned shift) { append(0x80U | (character >> shift & 0x3FU)); };
    if (character < 0x80) {
        return append(character);
    }
    if (character < 0x800) {
        append(0xC0U | character >> 6U);
    } else {
        if (character < 0x10000) {
            append(0xE0U | character >> 12U);
        } else {
            append(0xF0U | character >> 18U);
            appendFollowing(12);
        }
        appendFollowing(6);
    }
    appendFollowing(0);
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
    for (std::uint32_t key = open_.back().node + 1; TextOf(nodes_[key]) != *repeated; key = nodes_[key + 1].next) {
        open_.back().key = nodes_[key + 1].next;
    }
    AddError(*findings_, Place(), "stands twice in the same object; expected one");
}

bool JsonDocument::ReadText() {
    const std::size_t begin = next_;
    const std::size_t unescapedBefore = unescaped_.size();
    Node& node = AddNode(JsonKind::kText);
    std::size_t at = begin + 1;
    std::size_t plainFrom = at;
    bool isAscii = true;
    for (;;) {
        while (at < text_.size() && kPlain[static_cast<unsigned char>(text_[at])]) {
            ++at;
        }
        if (at < text_.size() && static_cast<unsigned char>(text_[at]) >= 0x80) {
            isAscii = false;
            ++at;
            continue;
        }
        if (at == text_.size() || static_cast<unsigned char>(text_[at]) < 0x20) {
            return Fail(at, at == text_.size() || text_[at] == '\n'
                                ? "a text has no closing quote on its line"
                                : "a control character in a text; expected \\u and four hex digits");
        }
        if (text_[at] == '"') {
            break;
        }
        node.isUnescaped = true;
        unescaped_.append(text_, plainFrom, at - plainFrom);
        if (!ReadEscape(at)) {
            return Fail(at, "no escape of JSON's");
        }
        plainFrom = at;
    }
    if (node.isUnescaped) {
        unescaped_.append(text_, plainFrom, at - plainFrom);
    }
    node.at = node.isUnescaped ? unescapedBefore : plainFrom;
    node.size = static_cast<std::uint32_t>(node.isUnescaped ? unescaped_.size() - unescapedBefore : at - plainFrom);
    next_ = at + 1;
    node.end = static_cast<std::uint32_t>(next_);
    return isAscii || IsUtf8(TextOf(node)) || Fail(begin, "a text with bytes that are not UTF-8");
}

// Four hex digits, or -1.
int JsonDocument::ReadUnit(std::size_t at) const {
    int unit = text_.size() - at < 4 ? -1 : 0;
    for (std::size_t i = at; unit >= 0 && i < at + 4; ++i) {
        const int digit = HexDigit(text_[i]);
        unit = digit < 0 ? -1 : unit * 16 + digit;
    }
    return unit;
}

// Reads what stands from the backslash on.
bool JsonDocument::ReadEscape(std::size_t& at) {
    constexpr std::string_view kEscapes = "\"\\/bfnrt";
    constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    const char escape = at + 1 < text_.size() ? text_[at + 1] : '\0';
    if (const std::size_t found = kEscapes.find(escape); found != std::string_view::npos) {
        unescaped_ += kMeanings[found];
        at += 2;
        return true;
    }
    const int unit = escape == 'u' ? ReadUnit(at + 2) : -1;
    if (unit < 0xD800 || unit > 0xDFFF) {
        if (unit >= 0) {
            AppendUtf8(unescaped_, static_cast<unsigned>(unit));
            at += 6;
        }
        return unit >= 0;
    }
    // The halves of a character beyond the first 65536.
    const bool hasSecond = text_.compare(at + 6, 2, "\\u") == 0;
    const int second = hasSecond ? ReadUnit(at + 8) : -1;
    if (unit > 0xDBFF || second < 0xDC00 || second > 0xDFFF) {
        return false;
    }
    AppendUtf8(unescaped_, static_cast<unsigned>(0x10000 + (unit - 0xD800) * 0x400 + (second - 0xDC00)));
    at += 12;
    return true;
}

bool JsonDocument::ReadWord(std::string_view word, JsonKind kind) {
    if (text_.compare(next_, word.size(), word) != 0) {
        return Fail(next_, "a word that JSON does not have");
    }
    Node& node = AddNode(kind);
    next_ += word.size();
    node.end = static_cast<std::uint32_t>(next_);
    return true;
}

bool JsonDocument::ReadNumber() {
    const char* const begin = text_.data() + next_;
    const char* const textEnd = text_.data() + text_.size();
    const auto skipDigits = [textEnd](const char* from) {
        return std::find_if_not(from, textEnd, [](char c) { return IsDigit(c); });
    };
    const auto isAt = [textEnd](const char* place, std::string_view oneOf) {
        return place != textEnd && oneOf.find(*place) != std::string_view::npos;
    };
    const char* const digits = begin + (*begin == '-' ? 1 : 0);
    const char* end = isAt(digits, "0") ? digits + 1 : skipDigits(digits);
    bool isGood = end != digits;
    bool isWhole = true;
    const auto takeDigits = [&](const char* from) {
        end = skipDigits(from);
        isGood = isGood && end != from;
        isWhole = false;
    };
    if (isAt(end, ".")) {
        takeDigits(end + 1);
    }
    if (isAt(end, "eE")) {
        takeDigits(end + (isAt(end + 1, "+-") ? 2 : 1));
    }
    if (!isGood) {
        return Fail(next_, "a number without digits where JSON has some");
    }
    Node& node = AddNode(JsonKind::kWhole);
    next_ += static_cast<std::size_t>(end - begin);
    node.end = static_cast<std::uint32_t>(next_);
    if (isWhole && std::from_chars(begin, end, node.whole).ec == std::errc()) {
        return true;
    }
    node.kind = JsonKind::kReal;
    if (std::from_chars(begin, end, node.real).ec != std::errc()) {
        // Beyond all doubles, or nearer to 0.
        node.real = std::strtod(std::string(begin, end).c_str(), nullptr);
    }
    if (std::isinf(node.real)) {
        AddError(*findings_, Place(), "is a number beyond all others");
        state_ = JsonState::kWrong;
    }
    return state_ != JsonState::kWrong;
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
