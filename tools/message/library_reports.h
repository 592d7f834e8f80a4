// What the library reports while the command uses it, and the text that tells the user.
#ifndef ZEL_TOOLS_MESSAGE_LIBRARY_REPORTS_H
#define ZEL_TOOLS_MESSAGE_LIBRARY_REPORTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/dictionary/catalog.h"

namespace zel::tools {

struct LibraryReport {
    int code;
    std::string text;
};

// Collects the library's reports while the object lives. A message that reports without end is cut short.
class ReportCollector {
public:
    ReportCollector();
    ~ReportCollector();
    ReportCollector(const ReportCollector&) = delete;
    ReportCollector& operator=(const ReportCollector&) = delete;

    void Clear() { reports_.clear(); }
    // Innermost cause first.
    [[nodiscard]] const std::vector<LibraryReport>& reports() const { return reports_; }

private:
    static void Collect(int code, const char* text, void* context);

    std::vector<LibraryReport> reports_;
};

// The id of the field that a report's text names.
[[nodiscard]] std::optional<std::uint16_t> FieldInReport(const std::string& text);

// The first report with code, text and the name of the field in question; "" without reports.
[[nodiscard]] std::string Explain(const std::vector<LibraryReport>& reports, const Catalog* catalog);

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_LIBRARY_REPORTS_H
