#include "tools/text/complaint.h"

#include <algorithm>
#include <iterator>

#include "tools/io/descriptor.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_text.h"

namespace zel::tools {

namespace {

// The number of a character of up to 3 bytes.
unsigned CodeOf(std::string_view character) {
    unsigned code = static_cast<unsigned char>(character[0]);
    if (character.size() > 1) {
        code &= character.size() == 2 ? 0x1FU : 0x0FU;
        for (const char following : character.substr(1)) {
            code = code << 6U | (static_cast<unsigned char>(following) & 0x3FU);
        }
    }
    return code;
}

bool IsControl(unsigned code) {
    struct Range {
        unsigned first;
        unsigned last;
    };
    // The last three are separators, marks and overrides of the direction of writing: they show one text as another.
    constexpr Range kRanges[] = {{0, 0x1F}, {0x7F, 0x9F}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
    return std::any_of(std::begin(kRanges), std::end(kRanges),
                       [code](const Range& range) { return code >= range.first && code <= range.last; });
}

void AppendEscape(std::string& out, unsigned code) {
    const char bytes[] = {static_cast<char>(code >> 8U), static_cast<char>(code)};
    out += "\\u";
    AppendHex(out, bytes, sizeof bytes);
}

}  // namespace

std::string Printable(std::string_view text) {
    std::string printable;
    while (!text.empty()) {
        const std::size_t size = CharacterSize(text);
        const std::string_view character = text.substr(0, size == 0 ? 1 : size);
        if (size == 0) {
            printable += "\\x";
            AppendHex(printable, character.data(), 1);
        } else if (const unsigned code = CodeOf(character); size < 4 && IsControl(code)) {
            AppendEscape(printable, code);
        } else {
            printable += character;
        }
        text.remove_prefix(character.size());
    }
    return printable;
}

void Complain(std::string_view text) {
    constexpr std::size_t kMost = 8000;
    const std::string line = Printable(text.substr(0, kMost)) + (text.size() > kMost ? "...\n" : "\n");
    // Where standard error cannot be written there is nobody to tell.
    (void)WriteAll(kStandardError, line.data(), line.size());
}

}  // namespace zel::tools
