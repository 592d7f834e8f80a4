#include "tools/message_report.h"

#include <charconv>
#include <utility>

#include "tools/descriptor.h"

namespace zel::tools {

namespace {

// What the library reports without a text, and what its text does not say.
const char* Meaning(int code) {
    switch (code) {
        case 1420:
            return "the payload's data transform cannot be undone";
        case 1422:
            return "the compressed payload cannot be expanded";
        default:
            return nullptr;
    }
}

}  // namespace

// Such texts are "FieldId[12]", "Field Received[12] is not in the list of fields", "Manadatory field(12) not in ...".
std::optional<std::uint16_t> FieldInReport(const std::string& text) {
    for (const char* before : {"FieldId[", "Field Received[", "field[", "field(", "Field["}) {
        const std::size_t at = text.find(before);
        if (at == std::string::npos) {
            continue;
        }
        std::uint16_t id = 0;
        const char* begin = text.data() + at + std::char_traits<char>::length(before);
        const auto parsed = std::from_chars(begin, text.data() + text.size(), id);
        return parsed.ec == std::errc() ? std::optional(id) : std::nullopt;
    }
    return std::nullopt;
}

std::string Explain(const std::vector<LibraryReport>& reports, const Catalog* catalog) {
    if (reports.empty()) {
        return "";
    }
    const LibraryReport& first = reports.front();
    const char* meaning = Meaning(first.code);
    std::string text =
        std::to_string(first.code) + ' ' + (first.text.empty() && meaning != nullptr ? meaning : first.text);
    for (const LibraryReport& report : reports) {
        const std::optional<std::uint16_t> field = FieldInReport(report.text);
        if (field && catalog != nullptr) {
            const CatalogField& known = catalog->Field(*field);
            text += known.type == 0 ? " (not in the dictionary)" : " (field " + known.name + ')';
            break;
        }
    }
    return text;
}

Complaints::Complaints(std::string input, ByteOutput& output) : input_(std::move(input)), output_(output) {}

void Complaints::AboutMessage(std::uint64_t offset, std::uint64_t number, const std::string& text) {
    About("offset " + std::to_string(offset) + ", message " + std::to_string(number) + ": " + text);
}

void Complaints::About(const std::string& text) {
    any_ = true;
    Flush(output_);
    const std::string line = input_ + ": " + text + '\n';
    // Where standard error cannot be written there is nobody to tell.
    (void)WriteAll(kStandardError, line.data(), line.size());
}

}  // namespace zel::tools
