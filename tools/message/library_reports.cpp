#include "tools/message/library_reports.h"

#include <charconv>

#include "include/zelmessage.h"

namespace zel::tools {

namespace {

constexpr std::size_t kMostReports = 16;

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

ReportCollector::ReportCollector() {
    ZELSetErrorSink(Collect, this);
}

ReportCollector::~ReportCollector() {
    ZELSetErrorSink(nullptr, nullptr);
}

void ReportCollector::Collect(int code, const char* text, void* context) {
    auto& reports = static_cast<ReportCollector*>(context)->reports_;
    if (reports.size() < kMostReports) {
        reports.push_back({code, text});
    }
}

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

}  // namespace zel::tools
