#include "tools/text/json_document.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <utility>

// No check of the reader's ends the command.
#define RAPIDJSON_ASSERT(condition) static_cast<void>(0)
#include <rapidjson/reader.h>

#include "tools/text/json_text.h"

namespace zel::tools {

namespace {

// Far deeper than sources and messages go.
constexpr std::size_t kMostNested = 64;

// Of a key in a place.
constexpr std::size_t kMostShown = 64;

}  // namespace

std::optional<std::int64_t> JsonValue::WholeNumber() const {
    std::int64_t number = 0;
    const std::string_view source = Is(JsonKind::kNumber) ? Source() : std::string_view();
    const char* const end = source.data() + source.size();
    const auto [read, fault] = std::from_chars(source.data(), end, number);
    return fault == std::errc() && read == end ? std::optional(number) : std::nullopt;
}

std::optional<double> JsonValue::Number() const {
    if (!Is(JsonKind::kNumber)) {
        return std::nullopt;
    }
    double number = 0;
    const std::string_view source = Source();
    if (std::from_chars(source.data(), source.data() + source.size(), number).ec != std::errc()) {
        // Beyond all doubles, or nearer to 0.
        number = std::strtod(std::string(source).c_str(), nullptr);
    }
    return number;
}

std::string_view JsonValue::Source() const {
    return std::string_view(document_->text_).substr(node().span.begin, node().span.size);
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

// What RapidJSON reads from, and where it decodes what stands in quotes: in its place. A byte of 0 is the end to it.
// While it is within a text or number it has a copy, and this one stays where that began.
class JsonDocument::Stream {
public:
    using Ch = char;

    Stream(JsonDocument& document, const MoreText& more)
        : document_(&document), more_(&more), next_(document.decoded_.data()) {}

    char Peek() {
        if (*next_ == '\0') {
            next_ = Fetch(next_);
        }
        return *next_;
    }
    char Take() { return Peek() != '\0' ? *next_++ : '\0'; }
    [[nodiscard]] std::uint32_t Tell() const { return OffsetOf(next_); }
    char* PutBegin() { return put_ = next_; }
    void Put(char c) { *put_++ = c; }
    std::size_t PutEnd(const char* begin) const { return static_cast<std::size_t>(put_ - begin); }

    [[nodiscard]] std::uint32_t OffsetOf(const char* place) const {
        return static_cast<std::uint32_t>(place - document_->decoded_.data());
    }

private:
    [[nodiscard]] char* Fetch(char* next) const;

    JsonDocument* document_;
    const MoreText* more_;
    char* next_;
    char* put_ = nullptr;
};

}  // namespace zel::tools

template <>
struct rapidjson::StreamTraits<zel::tools::JsonDocument::Stream> {
    enum { copyOptimization = 1 };
};

namespace zel::tools {

// At the end of what there is of the text, until the value is complete.
char* JsonDocument::Stream::Fetch(char* next) const {
    std::string& decoded = document_->decoded_;
    const std::size_t at = OffsetOf(next);
    while (at == decoded.size() && !document_->isComplete_ && (*more_)(document_->text_)) {
        decoded.append(document_->text_, at);
        // Some editors put this mark before all texts.
        constexpr std::string_view kMark = "\xEF\xBB\xBF";
        if (at == 0 && decoded.starts_with(kMark)) {
            decoded.replace(0, kMark.size(), kMark.size(), ' ');
        }
        // In the text it is as wrong as another control character.
        for (std::size_t zero = at; (zero = decoded.find('\0', zero)) != std::string::npos;) {
            decoded[zero] = '\1';
        }
    }
    return decoded.data() + at;
}

// Makes nodes of what RapidJSON tells, and findings of what is wrong.
class JsonDocument::Builder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Builder> {
public:
    Builder(JsonDocument& document, const Stream& stream, Findings& findings)
        : document_(document), nodes_(document.nodes_), stream_(stream), findings_(findings) {}

    bool Null() { return AddValue(JsonKind::kWord, {stream_.Tell() - 4, 4}); }
    bool Bool(bool isTrue) {
        const std::uint32_t size = isTrue ? 4 : 5;
        return AddValue(JsonKind::kWord, {stream_.Tell() - size, size});
    }
    bool RawNumber(const char* text, unsigned size, bool /*copy*/) {
        return AddValue(JsonKind::kNumber, {stream_.OffsetOf(text), size});
    }
    bool String(const char* text, unsigned size, bool /*copy*/) {
        return ExpectUtf8({text, size}) && AddValue(JsonKind::kText, {stream_.OffsetOf(text), size});
    }
    bool Key(const char* text, unsigned size, bool /*copy*/) {
        key_ = {stream_.OffsetOf(text), size};
        return ExpectUtf8({text, size});
    }
    bool StartObject() { return OpenValue(JsonKind::kObject); }
    bool StartArray() { return OpenValue(JsonKind::kArray); }
    bool EndObject(unsigned /*members*/) {
        RefuseRepeatedKey();
        return CloseValue();
    }
    bool EndArray(unsigned /*elements*/) { return CloseValue(); }

    // Tells what is wrong, unless that was refused here.
    void Explain(rapidjson::ParseErrorCode code, std::size_t at);

private:
    [[nodiscard]] std::uint32_t Count() const { return static_cast<std::uint32_t>(nodes_.size()); }

    // A value begins in the innermost object or array.
    void NoteValue() {
        if (depth_ != 0) {
            ++nodes_[open_[depth_ - 1]].size;
        }
    }
    bool AddValue(JsonKind kind, Span span) {
        NoteValue();
        nodes_.push_back({kind, span, std::exchange(key_, {}), 0, Count() + 1});
        document_.isComplete_ = depth_ == 0;
        return true;
    }
    bool CloseValue() {
        Node& node = nodes_[open_[--depth_]];
        node.span.size = stream_.Tell() + 1 - node.span.begin;
        node.next = Count();
        document_.isComplete_ = depth_ == 0;
        return true;
    }

    bool OpenValue(JsonKind kind);
    bool ExpectUtf8(std::string_view text);
    void RefuseRepeatedKey();
    [[nodiscard]] std::string Place(std::string_view key) const;
    bool Fail(std::size_t at, const std::string& fault);

    JsonDocument& document_;
    std::vector<Node>& nodes_;
    const Stream& stream_;
    Findings& findings_;
    std::array<std::uint32_t, kMostNested> open_{};  // nodes of objects and arrays
    std::size_t depth_ = 0;
    Span key_;  // of the value that comes next
};

bool JsonDocument::Builder::OpenValue(JsonKind kind) {
    if (depth_ == kMostNested) {
        NoteValue();
        AddError(findings_, Place(document_.Decoded(key_)),
                 "has more than " + std::to_string(kMostNested) + " values within one another");
        return false;
    }
    AddValue(kind, {stream_.Tell(), 0});
    document_.isComplete_ = false;
    open_[depth_++] = Count() - 1;
    return true;
}

// Half of a character beyond the first 65536, escaped, is none either.
bool JsonDocument::Builder::ExpectUtf8(std::string_view text) {
    return IsUtf8(text) || Fail(stream_.OffsetOf(text.data()) - 1, "a text with bytes or escapes that are not UTF-8");
}

// One finding for an object, whatever it repeats.
void JsonDocument::Builder::RefuseRepeatedKey() {
    std::vector<std::string_view> keys;
    keys.reserve(nodes_[open_[depth_ - 1]].size);
    for (std::uint32_t node = open_[depth_ - 1] + 1; node != Count(); node = nodes_[node].next) {
        keys.push_back(document_.Decoded(nodes_[node].key));
    }
    // Few keys are compared with each other sooner than they are sorted.
    constexpr std::size_t kFew = 24;
    auto repeated = keys.end();
    if (keys.size() > kFew) {
        std::sort(keys.begin(), keys.end());
        repeated = std::adjacent_find(keys.begin(), keys.end());
    } else {
        for (auto key = keys.begin(); key != keys.end() && repeated == keys.end(); ++key) {
            repeated = std::find(key + 1, keys.end(), *key);
        }
    }
    if (repeated != keys.end()) {
        AddError(findings_, Place(*repeated), "stands twice in the same object; expected one");
    }
}

// Of the value that is noted last and not yet added, or in the innermost object of the one with a key.
std::string JsonDocument::Builder::Place(std::string_view key) const {
    std::string place;
    for (std::size_t i = 0; i < depth_; ++i) {
        const Node& node = nodes_[open_[i]];
        if (node.kind == JsonKind::kArray) {
            place += '[' + std::to_string(node.size - 1) + ']';
            continue;
        }
        place += place.empty() ? "" : ".";
        place += (i + 1 < depth_ ? document_.Decoded(nodes_[open_[i + 1]].key) : key).substr(0, kMostShown);
    }
    return place;
}

bool JsonDocument::Builder::Fail(std::size_t at, const std::string& fault) {
    const std::string_view before = std::string_view(document_.text_).substr(0, at);
    AddError(findings_,
             "line " + std::to_string(1 + std::count(before.begin(), before.end(), '\n')) + ", column " +
                 std::to_string(before.size() - before.rfind('\n')),
             fault);
    return false;
}

void JsonDocument::Builder::Explain(rapidjson::ParseErrorCode code, std::size_t at) {
    static constexpr std::pair<rapidjson::ParseErrorCode, const char*> kExpected[] = {
        {rapidjson::kParseErrorDocumentRootNotSingular, "the end"},
        {rapidjson::kParseErrorObjectMissName, "a key in quotes"},
        {rapidjson::kParseErrorObjectMissColon, "':'"},
        {rapidjson::kParseErrorObjectMissCommaOrCurlyBracket, "',' or '}'"},
        {rapidjson::kParseErrorArrayMissCommaOrSquareBracket, "',' or ']'"},
        {rapidjson::kParseErrorStringUnicodeEscapeInvalidHex, "\\u and four hex digits"},
        {rapidjson::kParseErrorStringUnicodeSurrogateInvalid, "both halves of a character"},
        {rapidjson::kParseErrorStringEscapeInvalid, "an escape of JSON's or the closing quote"},
        {rapidjson::kParseErrorNumberMissFraction, "a digit"},
        {rapidjson::kParseErrorNumberMissExponent, "a digit"},
        {rapidjson::kParseErrorUnspecificSyntaxError, "'*' or '/'"},
    };
    const std::string_view text = document_.text_;
    if (code == rapidjson::kParseErrorTermination) {
        return;
    }
    if (code == rapidjson::kParseErrorNumberTooBig) {
        NoteValue();
        return AddError(findings_, Place(document_.Decoded(key_)), "is a number beyond all others");
    }
    if (at == text.size()) {
        return (void)Fail(text.find_last_not_of(" \t\r\n") + 1, "the text ends within a value");
    }
    const std::size_t begin = text.substr(0, at).find_last_not_of("-aeflnrstu") + 1;
    if (code == rapidjson::kParseErrorValueInvalid && begin != at) {
        return (void)Fail(begin, "no word or number of JSON's");
    }
    const auto* const found = std::ranges::find(kExpected, code, [](const auto& each) { return each.first; });
    Fail(at, std::string("unexpected '") + text[at] + "'; expected " +
                 (found != std::end(kExpected) ? found->second : "a value"));
}

void JsonDocument::Read(const MoreText& more, Findings& findings) {
    constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseCommentsFlag |
                                rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseInsituFlag;
    isComplete_ = false;
    text_.clear();
    decoded_.clear();
    nodes_.clear();
    Stream stream(*this, more);
    Builder builder(*this, stream, findings);
    // For open values alone, of which each needs 8 bytes: no memory is asked for that might not be had.
    std::array<std::uint64_t, 4 * kMostNested> memory;
    rapidjson::MemoryPoolAllocator<> pool(memory.data(), sizeof memory);
    rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, rapidjson::MemoryPoolAllocator<>> reader(
        &pool, sizeof memory / 2);
    const rapidjson::ParseResult result = reader.Parse<kFlags>(stream, builder);
    if (result.IsError()) {
        isComplete_ = false;
        builder.Explain(result.Code(), result.Offset());
    }
}

JsonDocument ParseJson(std::string_view text, Findings& findings) {
    JsonDocument document;
    if (text.size() > kLongestJson) {
        AddError(findings, "", "is longer than can be read");
        return document;
    }
    const auto once = [text](std::string& whole) {
        const bool isFirst = whole.empty() && !text.empty();
        whole = text;
        return isFirst;
    };
    document.Read(once, findings);
    return document;
}

}  // namespace zel::tools
