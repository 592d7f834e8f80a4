#include "tools/text/findings.h"

#include <algorithm>
#include <utility>

#include "tools/text/complaint.h"

namespace zel::tools {

void AddError(Findings& findings, std::string place, std::string text) {
    findings.push_back({true, std::move(place), std::move(text)});
}

void AddWarning(Findings& findings, std::string place, std::string text) {
    findings.push_back({false, std::move(place), std::move(text)});
}

std::size_t CountErrors(const Findings& findings) {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(), [](const Finding& finding) { return finding.isError; }));
}

std::string FindingText(const std::string& file, const Finding& finding) {
    return file + (finding.isError ? ": error: " : ": warning: ") + finding.place +
           (finding.place.empty() ? "" : ": ") + finding.text;
}

void PrintFindings(const std::string& file, const Findings& findings) {
    for (const Finding& finding : findings) {
        Complain(FindingText(file, finding));
    }
}

std::string Counted(std::uint64_t number, const std::string& noun) {
    return std::to_string(number) + ' ' + noun + (number == 1 ? "" : "s");
}

}  // namespace zel::tools
