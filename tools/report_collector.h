// What the library reports while the command uses it.
#ifndef ZEL_TOOLS_REPORT_COLLECTOR_H
#define ZEL_TOOLS_REPORT_COLLECTOR_H

#include <string>
#include <vector>

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

}  // namespace zel::tools

#endif  // ZEL_TOOLS_REPORT_COLLECTOR_H
