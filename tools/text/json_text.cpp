#include "tools/text/json_text.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "tools/text/hex_text.h"

namespace zel::tools {

namespace {

// Printable ASCII that stands for itself.
constexpr bool IsPlain(char c) {
    return c >= ' ' && c <= '~' && c != '"' && c != '\\';
}

constexpr std::array<bool, 256> kPlain = [] {
    std::array<bool, 256> plain{};
    for (int c = 0; c < 256; ++c) {
        plain[static_cast<std::size_t>(c)] = IsPlain(static_cast<char>(c));
    }
    return plain;
}();

std::size_t PlainPrefix(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && kPlain[static_cast<unsigned char>(text[at])]) {
        ++at;
    }
    return at;
}

template <typename Bits>
void AppendBits(std::string& out, Bits bits) {
    char bytes[sizeof bits];
    for (std::size_t i = 0; i < sizeof bits; ++i) {
        bytes[i] = static_cast<char>(bits >> 8U * (sizeof bits - 1 - i));
    }
    AppendHexObject(out, {bytes, sizeof bytes});
}

// True when the number is one that JSON does not have.
template <typename Real, typename Bits>
bool AppendNotFinite(std::string& out, Bits bits) {
    constexpr auto kInfinity = std::bit_cast<Bits>(std::numeric_limits<Real>::infinity());
    constexpr auto kNan = std::bit_cast<Bits>(std::numeric_limits<Real>::quiet_NaN());
    constexpr auto kSign = std::bit_cast<Bits>(-Real{0});
    if ((bits & kInfinity) != kInfinity) {
        return false;
    }
    if ((bits & ~kSign) == kInfinity) {
        out += bits == kInfinity ? "\"Infinity\"" : "\"-Infinity\"";
    } else if (bits == kNan) {
        out += "\"NaN\"";
    } else {
        AppendBits(out, bits);
    }
    return true;
}

template <typename Real>
void AppendShortest(std::string& out, Real number) {
    std::array<char, 32> text;
    const auto* const end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    out.append(text.data(), static_cast<std::size_t>(end - text.data()));
    // Readers take digits alone for a whole number, which has no -0.
    if (number == 0) {
        out += ".0";
    }
}

}  // namespace

void AppendFloat(std::string& out, std::uint32_t bits) {
    if (AppendNotFinite<float>(out, bits)) {
        return;
    }
    const auto number = std::bit_cast<float>(bits);
    const std::size_t before = out.size();
    AppendShortest(out, number);
    // Readers read a double first: where its rounding to single precision leads elsewhere, all digits are needed.
    double read = 0;
    std::from_chars(out.data() + before, out.data() + out.size(), read);
    if (static_cast<float>(read) != number) {
        out.resize(before);
        AppendShortest(out, static_cast<double>(number));
    }
}

void AppendDouble(std::string& out, std::uint64_t bits) {
    if (!AppendNotFinite<double>(out, bits)) {
        AppendShortest(out, std::bit_cast<double>(bits));
    }
}

std::size_t CharacterSize(std::string_view text) {
    const auto byte = [text](std::size_t at) { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U; };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4) {
        return 0;
    }
    // Longer forms of shorter characters, surrogates, and what is beyond the last character.
    const unsigned least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < least || byte(1) > most) {
        return 0;
    }
    for (std::size_t at = 2; at < size; ++at) {
        if (byte(at) < 0x80 || byte(at) > 0xBF) {
            return 0;
        }
    }
    return size;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t plain = PlainPrefix(text);
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        const std::size_t size = CharacterSize(text);
        if (size == 0) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

void AppendEscaped(std::string& out, std::string_view text) {
    while (!text.empty()) {
        const std::size_t plain = PlainPrefix(text);
        out.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) {
            return;
        }
        const char c = text.front();
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (byte < 0x20 || byte == 0x7F) {
            out += "\\u00";
            AppendHex(out, &c, 1);
        } else if (byte == 0xC2 && text.size() > 1 && static_cast<unsigned char>(text[1]) < 0xA0) {
            // The control characters beyond ASCII, which terminals obey, too.
            text.remove_prefix(1);
            out += "\\u00";
            AppendHex(out, text.data(), 1);
        } else {
            out += c;
        }
        text.remove_prefix(1);
    }
}

void AppendHexObject(std::string& out, std::string_view bytes) {
    out += R"({"hex":")";
    AppendHex(out, bytes.data(), bytes.size());
    out += R"("})";
}

void AppendText(std::string& out, std::string_view text) {
    const bool isPlain = PlainPrefix(text) == text.size();
    if (!isPlain && !IsUtf8(text)) {
        return AppendHexObject(out, text);
    }
    out += '"';
    if (isPlain) {
        out += text;
    } else {
        AppendEscaped(out, text);
    }
    out += '"';
}

}  // namespace zel::tools
