// The texts, numbers and words of JSON documents.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "runtime/digits.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_document.h"
#include "tools/text/json_text.h"

namespace zel::tools {

namespace {

// The characters of ASCII that stand for themselves in a text.
constexpr std::array<bool, 256> kPlain = [] {
    std::array<bool, 256> plain{};
    for (std::size_t c = 0x20; c < 0x80; ++c) {
        plain[c] = c != '"' && c != '\\';
    }
    return plain;
}();

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

}  // namespace zel::tools
