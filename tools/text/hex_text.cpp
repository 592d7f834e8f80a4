#include "tools/text/hex_text.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "runtime/digits.h"

namespace zel::tools {

namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kSeparators = ",;:-";

bool IsHex(std::string_view token) {
    return !token.empty() && std::all_of(token.begin(), token.end(), [](char c) { return HexDigit(c) >= 0; });
}

// The line up to its first blank.
std::string_view FirstToken(std::string_view line) {
    return line.substr(0, line.find_first_of(kBlanks));
}

std::string_view SkipBlanks(std::string_view line) {
    const std::size_t at = line.find_first_not_of(kBlanks);
    return at == std::string_view::npos ? std::string_view() : line.substr(at);
}

std::string_view DropPrefix(std::string_view token) {
    return token.starts_with("0x") || token.starts_with("0X") ? token.substr(2) : token;
}

// Appends the bytes of one group of digits, in which pairs may be kept apart by separators. False: it is none.
bool ReadGroup(std::string_view group, std::string& bytes) {
    const std::size_t size = bytes.size();
    while (!group.empty()) {
        std::string_view digits = DropPrefix(group);
        digits = digits.substr(0, digits.find_first_of(kSeparators));
        if (digits.empty() || !ParseHex(digits, bytes)) {
            bytes.resize(size);
            return false;
        }
        group.remove_prefix(static_cast<std::size_t>(digits.data() + digits.size() - group.data()));
        group.remove_prefix(group.empty() ? 0 : 1);
    }
    return true;
}

// Whether the rest of a line, from the last group's end on, is the text that the line's bytes stand for: after two
// blanks and as long, or between "|".
bool IsTextColumn(std::string_view rest, std::size_t byteCount, bool isDump) {
    rest = rest.substr(0, rest.find_last_not_of('\r') + 1);
    const std::string_view column = SkipBlanks(rest);
    if (column.starts_with('|')) {
        const std::size_t size = column.find_last_not_of(kBlanks) + 1;
        return size == byteCount + 2 && column[size - 1] == '|';
    }
    const std::size_t gap = rest.size() - column.size();
    return isDump && rest.size() >= byteCount + 2 && rest.size() - byteCount <= gap;
}

// Whether the groups up to the next gap of two blanks are all bytes.
bool IsBytes(std::string_view rest) {
    std::string ignored;
    for (rest = rest.substr(0, rest.find("  ")); !rest.empty(); rest = SkipBlanks(rest)) {
        const std::string_view group = FirstToken(rest);
        if (group != "|" && !ReadGroup(group, ignored)) {
            return group.starts_with('|');
        }
        rest.remove_prefix(group.size());
    }
    return true;
}

void AppendPairs(std::string& out, const char* bytes, std::size_t size, const char* digits, bool spaced) {
    std::size_t at = out.size();
    out.resize(at + size * (spaced ? 3 : 2), ' ');
    for (std::size_t i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        out[at++] = digits[byte >> 4U];
        out[at++] = digits[byte & 15U];
        at += spaced ? 1 : 0;
    }
    if (spaced && size != 0) {
        out.pop_back();
    }
}

}  // namespace

int HexDigit(char digit) noexcept {
    if (IsDigit(digit)) {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

void AppendHex(std::string& out, const char* bytes, std::size_t size) {
    AppendPairs(out, bytes, size, kLowerHex, false);
}

void AppendSpacedHex(std::string& out, const char* bytes, std::size_t size, const char* digits) {
    AppendPairs(out, bytes, size, digits, true);
}

bool ParseHex(std::string_view digits, std::string& bytes) {
    if (digits.size() % 2 != 0 || (!digits.empty() && !IsHex(digits))) {
        return false;
    }
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(HexDigit(digits[i]) * 16 + HexDigit(digits[i + 1]));
    }
    return true;
}

// Whether the token is the number of bytes read so far, in one of the bases in which dumps count.
bool HexLines::IsCount(std::string_view token) const {
    const std::string digits(token);
    for (const int base : {16, 8, 10}) {
        char* end = nullptr;
        if (std::strtoull(digits.c_str(), &end, base) == count_ && *end == '\0') {
            return true;
        }
    }
    return false;
}

// The line after its offset: a first group that ends with ":", or that is longer than the second and the number of
// bytes so far.
std::string_view HexLines::SkipOffset(std::string_view line) {
    const std::string_view first = FirstToken(line);
    const std::string_view digits = DropPrefix(first.substr(0, first.size() - (first.ends_with(':') ? 1 : 0)));
    if (!IsHex(digits)) {
        return line;
    }
    const std::string_view after = line.substr(first.size());
    if (first.ends_with(':')) {
        return after;
    }
    const std::string_view second = FirstToken(SkipBlanks(after));
    const bool startsDump = digits.find_first_not_of('0') == std::string_view::npos;
    // A dump's last line may be an offset alone.
    const bool isLonger = second.empty() ? digits.size() >= 6 && count_ != 0 : first.size() > second.size();
    if (!isLonger || digits.size() < 4 || !(startsDump || IsCount(digits))) {
        return line;
    }
    return after;
}

bool HexLines::Read(std::string_view line, std::string& bytes, std::string& fault) {
    std::string_view rest = SkipBlanks(line);
    if (rest.empty() || rest.starts_with('#')) {
        return true;
    }
    const std::size_t before = bytes.size();
    const std::string_view afterOffset = SkipOffset(rest);
    const bool isDump = afterOffset.size() != rest.size();
    if (isDump && DropPrefix(FirstToken(rest)).find_first_not_of("0:") == std::string_view::npos) {
        count_ = 0;
    }
    rest = SkipBlanks(afterOffset);
    std::string_view afterGroup;
    while (!rest.empty()) {
        const std::string_view group = FirstToken(rest);
        const std::size_t count = bytes.size() - before;
        const bool afterGap = count != 0 && afterGroup.starts_with("  ");
        if (count != 0 && (afterGap || group.starts_with('|')) && IsTextColumn(afterGroup, count, isDump)) {
            break;
        }
        if (afterGap && !IsBytes(rest)) {
            break;
        }
        if (group != "|" && !ReadGroup(group, bytes)) {
            bytes.resize(before);
            fault = group == "*" ? "\"*\" stands for lines that the dump leaves out"
                                 : '"' + std::string(group.substr(0, 40)) + "\" is no group of hex digits";
            return false;
        }
        afterGroup = rest.substr(group.size());
        rest = SkipBlanks(afterGroup);
    }
    count_ += bytes.size() - before;
    return true;
}

ByteInput HexInput(ByteInput text, std::function<void(const std::string&)> complain) {
    constexpr std::size_t kBlock = std::size_t{64} << 10U;
    constexpr std::size_t kLongestLine = std::size_t{16} << 20U;
    struct State {
        HexLines lines;
        std::string text;   // read and not yet parsed
        std::string bytes;  // parsed and not yet handed out
        std::size_t taken = 0;
        std::uint64_t line = 0;
        bool atEnd = false;
    };
    return
        [text = std::move(text), complain = std::move(complain), state = State()](char* to, std::size_t size) mutable {
            while (state.taken == state.bytes.size() && !state.atEnd) {
                state.bytes.clear();
                state.taken = 0;
                const std::size_t kept = state.text.size();
                state.text.resize(kept + kBlock);
                const std::size_t count = text(state.text.data() + kept, kBlock);
                state.text.resize(kept + count);
                state.atEnd = count == 0;
                if (state.atEnd && kept != 0) {
                    state.text += '\n';
                }
                std::size_t begin = 0;
                for (std::size_t end = state.text.find('\n', kept); end != std::string::npos;
                     end = state.text.find('\n', begin)) {
                    ++state.line;
                    std::string fault;
                    const std::string_view line = std::string_view(state.text).substr(begin, end - begin);
                    if (!state.lines.Read(line, state.bytes, fault)) {
                        complain("line " + std::to_string(state.line) + ": " + fault);
                    }
                    begin = end + 1;
                }
                state.text.erase(0, begin);
                if (state.text.size() > kLongestLine) {
                    throw InputError("a line of hex text is longer than 16 MiB");
                }
            }
            const std::size_t count = std::min(size, state.bytes.size() - state.taken);
            state.bytes.copy(to, count, state.taken);
            state.taken += count;
            return count;
        };
}

}  // namespace zel::tools
