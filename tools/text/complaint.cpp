#include "tools/text/complaint.h"

#include "tools/io/descriptor.h"
#include "tools/text/hex_text.h"
#include "tools/text/json_text.h"

namespace zel::tools {

namespace {

// Marks and overrides of the direction of writing: they show one text as another.
bool TurnsWriting(std::string_view character) {
    return (character >= "\u200e" && character <= "\u200f") || (character >= "\u2028" && character <= "\u202e") ||
           (character >= "\u2066" && character <= "\u2069");
}

bool IsControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    return first < 0x20 || first == 0x7F || (character >= "\u0080" && character <= "\u009f") || TurnsWriting(character);
}

void AppendUnit(std::string& out, std::string_view character) {
    unsigned unit = static_cast<unsigned char>(character[0]);
    if (character.size() > 1) {
        unit &= character.size() == 2 ? 0x1FU : 0x0FU;
        for (const char following : character.substr(1)) {
            unit = unit << 6U | (static_cast<unsigned char>(following) & 0x3FU);
        }
    }
    const char bytes[] = {static_cast<char>(unit >> 8U), static_cast<char>(unit)};
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
        } else if (IsControl(character)) {
            AppendUnit(printable, character);
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
